#include "CVT/BMibTableImpl.h"

#include "CVT/HandlerCall.h"
#include "CVT/SetChecks.h"

namespace CVT {

BMibTableImpl::~BMibTableImpl() = default;

int BMibTableImpl::Get(unsigned int requestId, BVarBind& varBind) {
    BObjectIdentifier index;
    const BRqHndlrEntry* const column = Locate(varBind.name, index);
    if (column == nullptr) {
        varBind.type = kNoSuchObject;
        return noError;
    }
    const TMutex::Guard guard(RequestLock());
    return detail::WithoutThrowing([&] {
        return detail::GetByKind<BTableGet>(
            *column, varBind, [&](auto get, auto& value) { return (this->*get)(index, requestId, value); });
    });
}

int BMibTableImpl::Set(unsigned int requestId, ESnmpSetOpCode phase, void** undo, const BVarBind& varBind) {
    BObjectIdentifier index;
    const BRqHndlrEntry* const column = Locate(varBind.name, index);
    const int refusal = CheckOfferedValue(column, GetConstraintMap(), ModuleConventions(), varBind);
    if (refusal != noError) {
        return phase == ESnmpSetOpCode::CheckAndSave ? refusal : genErr;
    }
    const TMutex::Guard guard(RequestLock());
    return detail::WithoutThrowing([&] {
        return detail::SetByKind<BTableSet>(*column, varBind, [&](auto set, const auto& value) {
            return (this->*set)(index, phase, requestId, value, undo);
        });
    });
}

int BMibTableImpl::NextInstance(unsigned int requestId, BVarBind& varBind) {
    const TMutex::Guard guard(RequestLock());
    BObjectIdentifier index;
    BObjectIdentifier next;
    auto column = FirstCandidate(varBind.name, index);
    while (column != GetIMibInfo()->Columns().end()) {
        const int status = detail::WithoutThrowing([&]() -> int {
            return NextInstanceInColumn(requestId, column->subId, index, next) ? noError : noSuchName;
        });
        if (status == genErr) {
            return genErr;
        }
        // A row that does not come behind the one before it would make a walk without end.
        if (status == noSuchName || next <= index) {
            ++column;
            index.Clear();
            continue;
        }
        BObjectIdentifier name = Oid();
        if (name.Append(column->subId) && name.Append(next)) {
            varBind.name = std::move(name);
            return noError;
        }
        index.Set(next);  // a row whose name would be too long is passed over
    }
    return noSuchName;
}

}  // namespace CVT
