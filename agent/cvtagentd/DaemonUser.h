#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/cvtagentd/Users.h"

namespace agent {

/// The user as whom the agent serves: the one of --user, or else the configuration's agentuser and agentgroup, or else
/// whoever started it. Used by the process's only thread.
class DaemonUser {
public:
    /// Looks him up; `option` may be empty. Comes after the SNMP library has read the configuration. Throws StartError,
    /// also when this process may not run as that user.
    explicit DaemonUser(const std::string& option);

    /// Comes when all that needs more rights is done, the ports are bound above all, and before the first module is
    /// loaded or any state is written: root does not write where somebody else may have laid a link. The state directory
    /// and what root has put there belongs to the user afterwards. Throws StartError.
    void Assume(const std::string& configFile);

    /// Logs who the agent is, and what he cannot do.
    void Report() const;

private:
    std::optional<User> m_user;  ///< none: stay as it is
    std::vector<std::string> m_remarks;
};

}  // namespace agent
