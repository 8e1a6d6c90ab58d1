#include "CVT/BMibImpl.h"

#include "CVT/HandlerCall.h"

namespace CVT {

BMibImpl::BMibImpl(const char* name, const char* oid, EHandlerKind kind)
    : BMibSubtreeHandler(name, oid), m_requestLock(&m_ownLock) {
    m_info.SetOwner(this);
    m_handlerKind = kind;
}

BMibImpl::BMibImpl(BMibImpl& parent, const char* name, const char* oid, EHandlerKind kind) : BMibImpl(name, oid, kind) {
    m_requestLock = parent.m_requestLock;
}

BMibImpl::~BMibImpl() = default;

IMibInfo* BMibImpl::GetIMibInfo() { return &m_info; }

BString BMibImpl::ToString() {
    BString text;
    detail::WithoutThrowing([&] {
        text = Name();
        text.Append(" (");
        text.Append(Oid().ToString());
        text.Append(")");
        return noError;
    });
    return text;
}

const BRqHndlrEntry* BMibImpl::Locate(const BObjectIdentifier& name, BObjectIdentifier& index) const {
    const unsigned int root = Oid().NumArcs();
    if (name.NumArcs() <= root || !name.StartsWith(Oid())) {
        return nullptr;
    }
    index.Set(name.Arcs().subspan(root + 1));
    return m_info.FindColumn(name[root]);
}

std::span<const BRqHndlrEntry>::iterator BMibImpl::FirstCandidate(const BObjectIdentifier& name,
                                                                  BObjectIdentifier& index) const {
    const unsigned int root = Oid().NumArcs();
    index.Clear();
    if (!name.StartsWith(Oid())) {
        return name < Oid() ? m_info.Columns().begin() : m_info.Columns().end();
    }
    if (name.NumArcs() == root) {
        return m_info.Columns().begin();
    }
    const auto column = m_info.ColumnFrom(name[root]);
    if (column->subId == name[root] && !column->IsEnd()) {  // the table's last entry comes after its columns
        index.Set(name.Arcs().subspan(root + 1));
    }
    return column;
}

int BMibImpl::Get(unsigned int requestId, BVarBindList& varBinds, int& errorIndex, int version) {
    errorIndex = 0;
    int place = 0;
    for (BVarBind& varBind : varBinds) {
        ++place;
        int status = Get(requestId, varBind);
        if (status == noError && varBind.IsException() && version == kSnmpV1) {
            status = noSuchName;
        }
        if (status != noError) {
            errorIndex = place;
            return status;
        }
    }
    return noError;
}

int BMibImpl::GetNext(unsigned int requestId, BVarBind& varBind) {
    return detail::WithoutThrowing([&] {
        const TMutex::Guard guard(RequestLock());
        // The search uses the caller's varbind, so that its memory is reused throughout a walk.
        BObjectIdentifier before = varBind.name;
        const ESnmpType type = varBind.type;
        int status = noError;
        do {
            status = NextInstance(requestId, varBind);
            if (status == noError) {
                status = Get(requestId, varBind);
            }
        } while (status == noError && varBind.IsException());  // it vanished after it was found: try the one after it
        if (status != noError) {
            varBind.name = std::move(before);
            varBind.type = type;
        }
        return status;
    });
}

int BMibImpl::Set(unsigned int requestId, const BVarBindList& varBinds, ESnmpSetOpCode phase, void** undo,
                  int& errorIndex, int /*version*/) {
    errorIndex = 0;
    int first = noError;
    for (std::size_t i = 0; i < varBinds.size(); ++i) {
        const int status = Set(requestId, phase, &undo[i], varBinds[i]);
        if (phase == ESnmpSetOpCode::Release) {
            undo[i] = nullptr;
        }
        if (status == noError || first != noError) {
            continue;
        }
        first = status;
        errorIndex = static_cast<int>(i) + 1;
        if (phase != ESnmpSetOpCode::CheckAndSave && phase != ESnmpSetOpCode::Commit) {
            continue;  // undo and release continue to the end despite failures
        }
        const bool checking = phase == ESnmpSetOpCode::CheckAndSave;
        for (std::size_t done = i; done-- > 0;) {
            const int back =
                Set(requestId, checking ? ESnmpSetOpCode::Release : ESnmpSetOpCode::Undo, &undo[done], varBinds[done]);
            if (checking) {
                undo[done] = nullptr;
            } else if (back != noError) {
                first = undoFailed;
                errorIndex = 0;
            }
        }
        break;
    }
    return first;
}

}  // namespace CVT
