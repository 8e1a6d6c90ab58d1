#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CVT/BMibImpl.h"

namespace cvtagentd {

/// Which groups are registered with a master, each once it has initialised and its lock is free: until then the master
/// answers noSuchObject, and does not run out of patience. Logs what the master refuses.
///
/// A group that the master refuses because somebody else serves it is tried again, after growing pauses. The other may
/// end, or may be this agent's previous session, whose end the master has not noticed yet. Used by the thread that
/// runs the event loop.
class MasterRegistrations {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds kFirstRetry{5};
    static constexpr std::chrono::seconds kLongestRetry{300};

    struct Calls {
        std::function<void(CVT::BMibImpl&)> send;  ///< asks the master to register a group
        std::function<bool()> areModulesReady;
    };

    /// `groups` in the order of their OIDs. They must outlive it.
    MasterRegistrations(std::vector<CVT::BMibImpl*> groups, Calls calls);

    /// A session with a master has begun: all groups are to be registered with it.
    void Restart();
    /// Sends the registrations of those groups that can answer by now. Returns when to call it again; no value: not
    /// before the master's next answer.
    std::optional<std::chrono::milliseconds> SendReady(Clock::time_point now);
    /// The master has answered a registration. `error`: as in AgentX; 0: it has accepted. After the last
    /// outstanding answer, returns the groups that were accepted since the previous such answer; otherwise none.
    std::vector<CVT::BMibImpl*> Answered(CVT::BMibImpl& group, unsigned int error);

private:
    void ReportAccepted() const;
    void ReportRefused();
    bool CanAnswer(CVT::BMibImpl& group) const;

    const std::vector<CVT::BMibImpl*> m_groups;
    const Calls m_calls;
    std::vector<CVT::BMibImpl*> m_waiting;
    std::size_t m_sent = 0;  // and not answered
    std::vector<CVT::BMibImpl*> m_accepted;
    std::vector<CVT::BMibImpl*> m_refused;  // because somebody else serves them
    bool m_isRetry = false;                 // whether a retry is under way
    Clock::time_point m_retry;              // when the next one is due
    std::chrono::seconds m_pause = kFirstRetry;
    std::set<std::string> m_hasBeenLogged;  // so that a master that restarts does not repeat it
};

}  // namespace cvtagentd
