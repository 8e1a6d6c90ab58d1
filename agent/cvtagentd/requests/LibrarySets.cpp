#include "agent/cvtagentd/requests/LibrarySets.h"

#include <memory>
#include <new>

#include "CVT/BSetCell.h"
#include "agent/cvtagentd/snmp/RequestData.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {
namespace {

/// None is attached when the varbind was not checked, because one before it was refused.
constexpr RequestData<CVT::BSetCell> kCell("cvtagentd.setCell");

}  // namespace

void LibrarySets::Check(CVT::BMibImpl& group, unsigned int requestId, Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        int status = CVT::resourceUnavailable;
        try {
            auto cell = std::make_unique<CVT::BSetCell>(group, requestId, VarBinds::ReadOffer(*request->requestvb));
            status = kCell.Attach(*request, std::move(cell)).Check();
        } catch (const std::bad_alloc&) {  // refused with that status
        }
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void LibrarySets::Commit(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        CVT::BSetCell* const cell = kCell.Find(*request);
        const int status = cell == nullptr ? CVT::commitFailed : cell->Commit();
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void LibrarySets::UndoAndRelease(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        CVT::BSetCell* const cell = kCell.Find(*request);
        if (cell != nullptr && cell->Undo() != CVT::noError) {
            VarBinds::Refuse(*request, CVT::undoFailed);
        }
    }
    Release(requests);
}

void LibrarySets::Release(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (CVT::BSetCell* const cell = kCell.Find(*request); cell != nullptr) {
            cell->Release();
        }
    }
}

}  // namespace cvtagentd
