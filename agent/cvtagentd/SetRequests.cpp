#include "agent/cvtagentd/SetRequests.h"

#include <memory>
#include <unordered_set>

#include "CVT/BSetCell.h"
#include "agent/cvtagentd/SnmpHeaders.h"
#include "agent/cvtagentd/VarBinds.h"

namespace agent {
namespace {

constexpr const char* kCellName = "cvtagentd.setCell";

/// The library forgets a request of a master's that has gone, and does not say so.
std::unordered_set<CVT::BSetCell*> s_liveCells;

void DeleteCell(void* data) {
    auto* const cell = static_cast<CVT::BSetCell*>(data);
    s_liveCells.erase(cell);
    delete cell;
}

/// Null when the varbind was not checked, because one before it was refused.
CVT::BSetCell* CellOf(netsnmp_request_info* request) {
    return static_cast<CVT::BSetCell*>(::netsnmp_request_get_list_data(request, kCellName));
}

}  // namespace

void SetRequests::Check(CVT::BMibImpl& group, unsigned int requestId, Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        auto cell = std::make_unique<CVT::BSetCell>(group, requestId, VarBinds::ReadOffer(*request->requestvb));
        const int status = cell->Check();
        netsnmp_data_list* const node = ::netsnmp_create_data_list(kCellName, cell.get(), &DeleteCell);
        if (node == nullptr) {
            VarBinds::Refuse(*request, CVT::resourceUnavailable);
            return;
        }
        s_liveCells.insert(cell.get());
        static_cast<void>(cell.release());  // the node owns it
        ::netsnmp_request_add_list_data(request, node);
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void SetRequests::Commit(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        CVT::BSetCell* const cell = CellOf(request);
        const int status = cell == nullptr ? CVT::commitFailed : cell->Commit();
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void SetRequests::UndoAndRelease(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        CVT::BSetCell* const cell = CellOf(request);
        if (cell != nullptr && cell->Undo() != CVT::noError) {
            VarBinds::Refuse(*request, CVT::undoFailed);
        }
    }
    Release(requests);
}

void SetRequests::Release(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (CVT::BSetCell* const cell = CellOf(request); cell != nullptr) {
            cell->Release();
        }
    }
}

void SetRequests::ReleaseAll() {
    for (CVT::BSetCell* const cell : s_liveCells) {
        cell->Release();
    }
}

}  // namespace agent
