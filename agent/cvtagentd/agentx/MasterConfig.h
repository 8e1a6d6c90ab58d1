#pragma once

#include <chrono>
#include <string>

namespace cvtagentd {

/// What the configuration says about the session with a master: agentXSocket, agentXPingInterval. State of the process,
/// since the SNMP library calls its directives' handlers without a context. Used by the thread that runs the library.
namespace MasterConfig {

struct Values {
    std::string address;  ///< empty: the default
    std::chrono::seconds pingInterval{2};
};

/// Registers the directives with the library, before the configuration is read. A value that makes no sense is reported
/// as an error with file and line, and is not used.
void Register();

const Values& Get();

}  // namespace MasterConfig

}  // namespace cvtagentd
