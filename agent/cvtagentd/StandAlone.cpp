#include "agent/cvtagentd/StandAlone.h"

#include <algorithm>
#include <string>
#include <vector>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/ServedModules.h"
#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/Admission.h"
#include "agent/cvtagentd/access/AuthFailures.h"
#include "agent/cvtagentd/access/ModuleFiles.h"
#include "agent/cvtagentd/builtin/SystemConfig.h"
#include "agent/cvtagentd/process/DaemonUser.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateFile.h"
#include "agent/cvtagentd/requests/ResponseBudget.h"
#include "agent/cvtagentd/snmp/RequestTrace.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

bool StoreOrWarn(const StateContent::Users& deleted = {}) {
    try {
        SnmpLibrary::Store(deleted);
        return true;
    } catch (const StateNotStored& error) {
        Log::Warning(std::string(error.what()) + " (what was stored before is still there)");
        return false;
    }
}

/// A configuration that creates a user brings it back.
void WarnOfReturned(const StateContent::Users& deleted) {
    const StateContent::Users now = SnmpLibrary::Users();
    for (const StateContent::User& user : deleted) {
        if (now.count(user) != 0) {
            Log::Warning("the configuration has created the deleted user " + user.name +
                         " again; remove its createUser line and reload");
        }
    }
}

}  // namespace

void StandAlone::BeforeConfiguration() {
    SystemConfig::Register();
    ModuleFiles::Register();
}

/// The library obeys the files in the state directory, so it must read them as the user, not as root.
void StandAlone::ReadConfiguration(DaemonUser& user) {
    user.Assume(m_options.config);
    m_lock.emplace(StateLock::Holder::kAgent);
    AccessConfig::RequireTrustedState();
    AccessConfig::RequireTrusted(m_options.config);
    m_library.emplace(SnmpLibrary::Setup{
        m_options.config, SnmpLibrary::State::kWorkingDirectory,
        m_options.config.empty() ? AccessConfig::BuiltIn() : std::vector<std::string>{}, &BeforeConfiguration});
    AccessConfig::RequireFaultless(m_options.config, m_library->Messages());
    m_changes.emplace(UserChanges::For::kTakingIn);
    m_deleted = m_changes->ApplyAll();
    AuthFailures::Watch();
    AuthFailures::LearnCommunities(m_options.config);
    if (m_options.logLevel == LogLevel::kDebug) {
        RequestTrace::Start();
    }
    ResponseBudget::Install();
}

std::string StandAlone::Open() {
    std::vector<std::string> addresses = m_options.listen;
    if (addresses.empty()) {
        addresses = SnmpLibrary::ConfiguredAddresses();
    }
    if (addresses.empty()) {
        addresses.emplace_back(Options::kDefaultAddress);
    }
    m_listeners.emplace();
    for (const std::string& address : addresses) {
        if (std::count(addresses.begin(), addresses.end(), address) > 1) {
            throw ConfigError("agentaddress names " + address + " twice; remove one");
        }
        m_listeners->Listen(address);
    }
    m_builtin.emplace();
    return "on " + agent::Joined(addresses);
}

/// A message can be replayed within a time window, and only engineBoots shows that the engine has restarted since. So a
/// start that cannot be counted serves no users. Without users, the count is not needed.
void StandAlone::StoreState() {
    try {
        SnmpLibrary::Store(m_deleted);
        m_changes->Discard();
    } catch (const StateNotStored& error) {
        if (!SnmpLibrary::Users().empty()) {
            throw StartError(std::string(error.what()) +
                             " and start the agent again (SNMPv3 users are not served unless the start is counted)");
        }
        Log::Warning(error.what());
        m_isStartCounted = false;
    }
}

void StandAlone::StartServing(ServedModules& modules, EventLoop& loop) {
    for (CVT::BMibImpl* const group : modules.Groups()) {
        modules.Serve(*group);
    }
    Requests& requests = modules.UnderWay();
    requests.delegated.OnOver(&::netsnmp_check_outstanding_agent_requests);
    m_listeners->RefuseSetsWhile([&] { return !requests.delegated.IsEmpty(); });
    m_retries.emplace(loop, [&] { return requests.delegated.Retry(); });
    m_doneCalls.emplace(loop, requests.workers.Descriptor(), [&] { requests.workers.Drain(); });
    m_steady.emplace(loop);
    m_changes->Report();
    m_changes.reset();  // from now on commands can leave others
    m_modulesAtStart = ModuleFiles::Named();
    Admission::WarnIfNobody();
}

void StandAlone::StopServing() {
    m_steady.reset();
    m_doneCalls.reset();
    m_retries.reset();
    m_listeners->RefuseSetsWhile({});
}

/// Everything else was stored at the start; only users that a SIGHUP has read from the configuration are new.
void StandAlone::StoreStateAtEnd() {
    if (!StateDir::IsGone()) {
        StoreOrWarn();
    }
}

/// The state is stored before the library reads the configuration again, because it then also reads the state.
void StandAlone::Reload() {
    try {
        UserChanges changes(UserChanges::For::kTakingIn);
        const StateContent::Users deleted = changes.ApplyAll();
        const bool stored = !changes.IsEmpty() && StoreOrWarn(deleted);
        if (stored) {
            m_isStartCounted = true;
            changes.Discard();
        }
        ReadConfigurationAgain();
        if (!stored) {
            changes.ApplyAll();
        }
        changes.Report();
        WarnOfReturned(deleted);
    } catch (const StartError& error) {
        Log::Error("the users stay as they were: " + std::string(error.what()));
        ReadConfigurationAgain();
    }
}

void StandAlone::ReadConfigurationAgain() {
    const StateContent::Users before = SnmpLibrary::Users();
    if (AccessConfig::Reload(m_options.config)) {
        AuthFailures::LearnCommunities(m_options.config);
    }
    if (!m_isStartCounted || SnmpLibrary::Users() != before) {
        m_isStartCounted = StoreOrWarn() || m_isStartCounted;
    }
    Admission::WarnIfNobody();
    if (ModuleFiles::ReadFolder(m_options.config).empty() && ModuleFiles::Named() != m_modulesAtStart) {
        Log::Warning("the configuration names other modules than at the start; restart the agent to load them");
    }
}

}  // namespace cvtagentd
