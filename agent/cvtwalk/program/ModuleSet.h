#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/common/ExtensionModule.h"

namespace cvtwalk {

/// The extension modules of the process, served as one tree. Life: Load, Start, WaitUntilReady, requests to Engine,
/// Close. Used by one thread.
class ModuleSet {
public:
    ModuleSet() = default;
    ModuleSet(const ModuleSet&) = delete;
    ModuleSet& operator=(const ModuleSet&) = delete;
    ~ModuleSet() = default;

    /// Maps the modules' libraries. False, with one line for people in `error`, when one cannot be.
    bool Load(const std::vector<std::string>& files, std::string& error);
    /// Starts them, all of which then come up at the same time. False, with `error`, when one refuses; those before it
    /// have started, and want to be closed.
    bool Start(std::string& error);
    /// Waits up to `milliseconds` until all are ready. False, with `error`, when one is not: it cannot be closed then.
    bool WaitUntilReady(unsigned int milliseconds, std::string& error) const;
    CVT::BMibEngine& Engine() { return m_engine; }
    /// Closes the modules, all within `milliseconds`. False, with `error`, when one does not end: its code may still
    /// run, so that only std::_Exit is safe.
    bool Close(unsigned int milliseconds, std::string& error);

private:
    bool LoadOne(const std::string& file, std::string& error);
    bool StartOne(agent::ExtensionModule& module, std::string& error);

    std::vector<std::unique_ptr<agent::ExtensionModule>> m_modules;
    CVT::BMibEngine m_engine;
};

}  // namespace cvtwalk
