#pragma once

#include "agent/cvtagentd/requests/DelegatedRequests.h"
#include "agent/cvtagentd/requests/GroupWorkers.h"
#include "agent/cvtagentd/requests/SetTransactions.h"

namespace cvtagentd {

/// The requests that are under way, whatever group they reach. Used by the thread that runs the event loop; the groups
/// must outlive it.
struct Requests {
    GroupWorkers workers;
    DelegatedRequests delegated{workers};
    SetTransactions sets{workers};
};

}  // namespace cvtagentd
