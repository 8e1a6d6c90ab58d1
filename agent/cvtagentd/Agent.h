#pragma once

#include <chrono>
#include <string>

#include "agent/cvtagentd/Options.h"

namespace cvtagentd {

class EventLoop;
class MasterConnection;
class ServedModules;
class ServiceManager;
class SnmpLibrary;

/// The agent's life: start, serve, end. One in a process, run by its main thread.
class Agent {
public:
    explicit Agent(const Options& options) : m_options(options) {}
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// Serves until a signal ends it, and gives the exit status. Throws StartError, with nothing left running.
    int Run();

private:
    /// Gives the addresses, for people.
    std::string Listen(SnmpLibrary& library) const;
    /// `master` is null when the agent listens itself.
    void Serve(EventLoop& loop, SnmpLibrary& library, ServedModules& modules, ServiceManager& manager,
               MasterConnection* master) const;
    void Reload(SnmpLibrary& library) const;
    bool LookWhetherReady(const ServedModules& modules, std::chrono::steady_clock::time_point since) const;

    const Options& m_options;
};

}  // namespace cvtagentd
