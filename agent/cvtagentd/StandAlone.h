#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/cvtagentd/Options.h"
#include "agent/cvtagentd/Role.h"
#include "agent/cvtagentd/access/UserChanges.h"
#include "agent/cvtagentd/process/StateLock.h"
#include "agent/cvtagentd/snmp/EventLoop.h"
#include "agent/cvtagentd/snmp/Listeners.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"

namespace cvtagentd {

/// Answers clients at its own addresses, controls access itself, and serves the system group besides the modules.
class StandAlone final : public Role {
public:
    explicit StandAlone(const Options& options) : m_options(options) {}

    /// Registers the directives of a stand-alone agent's configuration with the library. For SnmpLibrary::Setup.
    static void BeforeConfiguration();

    void ReadConfiguration(DaemonUser& user) override;
    std::string Open() override;
    void StoreState() override;
    BuiltinModule* Builtin() override { return &*m_builtin; }
    void StartServing(ServedModules& modules, EventLoop& loop) override;
    void StopServing() override;
    void StoreStateAtEnd() override;
    void Reload() override;

private:
    void ReadConfigurationAgain();

    const Options& m_options;
    std::optional<StateLock> m_lock;
    std::optional<SnmpLibrary> m_library;
    std::optional<Listeners> m_listeners;
    std::optional<BuiltinModule> m_builtin;
    std::optional<EventLoop::Task> m_retries;
    std::optional<EventLoop::Watch> m_doneCalls;
    std::optional<EventLoop::Steady> m_steady;
    std::vector<std::string> m_modulesAtStart;  // those that the configuration names
    std::optional<UserChanges> m_changes;       // from the start until they are stored
    StateContent::Users m_deleted;
    bool m_isStartCounted = true;
};

}  // namespace cvtagentd
