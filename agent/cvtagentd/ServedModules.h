#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/common/ExtensionModule.h"
#include "agent/cvtagentd/builtin/BuiltinModule.h"
#include "agent/cvtagentd/requests/Requests.h"
#include "agent/cvtagentd/requests/SubtreeHandler.h"

namespace cvtagentd {

/// The extension modules that the agent serves, from loading to closing. Used by the thread that runs the SNMP library,
/// which must live longer.
class ServedModules {
public:
    /// `closeMs`: how long the modules may take to close. `wait`: how requests wait for a busy group.
    ServedModules(unsigned int closeMs, GroupReader::Wait wait);
    /// Closes. When that is not over in time it logs so and ends the process with status 1: code of a module's may still
    /// run, and nothing may be taken from under it.
    ~ServedModules();
    ServedModules(const ServedModules&) = delete;
    ServedModules& operator=(const ServedModules&) = delete;

    /// Loads all the files before it starts the first module. `builtin` is served beside them, where no module serves the
    /// same; null, or it outlives this. Throws StartError.
    void Start(const std::vector<std::string>& files, BuiltinModule* builtin);

    /// All groups, in the order of their OIDs.
    const std::vector<CVT::BMibImpl*>& Groups() const { return m_engine.Groups(); }

    /// Registers the subtree of one of the groups with the SNMP library. Throws StartError when that refuses.
    void Serve(CVT::BMibImpl& group) { m_handlers.emplace_back(group, m_requests); }

    /// The requests that the groups answer.
    Requests& UnderWay() { return m_requests; }

    /// The files of the modules that still initialise, for people; empty when all are ready.
    std::string NotReady() const;

    /// The groups that did not come up though their modules are ready, for people; empty when all did. They answer, if at
    /// all, with their initial values.
    std::string NotUp() const;

    /// How many subtrees the modules have.
    std::size_t NumSubtrees() const { return m_numSubtrees; }

private:
    void Load(const std::string& file);
    void Add(agent::ExtensionModule& module);
    void Add(BuiltinModule& builtin);

    const unsigned int m_closeMs;
    Requests m_requests;
    std::vector<std::unique_ptr<agent::ExtensionModule>> m_modules;
    CVT::BMibEngine m_engine;  // for what it does when a module is added; the SNMP library dispatches
    std::size_t m_numSubtrees = 0;
    std::deque<SubtreeHandler> m_handlers;
};

}  // namespace cvtagentd
