#include "agent/cvtagentd/Subagent.h"

#include <chrono>

#include "agent/cvtagentd/ServedModules.h"
#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/ModuleFiles.h"
#include "agent/cvtagentd/builtin/SystemConfig.h"
#include "agent/cvtagentd/process/DaemonUser.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {
namespace {

constexpr std::chrono::milliseconds kReadyPoll{20};

}  // namespace

/// Only root may be able to reach the master, and no state is read in this role, so the user's identity is taken last.
void Subagent::ReadConfiguration(DaemonUser& user) {
    AccessConfig::RequireTrusted(m_options.config);
    SnmpLibrary::Setup setup{m_options.config};
    setup.beforeConfiguration = [this] {
        ModuleFiles::Register();
        SystemConfig::Register();  // accepted, although this role does not serve them
        m_master.BeforeConfiguration();
    };
    m_library.emplace(setup);
    m_master.AfterConfiguration();
    std::vector<std::string> faults = AccessConfig::Faults(m_options.config, m_library->Messages());
    const std::vector<std::string> ofModules = ModuleFiles::ReadFolder(m_options.config);
    faults.insert(faults.end(), ofModules.begin(), ofModules.end());
    m_ignored = AccessConfig::TakeUnknownDirectives(faults);
    if (!faults.empty()) {
        throw ConfigError(AccessConfig::Summary(m_options.config, faults));
    }
    user.Assume();
    m_lock.emplace(StateLock::Holder::kSubagent);
}

std::string Subagent::Open() { return "through the master at " + m_master.Address(); }

void Subagent::StartServing(ServedModules& modules, EventLoop& loop) {
    Requests& requests = modules.UnderWay();
    m_master.OnConnected([&] { requests.NewConnection(); });
    m_master.OnLost([&] { requests.ConnectionLost(); });
    m_registrations.emplace(m_master, modules.Groups(),
                            MasterRegistrations::Calls{[&](CVT::BMibImpl& group) { modules.Serve(group); },
                                                       [&] { return modules.NotReady().empty(); }});
    m_registering.emplace(
        loop, [this] { return m_registrations->RegisterReady() ? std::nullopt : std::optional(kReadyPoll); });
    m_reports.emplace(loop, [this] { return m_master.Report(); });
    loop.ServeLast([this] { return m_master.Socket(); });
    WarnOfIgnoredDirectives();
}

void Subagent::WarnOfIgnoredDirectives() const {
    if (!m_ignored.empty()) {
        Log::Warning(m_options.config +
                     ": these directives have no effect with --agentx, since the master controls access: " + m_ignored);
    }
}

void Subagent::StopServing() {
    m_reports.reset();
    m_registering.reset();
    m_master.OnConnected(nullptr);
    m_master.OnLost(nullptr);
    m_master.Leave();
}

/// Reading it again would make the library close the connection.
void Subagent::Reload() {
    Log::Info("with --agentx the configuration is read only at the start; the master's configuration controls access");
}

}  // namespace cvtagentd
