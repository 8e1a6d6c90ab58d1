#include "CVT/BSetCell.h"

namespace CVT {

BSetCell::BSetCell(BMibImpl& group, unsigned int requestId, BVarBind varBind)
    : m_group(group), m_requestId(requestId), m_varBind(std::move(varBind)) {}

int BSetCell::Check() {
    if (m_state == State::kNew) {
        m_refusal = m_group.Set(m_requestId, ESnmpSetOpCode::CheckAndSave, &m_undo, m_varBind);
        m_state = m_refusal == noError ? State::kChecked : State::kRefused;
    }
    return m_refusal;
}

int BSetCell::Commit() {
    if (m_state == State::kCommitted) {
        return noError;
    }
    if (m_state != State::kChecked) {
        return commitFailed;
    }
    const int status = m_group.Set(m_requestId, ESnmpSetOpCode::Commit, &m_undo, m_varBind);
    if (status == noError) {
        m_state = State::kCommitted;
    }
    return status;
}

int BSetCell::Undo() {
    if (m_state != State::kCommitted) {
        return noError;
    }
    m_state = State::kChecked;
    return m_group.Set(m_requestId, ESnmpSetOpCode::Undo, &m_undo, m_varBind);
}

void BSetCell::Release() {
    if (m_state == State::kChecked || m_state == State::kCommitted) {
        m_group.Set(m_requestId, ESnmpSetOpCode::Release, &m_undo, m_varBind);
        m_undo = nullptr;
    }
    m_state = State::kReleased;
}

}  // namespace CVT
