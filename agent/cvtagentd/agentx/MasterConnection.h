#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "agent/cvtagentd/agentx/ConnectTimeout.h"

namespace cvtagentd {

/// The connection to an AgentX master. The SNMP library opens it and, when it is lost, opens it again. This class logs
/// only what an operator should know: that the connection is up, that it is lost, and now and then that it is still
/// missing. Made before the library is initialised, it outlives the library. Used by the thread that runs the library.
class MasterConnection {
public:
    /// `address` as the library writes it; empty: what the configuration says, or else the library's default. Throws
    /// StartError.
    explicit MasterConnection(std::string address);
    MasterConnection(const MasterConnection&) = delete;
    MasterConnection& operator=(const MasterConnection&) = delete;
    ~MasterConnection();

    /// Called after the library has set its defaults, before it reads the configuration and connects.
    void BeforeConfiguration();
    /// Called when the library has read the configuration.
    void AfterConfiguration() { m_limit.Set(false); }

    /// `call` is called by the library whenever the connection is up, or lost.
    void OnConnected(std::function<void()> call) { m_onConnected = std::move(call); }
    void OnLost(std::function<void()> call) { m_onLost = std::move(call); }

    bool IsConnected() const { return m_session != nullptr; }

    /// The connection's descriptor; no value while there is none. It is served after all others: the library passes a
    /// request of the master on through its own descriptors, and must not learn that the master has gone before it has
    /// finished that request.
    std::optional<int> Socket() const;

    /// Whether this message of the library about a registration means that the master refused; otherwise the master has
    /// not answered.
    static bool IsRefusal(const std::string& message);

    /// The master's address, for the log. Known when the library is initialised.
    std::string Address() const;

    /// Logs what is due. Returns the time until the next report; no value when the next report depends only on the
    /// connection.
    std::optional<std::chrono::milliseconds> Report();

    /// Ends the connection without a message to the master, which may hang: it drops our subtrees in any case. The
    /// library notices, and opens another connection.
    void Cut();
    bool IsCut() const { return m_cut; }
    /// Called last, before the modules are closed: cuts the connection, and waits for nothing any more.
    void Leave();

private:
    using Clock = std::chrono::steady_clock;

    static int OnStart(int majorId, int minorId, void* session, void* unused);
    static int OnStop(int majorId, int minorId, void* session, void* unused);

    void ReportChange();
    std::optional<std::chrono::milliseconds> TimeToReport() const;
    std::string WhyMissing() const;
    void CountLoss();
    /// Until when nothing is logged, because the connection comes and goes.
    Clock::time_point QuietUntil() const;

    const std::string m_address;
    ConnectTimeout m_limit;
    bool m_leaving = false;
    std::function<void()> m_onConnected;
    std::function<void()> m_onLost;
    void* m_session = nullptr;  // the library's; null while there is no connection
    bool m_cut = false;
    bool m_unregistered = false;  // the master has not accepted all registrations
    bool m_changed = true;        // since the last report
    bool m_wasConnected = false;
    Clock::time_point m_reminder;
    Clock::time_point m_firstLoss;  // of those that m_losses counts
    int m_losses = 0;
};

}  // namespace cvtagentd
