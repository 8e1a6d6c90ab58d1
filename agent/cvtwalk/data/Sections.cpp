#include "agent/cvtwalk/data/Sections.h"

#include <algorithm>

#include "agent/cvtwalk/data/KnownObjects.h"

namespace cvtwalk {
namespace {

/// Appends the columns of `second` to the rows of `first` that have the same index.
void Append(Section& first, Section& second) {
    const std::size_t before = first.Columns().size();
    first.Columns().insert(first.Columns().end(), second.Columns().begin(), second.Columns().end());
    auto from = second.Rows().begin();
    for (Section::Row& row : first.Rows()) {  // both in the order of their indexes
        row.cells.resize(first.Columns().size());
        while (from != second.Rows().end() && from->index < row.index) {
            ++from;
        }
        if (from != second.Rows().end() && from->index == row.index) {
            std::move(from->cells.begin(), from->cells.end(), row.cells.begin() + static_cast<std::ptrdiff_t>(before));
        }
    }
    first.joined.push_back(second.Group());
}

std::optional<Section::Cell> Share(const std::optional<Section::Cell>& used, const std::optional<Section::Cell>& size) {
    const auto part = used ? used->Number() : std::nullopt;
    const auto whole = size ? size->Number() : std::nullopt;
    if (!part || !whole || *whole <= 0 || *part < 0 || *part > *whole) {
        return std::nullopt;
    }
    Section::Cell share;
    share.type = CVT::kGauge32;
    share.number = *part * Sections::kWholeUse / *whole;
    return share;
}

}  // namespace

void Sections::Add(const CVT::BVarBind& instance, const ServedObject& object) {
    if (m_sections.empty() || m_sections.back().Group() != object.Group()) {
        m_sections.emplace_back(object.Group());
    }
    m_sections.back().Add(instance, object);
}

void Sections::MarkUnmeasured(double secondsReady) {
    for (Section& section : m_sections) {
        for (std::size_t place = 0; place < section.Columns().size(); ++place) {
            const auto needed = KnownObjects::SecondsToFirstSample(section.Columns()[place].name);
            if (!needed || secondsReady >= *needed) {
                continue;
            }
            const auto zero = [&](const Section::Row& row) {
                return !row.cells[place] || row.cells[place]->number == 0;
            };
            if (!std::all_of(section.Rows().begin(), section.Rows().end(), zero)) {
                continue;  // one is measured, so all of them are
            }
            for (Section::Row& row : section.Rows()) {
                if (row.cells[place]) {
                    row.cells[place]->measured = false;
                }
            }
        }
    }
}

void Sections::Join() {
    for (const KnownObjects::JoinedTables& pair : KnownObjects::Joins()) {
        const auto find = [&](const char* name) {
            return std::find_if(m_sections.begin(), m_sections.end(),
                                [=](const Section& section) { return section.Name() == name; });
        };
        const auto first = find(pair.first);
        const auto second = find(pair.second);
        if (first != m_sections.end() && second != m_sections.end()) {
            Append(*first, *second);
            m_sections.erase(second);
        }
    }
}

void Sections::DeriveUse() {
    for (Section& section : m_sections) {
        const KnownObjects::Amounts* const amounts = KnownObjects::AmountsOf(section.Name());
        if (amounts == nullptr) {
            continue;
        }
        const auto size = section.Find(amounts->size);
        const auto used = section.Find(amounts->used);
        if (!section.Find(amounts->units) || !size || !used) {
            continue;
        }
        const auto place = static_cast<std::ptrdiff_t>(*used + 1);
        for (Section::Row& row : section.Rows()) {
            row.cells.insert(row.cells.begin() + place, Share(row.cells[*used], row.cells[*size]));
        }
        section.Columns().insert(
            section.Columns().begin() + place,
            {section.Group(), nullptr, std::string(Section::PrefixOf(section.Group())) + "Use", true});
    }
}

}  // namespace cvtwalk
