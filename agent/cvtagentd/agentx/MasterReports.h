#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cvtagentd {

/// Logs what an operator should know about the connection to a master: that it is up, that it is lost, and now and then
/// that it is still missing, with the reason. Not synchronised.
class MasterReports {
public:
    using Clock = std::chrono::steady_clock;

    /// `address` for the log.
    explicit MasterReports(std::string address) : m_address(std::move(address)) {}

    void Connected();
    /// The connection that was reported is gone.
    void Lost();
    /// An attempt to connect has failed; `why` in words, with what to do.
    void Failed(std::string why);

    /// Logs what is due. Returns the time until the next report; no value when the next report depends only on the
    /// connection.
    std::optional<std::chrono::milliseconds> Report(Clock::time_point now);

private:
    std::optional<std::chrono::milliseconds> TimeToReport(Clock::time_point now) const;
    /// Until when nothing is logged, because the connection comes and goes.
    Clock::time_point QuietUntil() const;

    const std::string m_address;
    std::string m_why;  // the last attempt has failed
    bool m_isConnected = false;
    bool m_changed = false;  // since the last report
    bool m_hasReported = false;
    bool m_wasConnected = false;
    Clock::time_point m_reminder;
    Clock::time_point m_firstLoss;  // of those that m_losses counts
    int m_losses = 0;
};

}  // namespace cvtagentd
