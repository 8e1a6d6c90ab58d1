#pragma once

#include <string>

namespace cvtagentd {

/// What the configuration says about the agent itself: sysDescr, sysObjectID, sysContact, sysName, sysLocation and
/// sysServices for the system group, and authtrapenable for the snmp group. State of the process, since the SNMP
/// library calls its directives' handlers without a context. Used by the thread that runs the library.
namespace SystemConfig {

inline constexpr unsigned int kMaxOctets = 255;

struct Values {
    std::string descr;                                 ///< empty: the running kernel's own description
    std::string objectId = "1.3.6.1.4.1.32473.100.1";  ///< this agent; the enterprise number is for documentation
    std::string contact;
    std::string name;  ///< empty: the host's name
    std::string location = "Unknown";
    int services = 72;         ///< layers 4 and 7: a host that offers applications
    bool authenTraps = false;  ///< whether the library sends authenticationFailure
};

/// Registers the directives with the library: after init_agent, before the configuration is read. A value that the
/// objects cannot hold is reported as an error with file and line, and is not used. When the configuration is read
/// again, all values start from their defaults.
void Register();

const Values& Get();

/// Makes the library send authenticationFailure, or not, until the configuration is read again.
void SetAuthenTraps(bool enabled);

}  // namespace SystemConfig

}  // namespace cvtagentd
