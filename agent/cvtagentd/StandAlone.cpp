#include "agent/cvtagentd/StandAlone.h"

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

namespace cvtagentd {
namespace {

bool StoreOrWarn() {
    try {
        SnmpLibrary::Store();
        return true;
    } catch (const StateNotStored& error) {
        Log::Warning(std::string(error.what()) + " (what was stored before is still there)");
        return false;
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
    m_lock.emplace();
    AccessConfig::RequireTrustedState();
    AccessConfig::RequireTrusted(m_options.config);
    m_library.emplace(SnmpLibrary::Setup{
        m_options.config, SnmpLibrary::State::kWorkingDirectory,
        m_options.config.empty() ? AccessConfig::BuiltIn() : std::vector<std::string>{}, &BeforeConfiguration});
    AccessConfig::RequireFaultless(m_options.config, m_library->Messages());
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
        m_listeners->Listen(address);
    }
    m_builtin.emplace();
    return "on " + agent::Joined(addresses);
}

/// A message can be replayed within a time window, and only engineBoots shows that the engine has restarted since. So a
/// start that cannot be counted serves no users. Without users, the count is not needed.
void StandAlone::StoreState() {
    try {
        SnmpLibrary::Store();
    } catch (const StateNotStored& error) {
        if (SnmpLibrary::HasUsers()) {
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
    DelegatedRequests& delegated = modules.UnderWay().delegated;
    m_listeners->RefuseSetsWhile([&] { return !delegated.IsEmpty(); });
    m_retries.emplace(loop, [&] { return delegated.Retry(); });
    m_doneCalls.emplace(loop, delegated.Descriptor(), [&] { delegated.Woken(); });
    m_steady.emplace(loop);
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

void StandAlone::Reload() {
    if (AccessConfig::Reload(m_options.config)) {
        AuthFailures::LearnCommunities(m_options.config);
    }
    if (!m_isStartCounted) {  // a reload may have added users
        m_isStartCounted = StoreOrWarn();
    }
    Admission::WarnIfNobody();
    if (ModuleFiles::ReadFolder(m_options.config).empty() && ModuleFiles::Named() != m_modulesAtStart) {
        Log::Warning("the configuration names other modules than at the start; restart the agent to load them");
    }
}

}  // namespace cvtagentd
