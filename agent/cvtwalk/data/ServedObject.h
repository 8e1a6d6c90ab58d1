#pragma once

#include <string>
#include <string_view>

#include "CVT/BMibImpl.h"

namespace cvtwalk {

/// The object that an instance belongs to: the column that serves it, and the index that follows. Refers to the group,
/// which must outlive it.
class ServedObject {
public:
    /// An instance that belongs to no group's column.
    ServedObject() = default;
    ServedObject(CVT::BMibImpl& group, const CVT::BRqHndlrEntry& column, CVT::BObjectIdentifier index)
        : m_group(&group), m_column(&column), m_index(std::move(index)) {}

    /// Null when there is none.
    CVT::BMibImpl* Group() const { return m_group; }
    const CVT::BRqHndlrEntry* Declared() const { return m_column; }
    bool IsInTable() const { return m_group != nullptr && m_group->GetIMibInfo()->IsTable(); }
    /// The column's sub-identifier; 0 when there is none.
    unsigned int SubId() const { return m_column == nullptr ? 0 : m_column->subId; }
    /// The object's name, such as "hrStorageDescr"; empty when there is none.
    std::string_view Name() const;
    const CVT::BObjectIdentifier& Index() const { return m_index; }

    /// Null when the column does not enumerate the value.
    const char* EnumerationName(int value) const;
    /// Whether the column's values are dates by their textual convention.
    bool HoldsDates() const;

private:
    CVT::BMibImpl* m_group = nullptr;
    const CVT::BRqHndlrEntry* m_column = nullptr;
    CVT::BObjectIdentifier m_index;
};

}  // namespace cvtwalk
