#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "CVT/BMibImpl.h"

namespace cvtagentd {

/// Which groups are registered with a master, each once it has initialised and its lock is free: until then the master
/// answers noSuchObject, and does not run out of patience. Logs what the master refuses. Used by the thread that runs
/// the event loop.
class MasterRegistrations {
public:
    struct Calls {
        std::function<void(CVT::BMibImpl&)> send;  ///< asks the master to register a group
        std::function<bool()> areModulesReady;
    };

    /// `groups` in the order of their OIDs. They must outlive it.
    MasterRegistrations(std::vector<CVT::BMibImpl*> groups, Calls calls);

    /// A session with a master has begun: all groups are to be registered with it.
    void Restart();
    /// Sends the registrations of those groups that can answer by now. Returns true when nothing is left to send.
    bool SendReady();
    /// The master has answered a registration. `error`: as in AgentX; 0: it has accepted. Returns true when that was
    /// the last answer.
    bool Answered(CVT::BMibImpl& group, unsigned int error);
    /// The groups that the master has accepted since Restart.
    const std::vector<CVT::BMibImpl*>& Accepted() const { return m_accepted; }

private:
    void ReportRefused();
    bool CanAnswer(CVT::BMibImpl& group) const;

    const std::vector<CVT::BMibImpl*> m_groups;
    const Calls m_calls;
    std::vector<CVT::BMibImpl*> m_waiting;
    std::size_t m_sent = 0;  // and not answered
    std::vector<CVT::BMibImpl*> m_accepted;
    std::vector<std::string> m_refused;     // because somebody else serves them; for the log
    std::set<std::string> m_hasBeenLogged;  // so that a master that restarts does not repeat it
};

}  // namespace cvtagentd
