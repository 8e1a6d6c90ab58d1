#include "agent/cvtagentd/requests/SetTransactions.h"

#include <map>
#include <memory>
#include <utility>

#include "CVT/BSetCell.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {
namespace {

constexpr const char* kCellName = "cvtagentd.setCell";

using Cell = std::shared_ptr<CVT::BSetCell>;

/// A varbind of a request's: the number of its transaction, and the varbind's place.
using Place = std::pair<long, int>;

/// The cells that are checked and not released. An AgentX master who lost patience sends a check again, as another request
/// of the same transaction, and one who has gone leaves requests to the library that it does not drop.
std::map<Place, Cell> s_liveCells;

Place PlaceOf(const netsnmp_request_info& request) {
    return {request.agent_req_info->asp->pdu->transid, request.index};
}

void Forget(const Cell& cell) {
    std::erase_if(s_liveCells, [&](const auto& entry) { return entry.second == cell; });
}

void DropCell(void* data) {
    const std::unique_ptr<Cell> cell(static_cast<Cell*>(data));
    if (cell->use_count() <= 2) {  // it and the list hold it, and no other attempt
        (*cell)->Release();
        Forget(*cell);
    }
}

/// Null when the varbind was not checked, because one before it was refused.
Cell CellOf(netsnmp_request_info* request) {
    const void* const cell = ::netsnmp_request_get_list_data(request, kCellName);
    return cell == nullptr ? nullptr : *static_cast<const Cell*>(cell);
}

/// The cell of an earlier attempt, or else a new one. Null when there is no memory for it.
Cell MakeCell(CVT::BMibImpl& group, unsigned int requestId, netsnmp_request_info& request) {
    Cell& cell = s_liveCells[PlaceOf(request)];
    if (cell == nullptr) {
        cell = std::make_shared<CVT::BSetCell>(group, requestId, VarBinds::ReadOffer(*request.requestvb));
    }
    auto own = std::make_unique<Cell>(cell);
    netsnmp_data_list* const node = ::netsnmp_create_data_list(kCellName, own.get(), &DropCell);
    if (node == nullptr) {
        return nullptr;
    }
    static_cast<void>(own.release());  // the node owns it
    ::netsnmp_request_add_list_data(&request, node);
    return cell;
}

}  // namespace

void SetTransactions::Check(CVT::BMibImpl& group, unsigned int requestId, Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        const Cell cell = MakeCell(group, requestId, *request);
        const int status = cell == nullptr ? CVT::resourceUnavailable : cell->Check();
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void SetTransactions::Commit(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        const Cell cell = CellOf(request);
        const int status = cell == nullptr ? CVT::commitFailed : cell->Commit();
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void SetTransactions::UndoAndRelease(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        const Cell cell = CellOf(request);
        if (cell != nullptr && cell->Undo() != CVT::noError) {
            VarBinds::Refuse(*request, CVT::undoFailed);
        }
    }
    Release(requests);
}

void SetTransactions::Release(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (const Cell cell = CellOf(request); cell != nullptr) {
            cell->Release();
            Forget(cell);
        }
    }
}

void SetTransactions::ReleaseAll() {
    for (const auto& [place, cell] : std::exchange(s_liveCells, {})) {
        cell->Release();
    }
}

}  // namespace cvtagentd
