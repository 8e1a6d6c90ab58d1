#include "agent/cvtwalk/data/ServedObject.h"

#include "CVT/TextualConventions.h"

namespace cvtwalk {

std::string_view ServedObject::Name() const {
    return m_column == nullptr || m_column->name == nullptr ? std::string_view() : m_column->name;
}

const char* ServedObject::EnumerationName(int value) const {
    return m_column == nullptr ? nullptr : m_group->GetIMibInfo()->EnumerationName(m_column->subId, value);
}

bool ServedObject::HoldsDates() const {
    if (m_column == nullptr) {
        return false;
    }
    const CVT::BConstraintEntry* entry = m_group->GetConstraintMap();
    for (; entry->kind != CVT::kEndOfConstraints; ++entry) {
        if (entry->column == m_column->subId && entry->kind == CVT::kConvention && entry->label != nullptr &&
            std::string_view(entry->label) == CVT::cszDateAndTime) {
            return true;
        }
    }
    return false;
}

}  // namespace cvtwalk
