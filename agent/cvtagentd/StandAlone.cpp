#include "agent/cvtagentd/StandAlone.h"

#include <string>
#include <vector>

#include "agent/cvtagentd/ServedModules.h"
#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/AuthFailures.h"
#include "agent/cvtagentd/builtin/SystemConfig.h"
#include "agent/cvtagentd/process/DaemonUser.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/requests/ResponseBudget.h"

namespace cvtagentd {

void StandAlone::BeforeConfiguration() { SystemConfig::Register(); }

/// The library obeys what stands in the state directory, so it must read that as the user, not as root.
void StandAlone::ReadConfiguration(DaemonUser& user) {
    user.Assume(m_options.config);
    m_lock.emplace();
    m_library.emplace(SnmpLibrary::Setup{
        m_options.config, SnmpLibrary::State::kWorkingDirectory,
        m_options.config.empty() ? AccessConfig::BuiltIn() : std::vector<std::string>{}, &BeforeConfiguration});
    if (const auto faults = AccessConfig::AllFaults(m_options.config, m_library->Messages()); !faults.empty()) {
        throw StartError(AccessConfig::Summary(m_options.config, faults));
    }
    AuthFailures::Watch();
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
    std::string all;
    for (const std::string& address : addresses) {
        m_listeners->Listen(address);
        all += (all.empty() ? "" : ", ") + address;
    }
    m_builtin.emplace();
    return "on " + all;
}

void StandAlone::StartServing(ServedModules& modules, EventLoop& loop) {
    for (CVT::BMibImpl* const group : modules.Groups()) {
        modules.Serve(*group);
    }
    DelegatedRequests& delegated = modules.UnderWay().delegated;
    m_listeners->RefuseSetsWhile([&] { return !delegated.IsEmpty(); });
    m_retries.emplace(loop, [&] { return delegated.Retry(); });
}

void StandAlone::StopServing() {
    m_retries.reset();
    m_listeners->RefuseSetsWhile({});
}

void StandAlone::Reload() { AccessConfig::Reload(m_options.config); }

}  // namespace cvtagentd
