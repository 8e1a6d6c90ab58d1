#include "agent/cvtagentd/requests/SetTransactions.h"

#include <new>

#include "agent/cvtagentd/snmp/RequestData.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {

/// What one request of the library keeps for a varbind. It may outlive the SetTransactions that made it.
struct SetTransactions::HeldCell {
    static constexpr RequestData<HeldCell> kAttached{"cvtagentd.setCell"};

    HeldCell(std::shared_ptr<LiveCells> live, Cell held) : liveCells(std::move(live)), cell(std::move(held)) {}
    ~HeldCell() {
        if (cell.use_count() <= 2) {  // held by this and the list, and by no other attempt
            Release();
        }
    }
    HeldCell(const HeldCell&) = delete;
    HeldCell& operator=(const HeldCell&) = delete;

    void Release() {
        cell->Release();
        std::erase_if(*liveCells, [this](const auto& entry) { return entry.second == cell; });
    }

    const std::shared_ptr<LiveCells> liveCells;
    const Cell cell;
};

/// Null when the varbind was not checked, because one before it was refused.
SetTransactions::HeldCell* SetTransactions::CellOf(Request& request) { return HeldCell::kAttached.Find(request); }

/// Returns the cell of an earlier attempt, or else a new one.
CVT::BSetCell& SetTransactions::MakeCell(CVT::BMibImpl& group, unsigned int requestId, Request& request) {
    Cell& cell = (*m_live)[{request.agent_req_info->asp->pdu->transid, request.index}];
    if (cell == nullptr) {
        cell = std::make_shared<CVT::BSetCell>(group, requestId, VarBinds::ReadOffer(*request.requestvb));
    }
    return *HeldCell::kAttached.Attach(request, std::make_unique<HeldCell>(m_live, cell)).cell;
}

void SetTransactions::Check(CVT::BMibImpl& group, unsigned int requestId, Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        int status = CVT::resourceUnavailable;
        try {
            status = MakeCell(group, requestId, *request).Check();
        } catch (const std::bad_alloc&) {  // refused with that status
        }
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void SetTransactions::Commit(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        HeldCell* const held = CellOf(*request);
        const int status = held == nullptr ? CVT::commitFailed : held->cell->Commit();
        if (status != CVT::noError) {
            VarBinds::Refuse(*request, status);
            return;
        }
    }
}

void SetTransactions::UndoAndRelease(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        HeldCell* const held = CellOf(*request);
        if (held != nullptr && held->cell->Undo() != CVT::noError) {
            VarBinds::Refuse(*request, CVT::undoFailed);
        }
    }
    Release(requests);
}

void SetTransactions::Release(Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (HeldCell* const held = CellOf(*request); held != nullptr) {
            held->Release();
        }
    }
}

void SetTransactions::ReleaseAll() {
    for (const auto& [place, cell] : std::exchange(*m_live, {})) {
        cell->Release();
    }
}

}  // namespace cvtagentd
