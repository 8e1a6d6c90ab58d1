#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CVT/BMibImpl.h"
#include "agent/cvtagentd/agentx/MasterConnection.h"

namespace cvtagentd {

/// Registers groups with a master, each once it can answer, because a request from the master cannot wait. What is
/// registered stays registered, whether the master is up or not: the library may keep a pointer to it for a SET that
/// the master has abandoned, and registers it again when the master comes back. Used by the thread that runs the
/// library.
class MasterRegistrations {
public:
    struct Calls {
        std::function<void(CVT::BMibImpl&)> serve;  ///< registers a group with the library, which tells the master
        std::function<bool()> areModulesReady;
    };

    /// `groups` in the order of their OIDs. All must outlive this.
    MasterRegistrations(MasterConnection& master, std::vector<CVT::BMibImpl*> groups, Calls calls);

    /// Registers those groups that can answer by now. Returns true when nothing is left to do until the connection
    /// changes.
    bool RegisterReady();

private:
    void Register(CVT::BMibImpl& group);
    void ReportRefused();
    bool CanAnswer(CVT::BMibImpl& group) const;

    MasterConnection& m_master;
    std::vector<CVT::BMibImpl*> m_waiting;
    const Calls m_calls;
    std::vector<std::string> m_refused;  // by the master; for the log
};

}  // namespace cvtagentd
