#include "agent/cvtagentd/Agent.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/common/ExtensionModule.h"
#include "agent/cvtagentd/ServedModules.h"
#include "agent/cvtagentd/StandAlone.h"
#include "agent/cvtagentd/Subagent.h"
#include "agent/cvtagentd/access/ModuleFiles.h"
#include "agent/cvtagentd/process/DaemonUser.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/ReadableFile.h"
#include "agent/cvtagentd/process/ServiceManager.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/UnusedPages.h"
#include "agent/cvtagentd/snmp/EventLoop.h"

namespace cvtagentd {
namespace {

constexpr std::chrono::milliseconds kReadyPoll{20};
constexpr const char* kServing = "serving";

std::unique_ptr<Role> MakeRole(const Options& options) {
    if (options.subagent) {
        return std::make_unique<Subagent>(options);
    }
    return std::make_unique<StandAlone>(options);
}

std::vector<std::string> ModulesToLoad(const Options& options) {
    std::vector<std::string> files = options.modules;
    const std::vector<std::string> named = ModuleFiles::Named();
    files.insert(files.end(), named.begin(), named.end());
    return files;
}

/// --module replaces the module that comes with the agent, which is easily overlooked.
void ReportMissingDefault(const std::vector<std::string>& files) {
    const std::string standard = agent::ExtensionModule::DefaultFile();
    const std::filesystem::path name = std::filesystem::path(standard).filename();
    if (std::none_of(files.begin(), files.end(),
                     [&](const std::string& file) { return std::filesystem::path(file).filename() == name; })) {
        Log::Info(name.string() +
                  ", which comes with the agent, is not loaded, since --module names another one; add "
                  "--module " +
                  standard + " to serve both");
    }
}

/// Undoes StartServing, even when that has thrown halfway.
struct StopServing {
    ~StopServing() { role.StopServing(); }

    Role& role;
};

}  // namespace

/// Nothing is logged until everything has succeeded, so a failed start prints a single line. No request is answered
/// before Serve.
int Agent::Run() {
    EventLoop loop;
    ServiceManager manager;
    ReadableFile::Require(m_options.config);
    StateDir::Enter(m_options.stateDir);
    DaemonUser user(m_options.user);
    const std::unique_ptr<Role> role = MakeRole(m_options);
    role->ReadConfiguration(user);
    const std::string where = role->Open();
    user.GiveUpPorts();
    role->StoreState();
    {
        const std::vector<std::string> files = ModulesToLoad(m_options);
        ServedModules modules(m_options.timeoutSeconds * 1000);
        modules.Start(files, role->Builtin());
        const StopServing atEnd{*role};
        role->StartServing(modules, loop);
        const std::size_t subtrees = modules.NumSubtrees();
        Log::Info("version " CVHOST_VERSION " serves " + std::to_string(subtrees) +
                  (subtrees == 1 ? " subtree " : " subtrees ") + where);
        ReportMissingDefault(files);
        user.Report();
        manager.Status("waiting for the modules to get ready");
        Serve(loop, *role, modules, manager);
    }
    role->StoreStateAtEnd();
    Log::Info("ended");
    return EXIT_SUCCESS;
}

void Agent::Serve(EventLoop& loop, Role& role, const ServedModules& modules, ServiceManager& manager) const {
    const auto begin = std::chrono::steady_clock::now();
    bool ready = false;
    const EventLoop::Task readiness(loop, [&] {
        if (!ready && LookWhetherReady(modules, begin)) {
            ready = true;
            manager.Ready(kServing);
        }
        return ready ? std::nullopt : std::optional(kReadyPoll);
    });
    const EventLoop::Task watchdog(loop, [&] { return manager.FeedWatchdog(); });
    for (;;) {
        switch (loop.Turn()) {
            case EventLoop::Event::kStop:
                Log::Info("ending");
                StateDir::WarnIfGone();
                manager.Stopping();
                return;
            case EventLoop::Event::kReload:
                manager.Reloading();
                StateDir::WarnIfGone();
                role.Reload();
                if (ready) {
                    manager.Ready(kServing);
                }
                break;
            case EventLoop::Event::kNone: break;
        }
    }
}

/// A module that is not ready in time ends the process at once, because it could not be closed either.
bool Agent::LookWhetherReady(const ServedModules& modules, std::chrono::steady_clock::time_point since) const {
    const std::string notReady = modules.NotReady();
    const auto passed = std::chrono::steady_clock::now() - since;
    if (notReady.empty()) {
        UnusedPages::Release();
        const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(passed).count();
        Log::Info("ready after " + std::to_string(milliseconds) + " ms");
        if (const std::string notUp = modules.NotUp(); !notUp.empty()) {
            Log::Error("failed to initialise, and will not be served until the agent is restarted: " + notUp);
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
