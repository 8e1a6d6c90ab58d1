#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "agent/common/ExtensionModule.h"
#include "agent/cvtagentd/builtin/BuiltinModule.h"
#include "agent/cvtagentd/requests/DelegatedRequests.h"
#include "agent/cvtagentd/requests/RequestIds.h"
#include "agent/cvtagentd/requests/SubtreeHandler.h"

namespace cvtagentd {

class MasterConnection;

/// The extension modules that the agent serves, from loading to closing. Used by the thread that runs the SNMP library,
/// which must live longer.
class ServedModules {
public:
    /// `closeMs`: how long the modules may take to close. `master`: whom they are served through, and null when the agent
    /// listens itself; it must outlive this.
    ServedModules(unsigned int closeMs, MasterConnection* master);
    /// Closes. When that is not over in time it logs so and ends the process with status 1: code of a module's may still
    /// run, and nothing may be taken from under it.
    ~ServedModules();
    ServedModules(const ServedModules&) = delete;
    ServedModules& operator=(const ServedModules&) = delete;

    /// Loads all the files before it starts the first module. Without a master it serves the subtrees of all when all have
    /// started; with one, ServeReady does. `own` is served beside them, where no module serves the same; null, or it
    /// outlives this. Throws StartError.
    void Start(const std::vector<std::string>& files, BuiltinModule* own);

    /// Registers those groups with the master that can answer by now: a request of his cannot be put back. What is
    /// registered stays so, whether he is there or not: the library may hold on to it for a SET that he has left alone, and
    /// tells him of it when he comes back. True when nothing is left to do as long as the connection stays as it is.
    bool ServeReady();

    /// The files of the modules that still initialise, for people; empty when all are ready.
    std::string NotReady() const;

    /// The groups that did not come up though their modules are ready, for people; empty when all did. They answer, if at
    /// all, with their initial values.
    std::string NotUp() const;

    /// To be retried from the event loop.
    DelegatedRequests& RequestsPutBack() { return m_putBack; }

    /// How many subtrees the modules have.
    std::size_t NumSubtrees() const { return m_numSubtrees; }

private:
    void Load(const std::string& file);
    void Add(agent::ExtensionModule& module);
    void Add(BuiltinModule& own);
    void Register(CVT::BMibImpl& group);
    void ReportRefused();
    bool CanAnswer(CVT::BMibImpl& group) const;

    const unsigned int m_closeMs;
    MasterConnection* const m_master;
    RequestIds m_ids;
    DelegatedRequests m_putBack;
    std::vector<std::unique_ptr<agent::ExtensionModule>> m_modules;
    CVT::BMibEngine m_engine;  // for what it does when a module is added; the SNMP library dispatches
    std::size_t m_numSubtrees = 0;
    std::vector<CVT::BMibImpl*> m_waiting;  // to be registered with the master, in the order of their OIDs
    std::string m_refused;                  // by the master; for people
    std::deque<SubtreeHandler> m_handlers;
};

}  // namespace cvtagentd
