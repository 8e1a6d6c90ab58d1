#include "agent/cvtagentd/Subagent.h"

#include <utility>
#include <vector>

#include "agent/cvtagentd/ServedModules.h"
#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/ModuleFiles.h"
#include "agent/cvtagentd/agentx/MasterConfig.h"
#include "agent/cvtagentd/builtin/SysOrTable.h"
#include "agent/cvtagentd/builtin/SystemConfig.h"
#include "agent/cvtagentd/process/DaemonUser.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {

/// Only root may be able to reach the master, and no state is read in this role, so the user's identity is taken last.
void Subagent::ReadConfiguration(DaemonUser& user) {
    AccessConfig::RequireTrusted(m_options.config);
    SnmpLibrary::Setup setup{m_options.config};
    setup.isAgent = false;
    setup.beforeConfiguration = [] {
        ModuleFiles::Register();
        SystemConfig::Register();  // accepted, although this role does not serve them
        MasterConfig::Register();
    };
    m_library.emplace(setup);
    std::vector<std::string> faults = AccessConfig::Faults(m_options.config, m_library->Messages());
    const std::vector<std::string> ofModules = ModuleFiles::ReadFolder(m_options.config);
    faults.insert(faults.end(), ofModules.begin(), ofModules.end());
    m_ignored = AccessConfig::TakeUnknownDirectives(faults);
    if (!faults.empty()) {
        throw ConfigError(AccessConfig::Summary(m_options.config, faults));
    }
    const MasterConfig::Values& configured = MasterConfig::Get();
    m_session.emplace(MasterAddress(m_options.master.empty() ? configured.address : m_options.master),
                      configured.pingInterval);
    m_session->Connect();
    user.Assume();
    m_lock.emplace(StateLock::Holder::kSubagent);
}

std::string Subagent::Open() { return "through the master at " + m_session->Address(); }

void Subagent::StartServing(ServedModules& modules, EventLoop& loop) {
    Requests& requests = modules.UnderWay();
    MasterSession::Served served{modules.Engine(), requests, [&] { return modules.NotReady().empty(); }, {}};
    for (const SysOrTable::Entry& entry : SysOrTable::EntriesFor(modules.Groups())) {
        served.capabilities.push_back({entry.root, entry.name});
    }
    m_session->Serve(std::move(served));
    requests.delegated.OnOver([this] { m_session->GoOn(); });
    m_retries.emplace(loop, [this, &requests] {
        if (requests.sets.GoOn()) {
            m_session->GoOn();
        }
        return requests.delegated.Retry();
    });
    m_doneCalls.emplace(loop, requests.workers.Descriptor(), [&] { requests.workers.Drain(); });
    m_work.emplace(loop, [this, &requests] {
        const auto time = m_session->Work();  // may leave a request unfinished whose next slice nothing announces
        return requests.delegated.HasWork() ? std::optional(std::chrono::milliseconds::zero()) : time;
    });
    m_messages.emplace(loop, m_session->Descriptor(), [] {});  // Work takes them in the next turn
    m_steady.emplace(loop);
    WarnOfIgnoredDirectives();
}

void Subagent::WarnOfIgnoredDirectives() const {
    if (!m_ignored.empty()) {
        Log::Warning(m_options.config +
                     ": these directives have no effect with --agentx, since the master controls access: " + m_ignored);
    }
}

void Subagent::StopServing() {
    m_steady.reset();
    m_messages.reset();
    m_work.reset();
    m_doneCalls.reset();
    m_retries.reset();
    m_session->Leave();
}

void Subagent::Reload() {
    Log::Info("with --agentx the configuration is read only at the start; the master's configuration controls access");
}

}  // namespace cvtagentd
