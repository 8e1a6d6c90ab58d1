#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/common/ExtensionModule.h"

namespace agent {

/// The extension modules of a process, as one tree. Life: Load, Start, Join, WaitUntilReady or NotReady called now and
/// then, requests to the groups of Engine, Close. Used by one thread.
class ModuleSet {
public:
    ModuleSet() = default;
    ModuleSet(const ModuleSet&) = delete;
    ModuleSet& operator=(const ModuleSet&) = delete;
    ~ModuleSet() = default;

    /// Maps the modules' libraries. Returns false, with one line in `error`, when one cannot be mapped or is named
    /// twice.
    bool Load(const std::vector<std::string>& files, std::string& error);
    /// Starts them; they then initialise at the same time. Returns false, with `error`, when one refuses; those before
    /// it have started, and must be closed.
    bool Start(std::string& error);
    /// Makes their groups one tree. Returns false, with `error`, when two serve the same subtree; all of them must then
    /// be closed.
    bool Join(std::string& error);
    /// Waits up to `milliseconds` until all are ready. Returns false, with `error`, when one is not: it cannot be
    /// closed then.
    bool WaitUntilReady(unsigned int milliseconds, std::string& error) const;
    /// The files of those that are still initialising.
    std::vector<std::string> NotReady() const;
    /// The groups of all modules.
    CVT::BMibEngine& Engine() { return m_engine; }
    const CVT::BMibEngine& Engine() const { return m_engine; }
    /// Closes the modules, all within `milliseconds`. Returns false, with `error`, when one does not end: its code may
    /// still be running, so only std::_Exit is safe.
    bool Close(unsigned int milliseconds, std::string& error);

private:
    bool LoadOne(const std::string& file, std::string& error);

    std::vector<std::unique_ptr<ExtensionModule>> m_modules;
    CVT::BMibEngine m_engine;
};

}  // namespace agent
