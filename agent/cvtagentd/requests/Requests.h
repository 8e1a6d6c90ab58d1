#pragma once

#include "agent/cvtagentd/requests/DelegatedRequests.h"
#include "agent/cvtagentd/requests/RequestIds.h"
#include "agent/cvtagentd/requests/SetTransactions.h"

namespace cvtagentd {

/// The requests that are under way, whatever group they reach. Used by the thread that runs the SNMP library; the
/// groups must outlive it.
struct Requests {
    explicit Requests(GroupReader::Wait wait) : delegated(wait) {}

    RequestIds ids;
    DelegatedRequests delegated;
    SetTransactions sets;

    /// Called when a master's connection begins: it then numbers its requests from the start again.
    void NewConnection() { ids.NewConnection(); }
    /// Called when the connection ends: the master continues none of them.
    void ConnectionLost() { sets.ReleaseAll(); }
};

}  // namespace cvtagentd
