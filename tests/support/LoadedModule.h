#pragma once

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <string>

#include "CVT/BMibImplGroup.h"
#include "CVT/TThread.h"
#include "CVT/TTimer.h"

/// The shipped library, loaded by file name as a host loads it, with nothing but its exported names.
class LoadedModule {
public:
    LoadedModule() : m_library(::dlopen(File().c_str(), RTLD_NOW | RTLD_LOCAL)) {}
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    /// Unmaps the library once no thread runs its code any more.
    ~LoadedModule() {
        if (m_library != nullptr) {
            CVT::TThread::WaitForSelfDeleting(CVT::kWaitForever);
            ::dlclose(m_library);
        }
    }

    static std::string File() { return std::string(CVHOST_BUILD_LIB_DIR) + "/libCVHost.so.1"; }

    bool IsLoaded() const { return m_library != nullptr; }

    int Init(void* trapSender = nullptr) {
        void* module = nullptr;
        const int result = Symbol<int(void**, void*)>("CVxExtAgentInit")(&module, trapSender);
        m_group = static_cast<CVT::BMibImplGroup*>(module);
        return result;
    }
    int Close() { return Symbol<int()>("CVxExtAgentClose")(); }
    bool IsReady() { return Symbol<std::atomic<bool>>("gbReady")->load(); }
    void* Object() { return *Symbol<void*>("gpCVHost"); }
    void* TrapSender() { return *Symbol<void*>("gpTrapSender"); }

    CVT::BMibImplGroup& Group() { return *m_group; }

    /// Waits until every group is active.
    bool WaitUntilActive(std::chrono::milliseconds limit = std::chrono::seconds(30)) {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (int place = 0; place < m_group->NumHandlers(); ++place) {
            CVT::BMibImpl* const group = m_group->HandlerAt(place);
            while (group != nullptr && !group->IsActive()) {
                if (std::chrono::steady_clock::now() > deadline) {
                    return false;
                }
                CVT::TTimer().Sleep(1);
            }
        }
        return true;
    }

    template <class T>
    T* Symbol(const char* name) {
        return reinterpret_cast<T*>(::dlsym(m_library, name));
    }

private:
    void* m_library;
    CVT::BMibImplGroup* m_group = nullptr;
};
