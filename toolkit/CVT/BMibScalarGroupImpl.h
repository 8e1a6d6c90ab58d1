#pragma once

#include "CVT/BMibImpl.h"

namespace CVT {

/// A group of scalars: each column has exactly one instance, group.column.0.
class CVT_API BMibScalarGroupImpl : public BMibImpl {
public:
    ~BMibScalarGroupImpl() override;

    using BMibImpl::Get;
    using BMibImpl::Set;
    int Get(unsigned int requestId, BVarBind& varBind) override;
    int Set(unsigned int requestId, ESnmpSetOpCode phase, void** undo, const BVarBind& varBind) override;
    int NextInstance(unsigned int requestId, BVarBind& varBind) override;

protected:
    /// `oid` is the group's own, dotted decimal.
    BMibScalarGroupImpl(const char* name, const char* oid) : BMibImpl(name, oid, kScalarHandler) {}
};

}  // namespace CVT
