#pragma once

#include <optional>
#include <string>

#include "agent/cvtagentd/Options.h"
#include "agent/cvtagentd/Role.h"
#include "agent/cvtagentd/agentx/MasterSession.h"
#include "agent/cvtagentd/process/StateLock.h"
#include "agent/cvtagentd/snmp/EventLoop.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"

namespace cvtagentd {

/// Serves through an AgentX master, which listens and controls access. Groups are registered with it as soon as they
/// can answer. Of the SNMP library it uses only what reads the configuration.
class Subagent final : public Role {
public:
    explicit Subagent(const Options& options) : m_options(options) {}

    void ReadConfiguration(DaemonUser& user) override;
    std::string Open() override;
    void StartServing(ServedModules& modules, EventLoop& loop) override;
    void StopServing() override;
    void Reload() override;

private:
    void WarnOfIgnoredDirectives() const;

    const Options& m_options;
    std::optional<StateLock> m_lock;
    std::optional<SnmpLibrary> m_library;
    std::string m_ignored;  // directives that mean nothing here
    std::optional<MasterSession> m_session;
    std::optional<EventLoop::Task> m_retries;
    std::optional<EventLoop::Watch> m_doneCalls;
    std::optional<EventLoop::Task> m_work;
    std::optional<EventLoop::Watch> m_messages;
    std::optional<EventLoop::Steady> m_steady;
};

}  // namespace cvtagentd
