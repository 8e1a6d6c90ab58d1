#include "agent/cvtagentd/agentx/MasterReports.h"

#include <algorithm>
#include <utility>

#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {
namespace {

constexpr std::chrono::seconds kFirstReminder{10};
constexpr std::chrono::seconds kReminderInterval{60};
constexpr int kMostLosses = 3;  // reported within kReminderInterval

}  // namespace

void MasterReports::Connected() {
    m_isConnected = true;
    m_changed = true;
}

void MasterReports::Lost() {
    m_isConnected = false;
    m_changed = true;
    const auto now = Clock::now();
    if (now - m_firstLoss >= kReminderInterval) {
        m_firstLoss = now;
        m_losses = 0;
    }
    ++m_losses;
}

void MasterReports::Failed(std::string why) {
    m_why = std::move(why);
    m_changed |= !m_hasReported;
}

MasterReports::Clock::time_point MasterReports::QuietUntil() const {
    return m_losses > kMostLosses ? m_firstLoss + kReminderInterval : Clock::time_point();
}

std::optional<std::chrono::milliseconds> MasterReports::Report(Clock::time_point now) {
    const bool remind = m_hasReported && !m_changed && !m_isConnected && now >= m_reminder;
    if (now < QuietUntil() || (!m_changed && !remind)) {
        return TimeToReport(now);
    }
    m_changed = false;
    m_hasReported = true;
    m_reminder = now + kFirstReminder;
    if (m_isConnected) {
        Log::Info((m_wasConnected ? "connected again to the master at " : "connected to the master at ") + m_address);
        m_wasConnected = true;
    } else if (m_wasConnected && !remind) {  // a master that is shutting down does not show yet why it is missing
        const bool often = m_losses == kMostLosses;
        Log::Warning(
            "lost the connection to the master at " + m_address +
            (often ? "; it is lost again and again: see the master's log" : "; trying again every few seconds"));
    } else {
        m_reminder = now + kReminderInterval;
        Log::Warning((remind ? "still no connection to the master at " : "no connection to the master at ") +
                     m_address + ": " + m_why + "; trying again every few seconds");
    }
    return TimeToReport(now);
}

std::optional<std::chrono::milliseconds> MasterReports::TimeToReport(Clock::time_point now) const {
    using std::chrono::milliseconds;
    const auto quiet = QuietUntil();
    if (now >= quiet && (m_changed || m_isConnected || !m_hasReported)) {
        return m_changed ? std::optional(milliseconds::zero()) : std::nullopt;
    }
    const auto left = std::chrono::ceil<milliseconds>((now < quiet ? quiet : m_reminder) - now);
    return std::max(left, milliseconds::zero());
}

}  // namespace cvtagentd
