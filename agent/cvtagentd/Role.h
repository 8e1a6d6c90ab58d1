#pragma once

#include <string>

#include "agent/cvtagentd/builtin/BuiltinModule.h"
#include "agent/cvtagentd/requests/GroupReader.h"

namespace cvtagentd {

class DaemonUser;
class EventLoop;
class ServedModules;

/// How requests reach the agent: StandAlone, at addresses of its own, or Subagent, through a master. Agent::Run calls each
/// function once, in the order in which they stand here, but for Reload. The destructor ends the SNMP library. Used by the
/// thread that runs that; one object in a process.
class Role {
public:
    Role() = default;
    virtual ~Role() = default;
    Role(const Role&) = delete;
    Role& operator=(const Role&) = delete;

    /// Starts the SNMP library, which reads the configuration; takes the user's identity, and locks the state. Throws
    /// StartError, also when the configuration has faults.
    virtual void ReadConfiguration(DaemonUser& user) = 0;
    /// Opens what requests come through. Returns where that is, for the log. Throws StartError.
    virtual std::string Open() = 0;
    /// Stores what must outlive a crash; comes when the last privilege for opening is given up. Throws StartError.
    virtual void StoreState() {}

    /// What the agent serves of itself beside the modules; null: nothing.
    virtual BuiltinModule* Builtin() { return nullptr; }
    /// How a request waits for a busy group.
    virtual GroupReader::Wait HowToWait() const = 0;

    /// Serves the groups of the modules, which have been started, in the turns of the loop until StopServing.
    virtual void StartServing(ServedModules& modules, EventLoop& loop) = 0;
    /// Follows StartServing even when that has thrown. The groups stay registered; it is the modules that are closed next.
    virtual void StopServing() = 0;

    /// Stores what has come since the start; comes last. Logs when it cannot.
    virtual void StoreStateAtEnd() {}

    /// Reads the configuration again, while it serves.
    virtual void Reload() = 0;
};

}  // namespace cvtagentd
