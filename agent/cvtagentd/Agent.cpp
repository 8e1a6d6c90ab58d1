#include "agent/cvtagentd/Agent.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "agent/cvtagentd/ServedModules.h"
#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/agentx/MasterConnection.h"
#include "agent/cvtagentd/process/DaemonUser.h"
#include "agent/cvtagentd/process/ServiceManager.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateLock.h"
#include "agent/cvtagentd/snmp/EventLoop.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"

namespace cvtagentd {
namespace {

constexpr int kReadyPollMs = 20;
constexpr const char* kServing = "serving";

/// Of two waiting times of an EventLoop's.
int Sooner(int a, int b) {
    if (a == EventLoop::kForever || b == EventLoop::kForever) {
        return std::max(a, b);
    }
    return std::min(a, b);
}

}  // namespace

/// Nothing is said before all went well: a start that fails says one line. No request is answered before Serve.
int Agent::Run() {
    EventLoop loop;
    ServiceManager manager;
    AccessConfig::RequireReadable(m_options.config);
    StateDir::Enter(m_options.stateDir);
    DaemonUser user(m_options.user);
    std::optional<MasterConnection> master;
    std::optional<StateLock> lock;
    if (m_options.subagent) {
        master.emplace(m_options.master);
    } else {  // the library obeys what stands in the state directory
        user.Assume(m_options.config);
        lock.emplace();
    }
    SnmpLibrary library(m_options.config, SnmpLibrary::Use::kServe, master ? &*master : nullptr);
    if (!library.Faults().empty()) {
        throw StartError(AccessConfig::Summary(m_options.config, library.Faults()));
    }
    if (master) {  // it has been reached, and no state has been read
        user.Assume();
        lock.emplace();
    }
    const std::string where = master ? "through the master at " + master->Address() : "on " + Listen(library);
    user.GiveUpPorts();
    if (!master) {
        library.Store();
    }
    {
        BuiltinModule own;
        ServedModules modules(m_options.timeoutSeconds * 1000, master ? &*master : nullptr);
        modules.Start(m_options.modules, master ? nullptr : &own);
        if (!library.IgnoredDirectives().empty()) {
            Log::Warning(m_options.config +
                         ": with --agentx these mean nothing, since the master decides who may do what: " +
                         library.IgnoredDirectives());
        }
        Log::Info("version " CVHOST_VERSION " serves " + std::to_string(modules.NumSubtrees()) + " subtrees " + where);
        user.Report();
        manager.Status("waiting for the modules to get ready");
        library.OpenEndpoints().RefuseSetsWhile([&] { return !modules.RequestsPutBack().IsEmpty(); });
        Serve(loop, library, modules, manager, master ? &*master : nullptr);
        library.OpenEndpoints().RefuseSetsWhile({});
    }
    Log::Info("ended");
    return EXIT_SUCCESS;
}

std::string Agent::Listen(SnmpLibrary& library) const {
    std::vector<std::string> addresses = m_options.listen;
    if (addresses.empty()) {
        addresses = library.ConfiguredAddresses();
    }
    if (addresses.empty()) {
        addresses.emplace_back(Options::kDefaultAddress);
    }
    std::string all;
    for (const std::string& address : addresses) {
        library.Listen(address);
        all += (all.empty() ? "" : ", ") + address;
    }
    return all;
}

void Agent::Serve(EventLoop& loop, SnmpLibrary& library, ServedModules& modules, ServiceManager& manager,
                  MasterConnection* master) const {
    const auto begin = std::chrono::steady_clock::now();
    bool ready = false;
    for (;;) {
        const bool served = modules.ServeReady();
        if (!ready) {
            ready = LookWhetherReady(modules, begin);
            if (ready) {
                manager.Ready(kServing);
            }
        }
        manager.FeedWatchdog();
        modules.RequestsPutBack().Retry();
        int patienceMs = ready && served ? manager.MillisecondsToWatchdog() : kReadyPollMs;
        patienceMs = modules.RequestsPutBack().ShortenWait(patienceMs);
        if (master != nullptr) {
            master->Report();
            patienceMs = Sooner(patienceMs, master->MillisecondsToReport());
        }
        switch (loop.Wait(patienceMs, master == nullptr ? EventLoop::kNoDescriptor : master->Socket())) {
            case EventLoop::Event::kStop:
                Log::Info("ending");
                StateDir::WarnIfGone();
                manager.Stopping();
                return;
            case EventLoop::Event::kReload:
                manager.Reloading();
                StateDir::WarnIfGone();
                Reload(library);
                if (ready) {
                    manager.Ready(kServing);
                }
                break;
            case EventLoop::Event::kNone: break;
        }
    }
}

void Agent::Reload(SnmpLibrary& library) const {
    if (m_options.subagent) {  // to read it again would close the connection
        Log::Info("with --agentx the configuration is read at the start only; the master's says who may do what");
    } else {
        library.Reload();
    }
}

/// A module that does not get ready in time ends the process at once: it could not be closed either.
bool Agent::LookWhetherReady(const ServedModules& modules, std::chrono::steady_clock::time_point since) const {
    const std::string notReady = modules.NotReady();
    const auto passed = std::chrono::steady_clock::now() - since;
    if (notReady.empty()) {
        const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(passed).count();
        Log::Info("ready after " + std::to_string(milliseconds) + " ms");
        if (const std::string notUp = modules.NotUp(); !notUp.empty()) {
            Log::Error("did not come up, and will not before the next start: " + notUp);
        }
        return true;
    }
    if (passed >= std::chrono::seconds(m_options.timeoutSeconds)) {
        Log::Fatal("not ready within " + std::to_string(m_options.timeoutSeconds) + " s: " + notReady +
                   "; raise --timeout if the host is slow");
        std::_Exit(EXIT_FAILURE);
    }
    return false;
}

}  // namespace cvtagentd
