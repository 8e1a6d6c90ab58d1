#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "agent/cvtagentd/agentx/ConnectTimeout.h"

namespace cvtagentd {

/// The connection to an AgentX master. The SNMP library opens it and, when it is lost, opens it again; this says in the log
/// what people should know of that, and nothing else: when it is there, when it is lost, and now and then that it is
/// still missing. Made before the library is initialised, it outlives the library. Used by the thread that runs it.
class MasterConnection {
public:
    /// `address` as the library writes it; empty: what the configuration says, or else the library's default. Throws
    /// StartError.
    explicit MasterConnection(std::string address);
    MasterConnection(const MasterConnection&) = delete;
    MasterConnection& operator=(const MasterConnection&) = delete;
    ~MasterConnection();

    /// Called when the library knows its own defaults, before it reads the configuration and connects.
    void BeforeConfiguration();
    /// Called when the library has read it.
    void AfterConfiguration() { m_limit.Set(false); }

    /// Called whenever the connection is there, or lost, from within the library.
    void OnConnected(std::function<void()> call) { m_onConnected = std::move(call); }
    void OnLost(std::function<void()> call) { m_onLost = std::move(call); }

    bool IsConnected() const { return m_session != nullptr; }

    /// The connection's descriptor; no value while there is none. It is served after all others: the library passes a
    /// request of the master's on through descriptors of its own, and must not learn that the master has gone before it has
    /// finished with that.
    std::optional<int> Socket() const;

    /// Whether this message of the library's about a registration is a refusal of the master's; or else he has not answered.
    static bool IsRefusal(const std::string& message);

    /// Where the master is, for people. Known when the library is initialised.
    std::string Address() const;

    /// Logs what is due by now. Returns the time until it has more to say; no value when that depends on the connection alone.
    std::optional<std::chrono::milliseconds> Report();

    /// Ends the connection without a word to the master, who may hang: he forgets our subtrees all the same. The library
    /// finds out, and opens another one.
    void Cut();
    bool IsCut() const { return m_cut; }
    /// The last thing before the modules are closed: cuts, and nothing is waited for any more.
    void Leave();

private:
    using Clock = std::chrono::steady_clock;

    static int OnStart(int majorId, int minorId, void* session, void* unused);
    static int OnStop(int majorId, int minorId, void* session, void* unused);

    void ReportChange();
    std::optional<std::chrono::milliseconds> TimeToReport() const;
    std::string WhyMissing() const;
    void CountLoss();
    /// Until when nothing is said, since the connection comes and goes.
    Clock::time_point QuietUntil() const;

    const std::string m_address;
    ConnectTimeout m_limit;
    bool m_leaving = false;
    std::function<void()> m_onConnected;
    std::function<void()> m_onLost;
    void* m_session = nullptr;  // the library's; null while there is no connection
    bool m_cut = false;
    bool m_unregistered = false;  // the master has not taken what the library told him to
    bool m_changed = true;        // since the last report
    bool m_wasConnected = false;
    Clock::time_point m_reminder;
    Clock::time_point m_firstLoss;  // of those that m_losses counts
    int m_losses = 0;
};

}  // namespace cvtagentd
