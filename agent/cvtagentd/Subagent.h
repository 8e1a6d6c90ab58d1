#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/cvtagentd/Options.h"
#include "agent/cvtagentd/Role.h"
#include "agent/cvtagentd/agentx/MasterConnection.h"
#include "agent/cvtagentd/agentx/MasterRegistrations.h"
#include "agent/cvtagentd/process/StateLock.h"
#include "agent/cvtagentd/snmp/EventLoop.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"

namespace cvtagentd {

/// Serves through an AgentX master, which listens and controls access. Groups are registered with it as soon as they
/// can answer. A request waits for a group as long as it takes, since the library cannot resume a GETNEXT in this role.
class Subagent final : public Role {
public:
    explicit Subagent(const Options& options) : m_options(options), m_master(options.master) {}

    void ReadConfiguration(DaemonUser& user) override;
    std::string Open() override;
    GroupReader::Wait HowToWait() const override { return GroupReader::Wait::kAsLongAsItTakes; }
    void StartServing(ServedModules& modules, EventLoop& loop) override;
    void StopServing() override;
    void Reload() override;

private:
    void WarnOfIgnoredDirectives() const;

    const Options& m_options;
    MasterConnection m_master;
    std::optional<StateLock> m_lock;
    std::optional<SnmpLibrary> m_library;
    std::string m_ignored;  // directives that mean nothing here
    std::optional<MasterRegistrations> m_registrations;
    std::optional<EventLoop::Task> m_registering;
    std::optional<EventLoop::Task> m_reports;
};

}  // namespace cvtagentd
