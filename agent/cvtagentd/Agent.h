#pragma once

#include <chrono>

#include "agent/cvtagentd/Options.h"

namespace cvtagentd {

class EventLoop;
class Role;
class ServedModules;
class ServiceManager;

/// The agent's life: start, serve, end. One in a process, run by its main thread.
class Agent {
public:
    explicit Agent(const Options& options) : m_options(options) {}
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// Serves until a signal ends it, and returns the exit status. Throws StartError, with nothing left running.
    int Run();

private:
    void Serve(EventLoop& loop, Role& role, const ServedModules& modules, ServiceManager& manager) const;
    bool LookWhetherReady(const ServedModules& modules, std::chrono::steady_clock::time_point since) const;

    const Options& m_options;
};

}  // namespace cvtagentd
