#pragma once

#include "CVT/BMibImpl.h"

struct netsnmp_request_info_s;

namespace cvtagentd {

/// The phases of a SET, for the varbinds of one request that lie in one group's subtree.
///
/// A varbind is kept from phase to phase as a CVT::BSetCell among the data of the library's request: it is released when
/// that goes, whatever has happened, and by ReleaseAll when it does not go. Used by the thread that runs the library; the group must outlive the request.
class SetTransactions {
public:
    using Request = netsnmp_request_info_s;

    /// Stops at the first varbind that is refused.
    static void Check(CVT::BMibImpl& group, unsigned int requestId, Request* requests);
    /// Stops at the first that cannot be written: the library goes on with the undo phase.
    static void Commit(Request* requests);
    static void UndoAndRelease(Request* requests);
    static void Release(Request* requests);

    /// Releases what any request has checked and not released: its master will not come back to it.
    static void ReleaseAll();
};

}  // namespace cvtagentd
