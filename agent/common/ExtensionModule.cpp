#include "agent/common/ExtensionModule.h"

#include <dlfcn.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <memory>
#include <system_error>
#include <thread>

#include "CVT/TEvent.h"
#include "CVT/TThread.h"
#include "CVT/TTimer.h"

namespace agent {
namespace {

constexpr const char* kDefaultName = "libCVHost.so.1";
constexpr unsigned int kReadyPollMs = 5;

template <class T>
T Symbol(void* library, const char* name) {
    return reinterpret_cast<T>(::dlsym(library, name));
}

std::string DirectoryOfThisProgram() {
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0) {
        return {};
    }
    const std::string file(path, static_cast<std::size_t>(length));
    return file.substr(0, file.rfind('/'));
}

}  // namespace

std::string ExtensionModule::DefaultFile() {
    const std::string here = DirectoryOfThisProgram();
    const std::string beside = here + "/../lib/" + kDefaultName;
    return !here.empty() && ::access(beside.c_str(), R_OK) == 0 ? beside : kDefaultName;
}

std::unique_ptr<ExtensionModule> ExtensionModule::Load(const std::string& file, std::string& error) {
    void* const library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::string reason = ::dlerror();
        if (const std::string named = file + ": "; reason.starts_with(named)) {
            reason.erase(0, named.size());
        }
        error = "cannot load the module " + file + ": " + reason;
        return nullptr;
    }
    std::unique_ptr<ExtensionModule> module(new ExtensionModule(file, library));
    module->m_init = Symbol<Init>(library, "CVxExtAgentInit");
    module->m_exit = Symbol<Exit>(library, "CVxExtAgentClose");
    module->m_ready = Symbol<const std::atomic<bool>*>(library, "gbReady");
    if (module->m_init == nullptr || module->m_exit == nullptr) {
        error = file + " is not an extension module: it has no CVxExtAgentInit and CVxExtAgentClose";
        return nullptr;
    }
    return module;
}

ExtensionModule::~ExtensionModule() {
    if (m_library != nullptr && m_group == nullptr) {
        ::dlclose(m_library);
    }
}

bool ExtensionModule::Start(void* trapSender, std::string& error) {
    void* module = nullptr;
    if (m_init(&module, trapSender) != 1 || module == nullptr) {
        error = "the module " + m_file + " refused to start";
        return false;
    }
    m_group = static_cast<CVT::BMibImplGroup*>(module);
    return true;
}

bool ExtensionModule::IsReady() const {
    if (m_ready != nullptr) {
        return m_ready->load();
    }
    for (int place = 0; place < m_group->NumHandlers(); ++place) {
        const CVT::BMibImpl* const group = m_group->HandlerAt(place);
        if (group != nullptr && !group->IsActive()) {
            return false;
        }
    }
    return true;
}

bool ExtensionModule::WaitUntilReady(unsigned int milliseconds) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!IsReady()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        CVT::TTimer().Sleep(kReadyPollMs);
    }
    return true;
}

bool ExtensionModule::Close(unsigned int milliseconds) {
    if (IsStarted() && !EndWork({m_exit}, milliseconds)) {
        return false;
    }
    Unload();
    return true;
}

bool ExtensionModule::CloseAll(std::span<const std::unique_ptr<ExtensionModule>> modules, unsigned int milliseconds) {
    std::vector<Exit> exits;
    for (const auto& module : modules) {
        if (module->IsStarted()) {
            exits.push_back(module->m_exit);
        }
    }
    if (!exits.empty() && !EndWork(exits, milliseconds)) {
        return false;
    }
    for (const auto& module : modules) {
        module->Unload();
    }
    return true;
}

/// Calls the modules' closing functions, one after the other, and waits until no self-deleting thread is left.
bool ExtensionModule::EndWork(const std::vector<Exit>& exits, unsigned int milliseconds) {
    // A thread of its own: a module's Close may wait without limit, and the event outlives us if it does.
    const auto closed = std::make_shared<CVT::TEvent>(true);
    const auto end = [exits, closed] {
        for (const Exit exit : exits) {
            exit();
        }
        CVT::TThread::WaitForSelfDeleting(CVT::kWaitForever);
        closed->Set();
    };
    try {
        std::thread(end).detach();
    } catch (const std::system_error&) {
        end();  // no thread can be started: close without the limit
    }
    return closed->Wait(milliseconds) == CVT::kWaitSignalled;
}

void ExtensionModule::Unload() {
    m_group = nullptr;
    m_ready = nullptr;
    if (m_library != nullptr) {
        ::dlclose(m_library);
        m_library = nullptr;
    }
}

}  // namespace agent
