#pragma once

#include <string>

namespace agent {

/// The folder in which the modules' non-volatile values and the SNMP library's persistent data (users' keys among them)
/// lie: the agent's working directory.
class StateDir {
public:
    /// Makes `folder` the working directory. Empty means the default: the first of $STATE_DIRECTORY, as systemd sets it;
    /// for root /var/lib/cvtagentd; for anybody else cvtagentd in $XDG_STATE_HOME or in ~/.local/state. The default is
    /// made, for its owner only, when it is missing; a folder that is given must exist. Throws StartError, also when no
    /// file can be made there.
    static void Enter(const std::string& folder);

    static std::string Default();
};

}  // namespace agent
