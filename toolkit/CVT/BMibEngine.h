#pragma once

#include <vector>

#include "CVT/Api.h"
#include "CVT/BMibImplGroup.h"
#include "CVT/BVarBind.h"

namespace CVT {

/// Serves the groups of one or more modules as one tree, inside the process: an agent without the protocol.
///
/// Subtrees may nest. A name belongs to the innermost subtree that contains it, and a walk visits all instances in
/// order, across groups. Not synchronised: one thread at a time. A module must stay loaded until it is removed.
class CVT_API BMibEngine {
public:
    /// Adds the groups of a module, with its textual conventions. Returns false and adds nothing when one of its
    /// subtrees is already taken, or has a malformed OID.
    bool Add(BMibImplGroup& module);
    void Remove(BMibImplGroup& module);

    /// All groups in OID order.
    const std::vector<BMibImpl*>& Groups() const { return m_groups; }

    /// Reads one instance. Returns noError, with a value or an exception in the varbind, or an error-status.
    int Get(unsigned int requestId, BVarBind& varBind);
    /// Moves to the next instance of the whole tree and reads it. After the last instance the varbind becomes
    /// endOfMibView.
    int GetNext(unsigned int requestId, BVarBind& varBind);
    /// Performs a whole SET, all or nothing. On failure `errorIndex` is the 1-based position of the varbind that caused
    /// it.
    int Set(unsigned int requestId, const BVarBindList& varBinds, int& errorIndex);

private:
    /// A part of the tree that one group serves: [begin, end), between the subtrees nested in the group's own.
    struct Range {
        BObjectIdentifier begin;
        BObjectIdentifier end;
        BMibImpl* group;
    };

    void BuildRanges();
    std::vector<Range>::const_iterator RangeBehind(const BObjectIdentifier& name) const;
    BMibImpl* GroupOf(const BObjectIdentifier& name) const;

    std::vector<BMibImpl*> m_groups;
    std::vector<Range> m_ranges;
};

}  // namespace CVT
