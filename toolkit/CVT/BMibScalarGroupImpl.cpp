#include "CVT/BMibScalarGroupImpl.h"

#include "CVT/HandlerCall.h"
#include "CVT/SetChecks.h"

namespace CVT {
namespace {

bool IsTheInstance(const BObjectIdentifier& index) { return index.NumArcs() == 1 && index[0] == 0; }

}  // namespace

BMibScalarGroupImpl::~BMibScalarGroupImpl() = default;

int BMibScalarGroupImpl::Get(unsigned int requestId, BVarBind& varBind) {
    return detail::WithoutThrowing([&]() -> int {
        BObjectIdentifier index;
        const BRqHndlrEntry* const column = Locate(varBind.name, index);
        if (column == nullptr || !IsTheInstance(index)) {
            varBind.type = column == nullptr ? kNoSuchObject : kNoSuchInstance;
            return noError;
        }
        const TMutex::Guard guard(RequestLock());
        return detail::GetByKind<BScalarGet>(*column, varBind,
                                             [&](auto get, auto& value) { return (this->*get)(requestId, value); });
    });
}

int BMibScalarGroupImpl::Set(unsigned int requestId, ESnmpSetOpCode phase, void** undo, const BVarBind& varBind) {
    return detail::WithoutThrowing([&]() -> int {
        BObjectIdentifier index;
        const BRqHndlrEntry* const column = Locate(varBind.name, index);
        int refusal = CheckOfferedValue(column, GetConstraintMap(), ModuleConventions(), varBind);
        if (refusal == noError && !IsTheInstance(index)) {
            refusal = noCreation;
        }
        if (refusal != noError) {
            return phase == ESnmpSetOpCode::CheckAndSave ? refusal : genErr;
        }
        const TMutex::Guard guard(RequestLock());
        return detail::SetByKind<BScalarSet>(
            *column, varBind, [&](auto set, const auto& value) { return (this->*set)(phase, requestId, value, undo); });
    });
}

int BMibScalarGroupImpl::NextInstance(unsigned int /*requestId*/, BVarBind& varBind) {
    return detail::WithoutThrowing([&]() -> int {
        BObjectIdentifier index;
        auto column = FirstCandidate(varBind.name, index);
        if (!index.IsEmpty()) {
            ++column;  // .0 is the lowest possible index and the only instance
        }
        if (column == GetIMibInfo()->Columns().end()) {
            return noSuchName;
        }
        varBind.name.Set(Oid());
        varBind.name.Append(column->subId);
        varBind.name.Append(0U);
        return noError;
    });
}

}  // namespace CVT
