#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {

/// What is wrong with the command line, in one line. It ends the program with status 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What the command line asks for. A plain value.
struct Options {
    enum class Action {
        kServe,
        kCheckConfig,
        kCreateUser,
        kChangeUser,
        kDeleteUser,
        kListUsers,
        kShowHelp,
        kShowVersion
    };

    Action action = Action::kServe;
    std::vector<std::string> modules;  ///< never empty after Parse
    std::vector<std::string> listen;   ///< empty: the configuration's agentaddress, or else kDefaultAddress
    bool subagent = false;             ///< serve through an AgentX master; `listen` is then empty
    std::string master;    ///< its address; empty: the configuration's agentXSocket, or else the library's default
    std::string config;    ///< absolute; empty: the built-in read-only access from this host, or the service's file for
                           ///< kCheckConfig
    std::string stateDir;  ///< empty: StateDir's choice
    std::string user;      ///< empty: the user who started the agent
    std::string snmpUser;  ///< for kCreateUser, kChangeUser and kDeleteUser
    unsigned int timeoutSeconds = 30;
    LogLevel logLevel = LogLevel::kInfo;
    bool syslog = false;

    static constexpr const char* kDefaultAddress = "udp:127.0.0.1:1161";

    /// Throws UsageError. File names with a slash in them become absolute: the agent changes its working directory.
    /// Uses getopt_long, which keeps its state in globals: one thread at a time.
    static Options Parse(int argc, char* const* argv);

    /// The text of --help.
    static const char* Help();
};

}  // namespace cvtagentd
