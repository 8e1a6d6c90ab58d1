#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {

/// The user as whom the agent serves: the one of --user, or else whoever started it. Used by the process's only thread.
class DaemonUser {
public:
    /// Looks the user up; `option` may be empty. If not, the process's environment is that user's from now on (see
    /// Environment). Throws StartError, also when this process may not run as that user.
    explicit DaemonUser(const std::string& option);

    /// Comes before the first module is loaded, and before anything is read from the state directory or written there:
    /// its owner can write directives into what the SNMP library keeps there, and lay links. Only low ports can still be
    /// opened, until GiveUpPorts. The state directory, with what root has put there, belongs to the user
    /// afterwards. `configFile`, unless it is empty, is one that he must be able to read. Throws StartError.
    void Assume(const std::string& configFile = {});

    /// Comes when the ports are open. Throws StartError.
    void GiveUpPorts() const;

    /// Logs who the agent is, and what he cannot do.
    void Report() const;

private:
    std::optional<User> m_user;  ///< none: stay as it is
    std::vector<std::string> m_remarks;
};

}  // namespace cvtagentd
