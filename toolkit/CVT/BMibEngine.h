#pragma once

#include <span>
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

    /// A part of the tree that one group serves: [begin, end), between the subtrees nested in the group's own. An empty
    /// end is no end.
    struct Range {
        BObjectIdentifier begin;
        BObjectIdentifier end;
        BMibImpl* group;

        bool EndsBefore(const BObjectIdentifier& name) const { return !end.IsEmpty() && end <= name; }
    };

    /// For hosts that call the groups themselves: the ranges that end after `name`, in order. Valid until modules are
    /// added or removed.
    std::span<const Range> RangesAfter(const BObjectIdentifier& name) const;
    /// The group whose range holds `name`; null when there is none.
    BMibImpl* GroupOf(const BObjectIdentifier& name) const;

    /// Returns the greatest name before `name`, which must not be empty: a search after it begins with `name` itself.
    static BObjectIdentifier JustBefore(const BObjectIdentifier& name);

    /// Reads one instance. Returns noError, with a value or an exception in the varbind, or an error-status.
    int Get(unsigned int requestId, BVarBind& varBind);
    /// Moves to the next instance of the whole tree and reads it. After the last instance the varbind becomes
    /// endOfMibView.
    int GetNext(unsigned int requestId, BVarBind& varBind);
    /// Performs a whole SET, all or nothing. On failure `errorIndex` is the 1-based position of the varbind that caused
    /// it.
    int Set(unsigned int requestId, const BVarBindList& varBinds, int& errorIndex);

private:
    void BuildRanges();

    std::vector<BMibImpl*> m_groups;
    std::vector<Range> m_ranges;
};

}  // namespace CVT
