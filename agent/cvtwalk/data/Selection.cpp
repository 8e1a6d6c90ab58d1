#include "agent/cvtwalk/data/Selection.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include "agent/cvtwalk/data/KnownObjects.h"
#include "agent/cvtwalk/text/AsciiCase.h"
#include "agent/cvtwalk/text/NearNames.h"

namespace cvtwalk {
namespace {

constexpr std::string_view kIndex = "index";

/// A cell's sort key. Absent values come last.
struct Key {
    bool absent = true;
    double number = 0;
    std::string text;
};

/// The octets per unit in this row if the column is an amount; 1 for other columns, nothing when it is unknown.
std::optional<double> ScaleOf(const Section& section, const Section::Row& row, const std::string& column) {
    const KnownObjects::Amounts* const amounts = KnownObjects::AmountsOf(section.Name());
    if (amounts == nullptr || (column != amounts->size && column != amounts->used)) {
        return 1;
    }
    const auto units = section.Find(amounts->units);
    if (!units) {
        return 1;
    }
    const auto& cell = row.cells[*units];
    return cell && cell->Number() ? std::optional(static_cast<double>(*cell->Number())) : std::nullopt;
}

Key KeyOf(const Section& section, const Section::Row& row, std::size_t place) {
    const std::optional<Section::Cell>& cell = row.cells[place];
    Key key;
    if (!cell || !cell->measured) {
        return key;
    }
    if (const auto number = cell->Number()) {
        const std::string& column = section.Columns()[place].name;
        const auto scale = ScaleOf(section, row, column);
        const KnownObjects::Amounts* const amounts = KnownObjects::AmountsOf(section.Name());
        const bool amount = amounts != nullptr && (column == amounts->size || column == amounts->used);
        if (!scale || (amount && *number < 0)) {
            return key;  // a wrapped number says nothing about the size
        }
        key.number = static_cast<double>(*number) * *scale;
    } else {
        key.text = AsciiCase::Lower(section.TextAt(row, place));
    }
    key.absent = false;
    return key;
}

bool HasColumn(const Section& section, std::string_view name) {
    return section.IsTable() && (AsciiCase::AreEqual(name, kIndex) || section.FindAnyCase(name));
}

std::string Count(std::size_t number, const char* what) { return std::to_string(number) + " " + what; }

}  // namespace

bool Selection::IsEmpty() const {
    return sort.empty() && !reverse && filters.empty() && columns.empty() && limit == 0 && !fold;
}

bool Selection::Apply(Sections& sections, std::string& error) const {
    if (!KnowsItsColumns(sections, error)) {
        return false;
    }
    for (Section& section : sections.All()) {
        if (section.IsTable()) {
            Filter(section);
            Fold(section);
            Sort(section);
            Limit(section);
            Choose(section);
        }
    }
    return true;
}

bool Selection::KnowsItsColumns(const Sections& sections, std::string& error) const {
    std::vector<std::string> wanted = columns;
    if (!sort.empty()) {
        wanted.push_back(sort);
    }
    for (const auto& [column, text] : filters) {
        wanted.push_back(column);
    }
    std::vector<std::string> known;
    for (const Section& section : sections.All()) {
        for (const Section::Column& column : section.Columns()) {
            if (section.IsTable()) {
                known.push_back(section.ShortName(column));
            }
        }
    }
    if (known.empty() && !wanted.empty()) {
        const auto tables = [](const Section& section) { return section.IsTable(); };
        if (std::none_of(sections.All().begin(), sections.All().end(), tables) && !sections.All().empty()) {
            error = "no table is shown that could have a column called '" + wanted.front() + "'";
            return false;
        }
        return true;  // tables without rows
    }
    for (const std::string& name : wanted) {
        const auto has = [&](const Section& section) { return HasColumn(section, name); };
        if (std::any_of(sections.All().begin(), sections.All().end(), has)) {
            continue;
        }
        error = "no column is called '" + name + "'";
        const std::vector<std::string> near = NearNames(known, name);
        const std::vector<std::string>& shown = near.empty() ? known : near;
        const char* separator = near.empty() ? "; there are " : "; near it: ";
        for (const std::string& candidate : shown) {
            error += separator + candidate;
            separator = ", ";
        }
        return false;
    }
    return true;
}

void Selection::Filter(Section& section) const {
    for (const auto& [name, text] : filters) {
        const bool byIndex = AsciiCase::AreEqual(name, kIndex) && !section.FindAnyCase(name);
        const auto place = section.FindAnyCase(name);
        if (!byIndex && !place) {
            continue;
        }
        std::erase_if(section.Rows(), [&, &wanted = text](const Section::Row& row) {
            return !AsciiCase::Contains(byIndex ? row.index.ToString().c_str() : section.TextAt(row, *place), wanted);
        });
    }
}

void Selection::Fold(Section& section) const {
    const KnownObjects::Amounts* const amounts = KnownObjects::AmountsOf(section.Name());
    const auto place = !fold || amounts == nullptr ? std::nullopt : section.Find(amounts->size);
    if (!place || section.Columns().size() == 1) {
        return;
    }
    const auto folded = std::erase_if(
        section.Rows(), [&](const Section::Row& row) { return row.cells[*place] && row.cells[*place]->Number() == 0; });
    if (folded > 0) {
        section.notes.push_back(Count(folded, "without size: --all"));
    }
}

void Selection::Sort(Section& section) const {
    const auto place = section.FindAnyCase(sort);
    if (sort.empty() || !place) {
        if (reverse && (sort.empty() || AsciiCase::AreEqual(sort, kIndex))) {
            std::reverse(section.Rows().begin(), section.Rows().end());
        }
        return;
    }
    std::vector<Key> keys;
    for (const Section::Row& row : section.Rows()) {
        keys.push_back(KeyOf(section, row, *place));
    }
    std::vector<std::size_t> order(keys.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        if (keys[a].absent || keys[b].absent) {
            return !keys[a].absent && keys[b].absent;
        }
        const Key& low = keys[reverse ? b : a];
        const Key& high = keys[reverse ? a : b];
        return low.number != high.number ? low.number < high.number : low.text < high.text;
    });
    std::vector<Section::Row> sorted;
    sorted.reserve(order.size());
    for (const std::size_t from : order) {
        sorted.push_back(std::move(section.Rows()[from]));
    }
    section.Rows() = std::move(sorted);
}

void Selection::Limit(Section& section) const {
    if (limit == 0 || section.Rows().size() <= limit) {
        return;
    }
    section.notes.push_back(Count(limit, "of ") + Count(section.Rows().size(), "rows"));
    section.Rows().erase(section.Rows().begin() + static_cast<std::ptrdiff_t>(limit), section.Rows().end());
}

/// Puts the columns into the requested order and hides the others, which amounts may still be computed from.
void Selection::Choose(Section& section) const {
    std::vector<std::size_t> order;
    for (const std::string& name : columns) {
        const auto place = section.FindAnyCase(name);
        if (place && std::find(order.begin(), order.end(), *place) == order.end()) {
            order.push_back(*place);
        }
    }
    if (order.empty()) {
        return;
    }
    section.chosen = true;
    const std::size_t shown = order.size();
    for (std::size_t place = 0; place < section.Columns().size(); ++place) {
        if (std::find(order.begin(), order.end(), place) == order.end()) {
            order.push_back(place);
        }
    }
    const auto reorder = [&](auto& items) {
        std::remove_reference_t<decltype(items)> moved;
        for (const std::size_t from : order) {
            moved.push_back(std::move(items[from]));
        }
        items = std::move(moved);
    };
    reorder(section.Columns());
    for (Section::Row& row : section.Rows()) {
        reorder(row.cells);
    }
    for (std::size_t place = shown; place < section.Columns().size(); ++place) {
        section.Columns()[place].hidden = true;
    }
}

}  // namespace cvtwalk
