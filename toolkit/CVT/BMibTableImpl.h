#pragma once

#include "CVT/BMibImpl.h"

namespace CVT {

/// A table. Its instances are named entry.column.index, where the entry is the table's OID with sub-identifier 1
/// appended.
class CVT_API BMibTableImpl : public BMibImpl {
public:
    ~BMibTableImpl() override;

    using BMibImpl::Get;
    using BMibImpl::Set;
    int Get(unsigned int requestId, BVarBind& varBind) override;
    int Set(unsigned int requestId, ESnmpSetOpCode phase, void** undo, const BVarBind& varBind) override;
    int NextInstance(unsigned int requestId, BVarBind& varBind) override;

    /// Sets `nextIndex` to the index of the first row of `column` after `index`, which need not exist; the empty index
    /// comes before all rows. Returns false at the end of the column; the walk then continues with the next column.
    virtual bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const BObjectIdentifier& index,
                                      BObjectIdentifier& nextIndex) = 0;

protected:
    /// `oid` is the table's own, dotted decimal. The registered subtree is its entry.
    BMibTableImpl(const char* name, const char* oid) : BMibImpl(name, oid, kTableHandler) { AppendToOid(1); }
    /// Serves the table under the parent's request lock.
    BMibTableImpl(BMibImpl& parent, const char* name, const char* oid) : BMibImpl(parent, name, oid, kTableHandler) {
        AppendToOid(1);
    }

private:
    int FindNext(unsigned int requestId, BObjectIdentifier& at);
};

}  // namespace CVT
