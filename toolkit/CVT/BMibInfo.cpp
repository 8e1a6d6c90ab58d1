#include "CVT/BMibInfo.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "CVT/BMibImpl.h"
#include "CVT/TextualConventions.h"

namespace CVT {

const BString& BMibInfo::Name() const { return m_owner->Name(); }

const BObjectIdentifier& BMibInfo::Oid() const { return m_owner->Oid(); }

bool BMibInfo::IsTable() const { return m_owner->HandlerKind() == kTableHandler; }

std::span<const BRqHndlrEntry> BMibInfo::Columns() const {
    const BRqHndlrEntry* const entries = m_owner->GetRqHndlrMap();
    unsigned int count = m_columnCount.load(std::memory_order_relaxed);
    if (count == 0) {
        while (!entries[count].IsEnd()) {
            ++count;
        }
        m_columnCount.store(count, std::memory_order_relaxed);
    }
    return {entries, count};
}

std::span<const BRqHndlrEntry>::iterator BMibInfo::ColumnFrom(unsigned int subId) const {
    const auto columns = Columns();
    // Most groups number their columns from 1 without a gap.
    if (subId - 1 < columns.size() && columns[subId - 1].subId == subId) {
        return columns.begin() + static_cast<std::ptrdiff_t>(subId - 1);
    }
    return std::lower_bound(columns.begin(), columns.end(), subId,
                            [](const BRqHndlrEntry& entry, unsigned int id) { return entry.subId < id; });
}

const BRqHndlrEntry* BMibInfo::FindColumn(unsigned int subId) const {
    const auto at = ColumnFrom(subId);
    return at->subId == subId && !at->IsEnd() ? &*at : nullptr;  // the table's last entry comes after its columns
}

const char* BMibInfo::EnumerationName(unsigned int subId, int value) const {
    const BConstraintEntry* entry = m_owner->GetConstraintMap();
    for (; entry->kind != kEndOfConstraints; ++entry) {
        if (entry->column != subId) {
            continue;
        }
        if (entry->kind == kEnumConvention && entry->label != nullptr &&
            std::string_view(entry->label) == cszTruthValue) {
            return value == 1 ? "true" : value == 2 ? "false" : nullptr;
        }
        if (entry->kind == kEnumeration) {
            for (++entry; entry->kind == kEnumValue; ++entry) {
                if (entry->low == value) {
                    return entry->label;
                }
            }
            return nullptr;
        }
    }
    return nullptr;
}

}  // namespace CVT
