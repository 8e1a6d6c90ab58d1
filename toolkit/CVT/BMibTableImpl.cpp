#include "CVT/BMibTableImpl.h"

#include "CVT/HandlerCall.h"
#include "CVT/SetChecks.h"

namespace CVT {

BMibTableImpl::~BMibTableImpl() = default;

int BMibTableImpl::Get(unsigned int requestId, BVarBind& varBind) {
    return detail::WithoutThrowing([&]() -> int {
        BObjectIdentifier index;
        const BRqHndlrEntry* const column = Locate(varBind.name, index);
        if (column == nullptr) {
            varBind.type = kNoSuchObject;
            return noError;
        }
        const TMutex::Guard guard(RequestLock());
        return detail::GetByKind<BTableGet>(
            *column, varBind, [&](auto get, auto& value) { return (this->*get)(index, requestId, value); });
    });
}

int BMibTableImpl::Set(unsigned int requestId, ESnmpSetOpCode phase, void** undo, const BVarBind& varBind) {
    return detail::WithoutThrowing([&]() -> int {
        BObjectIdentifier index;
        const BRqHndlrEntry* const column = Locate(varBind.name, index);
        const int refusal = CheckOfferedValue(column, GetConstraintMap(), ModuleConventions(), varBind);
        if (refusal != noError) {
            return phase == ESnmpSetOpCode::CheckAndSave ? refusal : genErr;
        }
        const TMutex::Guard guard(RequestLock());
        return detail::SetByKind<BTableSet>(*column, varBind, [&](auto set, const auto& value) {
            return (this->*set)(index, phase, requestId, value, undo);
        });
    });
}

int BMibTableImpl::NextInstance(unsigned int requestId, BVarBind& varBind) {
    return detail::WithoutThrowing([&] {
        const TMutex::Guard guard(RequestLock());
        return FindNext(requestId, varBind.name);
    });
}

/// Moves `at` to the name of the next instance. Returns noSuchName and leaves `at` untouched when there is none.
int BMibTableImpl::FindNext(unsigned int requestId, BObjectIdentifier& at) {
    BObjectIdentifier index;
    BObjectIdentifier next;
    auto column = FirstCandidate(at, index);
    const unsigned int root = Oid().NumArcs() + 1;
    bool isInColumn = !index.IsEmpty();  // whether `at` begins with the column's name
    while (!column->IsEnd()) {
        // A row that does not come after the previous one would make the walk endless.
        if (!NextInstanceInColumn(requestId, column->subId, index, next) || next <= index) {
            ++column;
            index.Clear();
            isInColumn = false;
            continue;
        }
        if (root + next.NumArcs() <= BObjectIdentifier::kMaxArcs) {
            if (!isInColumn) {
                at.Set(Oid());
                at.Append(column->subId);
            }
            at.Truncate(root);
            at.Append(next);
            return noError;
        }
        index.Set(next);  // a row whose name would be too long is skipped
    }
    return noSuchName;
}

}  // namespace CVT
