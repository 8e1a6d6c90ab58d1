#pragma once

#include <string>

namespace cvtagentd {

/// What the configuration says of the system group: sysDescr, sysContact, sysName, sysLocation, sysServices. State of the
/// process, since the SNMP library calls its directives' handlers without a context. Used by the thread that runs the
/// library.
namespace SystemConfig {

inline constexpr unsigned int kMaxOctets = 255;

struct Values {
    std::string descr;  ///< empty: what the running kernel says of itself
    std::string contact;
    std::string name;  ///< empty: the host's name
    std::string location = "Unknown";
    int services = 72;  ///< layers 4 and 7: a host that offers applications
};

/// Makes the directives known to the library: after init_agent, before the configuration is read. A value that the
/// objects cannot hold is reported as an error with file and line, and not taken. When the configuration is read
/// again, all begin as their defaults.
void Register();

const Values& Get();

}  // namespace SystemConfig

}  // namespace cvtagentd
