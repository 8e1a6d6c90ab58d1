#include "agent/cvtwalk/data/CellText.h"

#include <array>
#include <cstdio>

#include "agent/cvtwalk/data/KnownObjects.h"
#include "agent/cvtwalk/data/ValueText.h"
#include "agent/cvtwalk/text/AmountText.h"

namespace cvtwalk {
namespace {

/// The octets per unit in this row; nothing where the column is not an amount or the row has no unit.
std::optional<long long> UnitsOf(const Section& section, const Section::Row& row, const std::string& column) {
    const KnownObjects::Amounts* const amounts = KnownObjects::AmountsOf(section.Name());
    if (amounts == nullptr || (column != amounts->size && column != amounts->used)) {
        return std::nullopt;
    }
    const auto size = section.Find(amounts->size);
    const auto used = section.Find(amounts->used);
    const auto units = section.Find(amounts->units);
    if (!size || !used || !units || !row.cells[*units]) {
        return std::nullopt;
    }
    return row.cells[*units]->Number();
}

std::string Seconds(long long ticks, long long ticksPerSecond) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f s", static_cast<double>(ticks) / static_cast<double>(ticksPerSecond));
    return text.data();
}

}  // namespace

std::string CellText::Readable(const Section& section, const Section::Row& row, std::size_t column) {
    const std::string& name = section.Columns()[column].name;
    const auto number = row.cells[column] ? row.cells[column]->Number() : std::nullopt;
    if (section.Columns()[column].derived || !number) {
        return section.TextAt(row, column);
    }
    if (const auto units = UnitsOf(section, row, name)) {
        return AmountText::Size(*number, *units);
    }
    const KnownObjects::Unit unit = KnownObjects::UnitOf(name);
    const long long scale = KnownObjects::ScaleOf(unit);
    switch (unit) {
        case KnownObjects::Unit::kOctets:
        case KnownObjects::Unit::kKibioctets:
        case KnownObjects::Unit::kPages: return AmountText::Size(*number, scale);
        case KnownObjects::Unit::kClockTicks: return *number < 0 ? "?" : Seconds(*number, scale);
        case KnownObjects::Unit::kPercent: return section.TextAt(row, column) + "%";
        default: return section.TextAt(row, column);
    }
}

bool CellText::IsNumber(const Section& section, const Section::Row& row, std::size_t column) {
    if (!row.cells[column]->measured) {
        return true;
    }
    return ValueText(section.InstanceAt(row, column), section.ObjectAt(row, column)).IsNumber();
}

}  // namespace cvtwalk
