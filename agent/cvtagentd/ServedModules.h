#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/common/ExtensionModule.h"
#include "agent/cvtagentd/OwnGroups.h"
#include "agent/cvtagentd/PutBack.h"
#include "agent/cvtagentd/RequestIds.h"
#include "agent/cvtagentd/SubtreeHandler.h"

namespace agent {

/// The extension modules that the agent serves, from loading to closing. Used by the thread that runs the SNMP library,
/// which must live longer.
class ServedModules {
public:
    /// `closeMs`: how long the modules may take to close. `mayPutBack`: whether a request that would have to wait may be
    /// put back, which a subagent's must not.
    explicit ServedModules(unsigned int closeMs, bool mayPutBack = true) : m_closeMs(closeMs), m_putBack(mayPutBack) {}
    /// Closes. When that is not over in time it logs so and ends the process with status 1: code of a module's may still
    /// run, and nothing may be taken from under it.
    ~ServedModules();
    ServedModules(const ServedModules&) = delete;
    ServedModules& operator=(const ServedModules&) = delete;

    /// Loads all the files before it starts the first module, and serves the subtrees of all when all have started.
    /// Throws StartError. `own` is served beside them, where no module serves the same; null, or it outlives this.
    void Start(const std::vector<std::string>& files, OwnGroups* own);

    /// The files of the modules that still initialise, for people; empty when all are ready.
    std::string NotReady() const;

    /// To be retried from the event loop.
    PutBack& RequestsPutBack() { return m_putBack; }

    /// How many subtrees of modules are served.
    std::size_t NumSubtrees() const { return m_numSubtrees; }

private:
    void Load(const std::string& file);
    void Add(ExtensionModule& module);
    void Add(OwnGroups& own);

    const unsigned int m_closeMs;
    RequestIds m_ids;
    PutBack m_putBack;
    std::vector<std::unique_ptr<ExtensionModule>> m_modules;
    CVT::BMibEngine m_engine;  // for what it does when a module is added; the SNMP library dispatches
    std::size_t m_numSubtrees = 0;
    std::deque<SubtreeHandler> m_handlers;
};

}  // namespace agent
