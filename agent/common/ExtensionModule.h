#pragma once

#include <atomic>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "CVT/BMibImplGroup.h"

namespace agent {

/// An extension module in this process: a shared library with the entry points CVxExtAgentInit and CVxExtAgentClose.
///
/// Life: Load, Start, requests to the groups of Group(), Close. A module initialises in the background; IsReady says
/// when it has finished. The library is loaded with local scope, so that two modules may use the same names. Used by
/// one thread.
class ExtensionModule {
public:
    /// Maps the library and finds its entry points. Returns null, with one line in `error`, when there is no such file
    /// or it is not an extension module.
    static std::unique_ptr<ExtensionModule> Load(const std::string& file, std::string& error);

    /// The module that comes with the agent: libCVHost.so.1 in the lib folder beside the running program's, or else
    /// whatever the dynamic linker finds under that name.
    static std::string DefaultFile();

    ExtensionModule(const ExtensionModule&) = delete;
    ExtensionModule& operator=(const ExtensionModule&) = delete;
    /// A module that was started and not closed stays mapped: its threads may still run.
    ~ExtensionModule();

    /// Calls CVxExtAgentInit. Returns false, with `error`, when the module refuses or returns no object.
    bool Start(void* trapSender, std::string& error);

    /// The module's object, from Start to Close.
    CVT::BMibImplGroup& Group() { return *m_group; }

    /// Whether initialisation has finished: the module's gbReady. If the module exports none, whether all its groups
    /// are active.
    bool IsReady() const;
    /// Waits for IsReady, at most `milliseconds`.
    bool WaitUntilReady(unsigned int milliseconds) const;

    /// Calls CVxExtAgentClose, waits until none of the module's threads is running, and unmaps the library. Returns
    /// false when this has not finished after `milliseconds`. The module then stays as it is, and the caller can only
    /// end the process (with std::_Exit, since the module's code may be running).
    bool Close(unsigned int milliseconds);

    /// The same for several modules, of which some may not have been started. Closing them one by one would not work,
    /// because it would wait for the threads of a module that is still open.
    static bool CloseAll(std::span<const std::unique_ptr<ExtensionModule>> modules, unsigned int milliseconds);

    /// From Start to Close.
    bool IsStarted() const { return m_group != nullptr; }

    /// Whether both are the same mapped library, which cannot be started twice.
    bool IsSameLibrary(const ExtensionModule& other) const { return m_library == other.m_library; }

    const std::string& File() const { return m_file; }

private:
    using Init = int (*)(void** module, void* trapSender);
    using Exit = int (*)();

    static bool EndWork(const std::vector<Exit>& exits, unsigned int milliseconds);
    void Unload();

    ExtensionModule(std::string file, void* library) : m_file(std::move(file)), m_library(library) {}

    const std::string m_file;
    void* m_library;
    Init m_init = nullptr;
    Exit m_exit = nullptr;
    const std::atomic<bool>* m_ready = nullptr;  // the module's gbReady; null when it has none
    CVT::BMibImplGroup* m_group = nullptr;
};

}  // namespace agent
