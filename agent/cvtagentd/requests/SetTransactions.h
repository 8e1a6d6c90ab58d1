#pragma once

#include <map>
#include <memory>
#include <utility>

#include "CVT/BMibImpl.h"
#include "CVT/BSetCell.h"

struct netsnmp_request_info_s;

namespace cvtagentd {

/// Runs the phases of SETs: the varbinds of a SET that lie in one group's subtree come here phase by phase.
///
/// A varbind is kept from phase to phase as a CVT::BSetCell, attached to the library's request: it is released when
/// that request is freed, whatever has happened, and by ReleaseAll when it is not. Used by the thread that runs the
/// library; the groups must outlive the requests, or ReleaseAll.
class SetTransactions {
public:
    using Request = netsnmp_request_info_s;

    /// Stops at the first varbind that is refused.
    void Check(CVT::BMibImpl& group, unsigned int requestId, Request* requests);
    /// Stops at the first that cannot be written: the library continues with the undo phase.
    static void Commit(Request* requests);
    static void UndoAndRelease(Request* requests);
    static void Release(Request* requests);

    /// Releases what any request has checked and not released: its master will not continue it.
    void ReleaseAll();

private:
    using Cell = std::shared_ptr<CVT::BSetCell>;
    /// A varbind of a request: the number of its transaction, and the varbind's place.
    using Place = std::pair<long, int>;
    /// The cells that are checked and not released. An AgentX master whose request timed out sends the check again, as
    /// another request of the same transaction. A master that has gone leaves requests that the library does not drop.
    using LiveCells = std::map<Place, Cell>;
    struct HeldCell;

    static HeldCell* CellOf(Request& request);
    CVT::BSetCell& MakeCell(CVT::BMibImpl& group, unsigned int requestId, Request& request);

    const std::shared_ptr<LiveCells> m_live = std::make_shared<LiveCells>();
};

}  // namespace cvtagentd
