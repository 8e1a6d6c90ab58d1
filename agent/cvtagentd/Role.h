#pragma once

#include <string>

#include "agent/cvtagentd/builtin/BuiltinModule.h"

namespace cvtagentd {

class DaemonUser;
class EventLoop;
class ServedModules;

/// How requests reach the agent: StandAlone, at addresses of its own, or Subagent, through a master. Agent::Run calls
/// each function except Reload once, in the order of their declarations. The destructor shuts the SNMP library down.
/// Used by the thread that runs the library; one object in a process.
class Role {
public:
    Role() = default;
    virtual ~Role() = default;
    Role(const Role&) = delete;
    Role& operator=(const Role&) = delete;

    /// Starts the SNMP library, which reads the configuration; takes the user's identity; and locks the state. Throws
    /// StartError, including when the configuration has faults.
    virtual void ReadConfiguration(DaemonUser& user) = 0;
    /// Opens the addresses or the connection that requests come through. Returns a description of it for the log.
    /// Throws StartError.
    virtual std::string Open() = 0;
    /// Stores what must survive a crash. Called after the last privilege, the one for opening ports, has been given up.
    /// Throws StartError.
    virtual void StoreState() {}

    /// What the agent itself serves besides the modules; null: nothing.
    virtual BuiltinModule* Builtin() { return nullptr; }

    /// Serves the groups of the modules, which have been started, in each turn of the loop until StopServing.
    virtual void StartServing(ServedModules& modules, EventLoop& loop) = 0;
    /// Called after StartServing even when that has thrown. The groups stay registered; the modules are closed next.
    virtual void StopServing() = 0;

    /// Stores what has changed since the start. Called last. Logs a failure.
    virtual void StoreStateAtEnd() {}

    /// Reads the configuration again while serving.
    virtual void Reload() = 0;
};

}  // namespace cvtagentd
