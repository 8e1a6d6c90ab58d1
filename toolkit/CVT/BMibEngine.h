#pragma once

#include <vector>

#include "CVT/Api.h"
#include "CVT/BMibImplGroup.h"
#include "CVT/BVarBind.h"

namespace CVT {

/// Serves the groups of one or more modules as one tree, inside the process: what an agent does without its protocol.
///
/// Subtrees may nest; a name belongs to the innermost subtree that holds it, and a walk visits all instances in order,
/// whatever group they come from. Not synchronised: one thread at a time. Modules must stay until they are removed.
class CVT_API BMibEngine {
public:
    /// Takes up the groups of a module, with its textual conventions. False when one of its subtrees is taken already, or
    /// is none because its OID was bad; then none is taken up.
    bool Add(BMibImplGroup& module);
    void Remove(BMibImplGroup& module);

    /// All groups in the order of their OIDs.
    const std::vector<BMibImpl*>& Groups() const { return m_groups; }

    /// Reads one instance: noError with a value or an exception, or an error-status.
    int Get(unsigned int requestId, BVarBind& varBind);
    /// Moves to the next instance of the whole tree and reads it; endOfMibView behind the last.
    int GetNext(unsigned int requestId, BVarBind& varBind);
    /// A whole SET: all or none. On failure `errorIndex` is the 1-based place of the varbind that caused it.
    int Set(unsigned int requestId, const BVarBindList& varBinds, int& errorIndex);

private:
    /// A stretch of the tree that one group serves: [begin, end), between the subtrees nested in the group's own.
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
