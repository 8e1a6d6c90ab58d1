#pragma once

#include "CVT/Api.h"
#include "CVT/BMibImpl.h"
#include "CVT/BVarBind.h"

namespace CVT {

/// One varbind of a SET on its way through the phases, with its undo cell. Whatever the host calls, in whatever order,
/// the group sees a commit only after its check, an undo only after its commit, and one release for each successful
/// check, at the latest from the destructor. Used by one thread at a time; the group must outlive the cell.
class CVT_API BSetCell {
public:
    BSetCell(BMibImpl& group, unsigned int requestId, BVarBind varBind);
    BSetCell(const BSetCell&) = delete;
    BSetCell& operator=(const BSetCell&) = delete;
    ~BSetCell() { Release(); }

    /// Checks and saves, once: a repeated call returns the first result.
    int Check();
    /// Returns noError when already committed; commitFailed when the check has not passed.
    int Commit();
    /// Returns noError when there is nothing to undo.
    int Undo();
    void Release();

    const BVarBind& VarBind() const { return m_varBind; }

private:
    enum class State { kNew, kRefused, kChecked, kCommitted, kReleased };

    BMibImpl& m_group;
    const unsigned int m_requestId;
    const BVarBind m_varBind;
    State m_state = State::kNew;
    int m_refusal = noError;
    void* m_undo = nullptr;
};

}  // namespace CVT
