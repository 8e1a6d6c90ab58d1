#pragma once

#include <deque>
#include <string>
#include <vector>

#include "agent/common/ModuleSet.h"
#include "agent/cvtagentd/builtin/BuiltinModule.h"
#include "agent/cvtagentd/requests/Requests.h"
#include "agent/cvtagentd/requests/SubtreeHandler.h"

namespace cvtagentd {

/// The extension modules that the agent serves, from loading to closing. Used by the thread that runs the SNMP library.
/// The library must outlive this object.
class ServedModules {
public:
    /// `closeMs`: how long the modules may take to close.
    explicit ServedModules(unsigned int closeMs) : m_closeMs(closeMs) {}
    /// Closes the modules. If this does not finish in time, logs it and ends the process with status 1: a module's code
    /// may still be running, so nothing that it uses may be freed.
    ~ServedModules();
    ServedModules(const ServedModules&) = delete;
    ServedModules& operator=(const ServedModules&) = delete;

    /// Loads all the files before it starts the first module. `builtin` is served besides them, except where a module
    /// serves the same subtree; it may be null, and must outlive this object. Throws StartError.
    void Start(const std::vector<std::string>& files, BuiltinModule* builtin);

    /// All groups, in the order of their OIDs.
    const std::vector<CVT::BMibImpl*>& Groups() const { return m_modules.Engine().Groups(); }

    /// Which of them serves a name, and which names come next.
    const CVT::BMibEngine& Engine() const { return m_modules.Engine(); }

    /// Registers the subtree of one of the groups with the SNMP library. Throws StartError when the library refuses.
    void Serve(CVT::BMibImpl& group) { m_handlers.emplace_back(group, m_requests.delegated); }

    /// The requests that the groups answer.
    Requests& UnderWay() { return m_requests; }

    /// The files of the modules that are still initialising, for the log; empty when all are ready.
    std::string NotReady() const;

    /// The groups that failed to initialise although their modules are ready, for the log; empty when all succeeded.
    /// They answer, if at all, with their initial values.
    std::string NotUp() const;

    /// How many subtrees the modules serve.
    std::size_t NumSubtrees() const { return m_numSubtrees; }

private:
    [[noreturn]] void EndAtOnce() const;
    void Add(BuiltinModule& builtin);

    const unsigned int m_closeMs;
    Requests m_requests;
    agent::ModuleSet m_modules;  // its engine only finds groups; the SNMP library dispatches
    std::size_t m_numSubtrees = 0;
    std::deque<SubtreeHandler> m_handlers;
};

}  // namespace cvtagentd
