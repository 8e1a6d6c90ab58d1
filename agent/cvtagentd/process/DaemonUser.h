#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {

/// The user that the agent serves as: the one of --user, or else the user who started it. Used by the process's only
/// thread.
class DaemonUser {
public:
    /// Looks the user up; `option` may be empty. If it is not, the process's environment becomes that user's (see
    /// Environment). Throws StartError, including when this process may not run as that user.
    explicit DaemonUser(const std::string& option);

    /// Called before the first module is loaded, and before the state directory is read or written: its owner can put
    /// directives and links there. The right to open low ports remains until GiveUpPorts. The state directory, with
    /// what root has put there, belongs to the user afterwards. The user must be able to read `configFile`, unless it
    /// is empty. Throws StartError.
    void Assume(const std::string& configFile = {});

    /// Called when the ports are open. Throws StartError.
    void GiveUpPorts() const;

    /// Logs which user the agent runs as, and what it lacks the rights for.
    void Report() const;

private:
    std::optional<User> m_user;  ///< no value: stay the user who started the agent
    std::vector<std::string> m_remarks;
};

}  // namespace cvtagentd
