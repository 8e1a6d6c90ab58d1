#pragma once

#include <span>

#include "CVT/Api.h"
#include "CVT/BConstraintEntry.h"
#include "CVT/BObjectIdentifier.h"
#include "CVT/BRqHndlrEntry.h"
#include "CVT/BString.h"

namespace CVT {

/// What a group says about itself to those that serve or display it. Constant for the life of the group, readable from
/// any thread.
class CVT_API IMibInfo {
public:
    virtual ~IMibInfo() = default;

    /// For example "HOST-RESOURCES-MIB.hrSystem".
    virtual const BString& Name() const = 0;
    /// The OID under which the columns stand: the group's own, or the table's entry.
    virtual const BObjectIdentifier& Oid() const = 0;
    virtual bool IsTable() const = 0;
    /// In ascending order of sub-identifiers, without the end mark.
    virtual std::span<const BRqHndlrEntry> Columns() const = 0;
    /// Returns the column with this sub-identifier, or the next one served after it; Columns().end() when there is
    /// none.
    virtual std::span<const BRqHndlrEntry>::iterator ColumnFrom(unsigned int subId) const = 0;
    /// Returns the column with exactly this sub-identifier; null when it is not served.
    virtual const BRqHndlrEntry* FindColumn(unsigned int subId) const = 0;
    /// Returns the name of an enumerated value of a column ("running" for 2); null when the column has no name for it.
    virtual const char* EnumerationName(unsigned int subId, int value) const = 0;
};

}  // namespace CVT
