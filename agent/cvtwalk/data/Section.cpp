#include "agent/cvtwalk/data/Section.h"

#include <algorithm>

#include "agent/cvtwalk/data/KnownObjects.h"
#include "agent/cvtwalk/data/ValueText.h"
#include "agent/cvtwalk/text/AsciiCase.h"

namespace cvtwalk {
namespace {

constexpr const char* kAbsent = "-";

Section::Cell CellOf(const CVT::BVarBind& instance) {
    Section::Cell cell;
    cell.type = instance.type;
    switch (instance.type) {
        case CVT::kInteger: cell.number = instance.integer; break;
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: cell.number = instance.number; break;
        case CVT::kOctetString: cell.octets = instance.octets.View(); break;
        case CVT::kObjectIdentifier: cell.octets = instance.identifier.ToString().View(); break;
        default: break;
    }
    return cell;
}

/// Whether another word follows the prefix, as in "hrStorage" and "Descr".
bool BeginsWithName(std::string_view text, std::string_view prefix) {
    if (prefix.empty() || text.size() <= prefix.size() || !text.starts_with(prefix)) {
        return false;
    }
    const char next = text[prefix.size()];
    return next >= 'A' && next <= 'Z';
}

}  // namespace

std::optional<long long> Section::Cell::Number() const {
    switch (type) {
        case CVT::kInteger:
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: return measured ? std::optional(number) : std::nullopt;
        default: return std::nullopt;
    }
}

void Section::Add(const CVT::BVarBind& instance, const ServedObject& object) {
    const std::size_t column = ColumnOf(object);
    Row& row = RowOf(m_group == nullptr ? instance.name : object.Index());
    row.cells.resize(m_columns.size());
    row.cells[column] = CellOf(instance);
}

std::size_t Section::ColumnOf(const ServedObject& object) {
    const auto same = [&](const Column& column) { return column.declared == object.Declared(); };
    const auto found = std::find_if(m_columns.begin(), m_columns.end(), same);
    if (found != m_columns.end()) {
        return static_cast<std::size_t>(found - m_columns.begin());
    }
    m_columns.push_back({m_group, object.Declared(), std::string(object.Name())});
    for (Row& row : m_rows) {
        row.cells.resize(m_columns.size());
    }
    m_next = 0;
    return m_columns.size() - 1;
}

/// A walk visits a column in the order of the rows, so this is most often the row after the previous one.
Section::Row& Section::RowOf(const CVT::BObjectIdentifier& index) {
    if (m_next >= m_rows.size() || !(m_rows[m_next].index == index)) {
        const auto place =
            std::lower_bound(m_rows.begin(), m_rows.end(), index,
                             [](const Row& row, const CVT::BObjectIdentifier& wanted) { return row.index < wanted; });
        m_next = static_cast<std::size_t>(place - m_rows.begin());
        if (place == m_rows.end() || !(place->index == index)) {
            m_rows.insert(place, Row{index, std::vector<std::optional<Cell>>(m_columns.size())});
        }
    }
    return m_rows[m_next++];
}

std::string_view Section::Name() const { return m_group == nullptr ? std::string_view() : m_group->Name().View(); }

std::string_view Section::PrefixOf(const CVT::BMibImpl* group) {
    constexpr std::string_view kTable = "Table";
    if (group == nullptr) {
        return {};
    }
    std::string_view name = group->Name().View();
    name.remove_prefix(name.rfind('.') + 1);  // npos + 1 is 0
    return name.ends_with(kTable) ? name.substr(0, name.size() - kTable.size()) : std::string_view();
}

std::string Section::ShortName(const Column& column) const {
    const std::string_view prefix = PrefixOf(column.group);
    const bool all = std::all_of(m_columns.begin(), m_columns.end(), [&](const Column& other) {
        return other.group != column.group || BeginsWithName(other.name, prefix);
    });
    return column.name.substr(all ? prefix.size() : 0);
}

std::optional<std::size_t> Section::Find(std::string_view name) const {
    const auto found = std::find_if(m_columns.begin(), m_columns.end(),
                                    [&](const Column& column) { return !column.derived && column.name == name; });
    return found == m_columns.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - m_columns.begin()));
}

std::optional<std::size_t> Section::FindAnyCase(std::string_view name) const {
    for (std::size_t place = 0; place < m_columns.size(); ++place) {
        if (AsciiCase::AreEqual(m_columns[place].name, name) ||
            AsciiCase::AreEqual(ShortName(m_columns[place]), name)) {
            return place;
        }
    }
    return std::nullopt;
}

CVT::BVarBind Section::InstanceAt(const Row& row, std::size_t column) const {
    const Cell& cell = *row.cells[column];
    CVT::BVarBind instance;
    if (const Column& place = m_columns[column]; place.declared != nullptr) {
        instance.name.Set(place.group->GetIMibInfo()->Oid());
        instance.name.Append(place.declared->subId);
        for (const unsigned int arc : row.index.Arcs()) {
            instance.name.Append(arc);
        }
    } else {
        instance.name.Set(row.index);
    }
    instance.type = cell.type;
    instance.integer = static_cast<int>(cell.number);
    instance.number = static_cast<unsigned int>(cell.number);
    if (cell.type == CVT::kOctetString) {
        instance.octets.Assign(cell.octets);
    } else if (cell.type == CVT::kObjectIdentifier) {
        instance.identifier.AssignFromDottedDecimalStr(cell.octets.c_str());
    }
    return instance;
}

ServedObject Section::ObjectAt(const Row& row, std::size_t column) const {
    const Column& place = m_columns[column];
    return place.declared == nullptr ? ServedObject() : ServedObject(*place.group, *place.declared, row.index);
}

std::string Section::TextAt(const Row& row, std::size_t column) const {
    const std::optional<Cell>& cell = row.cells[column];
    if (m_columns[column].derived) {
        return {};
    }
    if (!cell) {
        return kAbsent;
    }
    if (!cell->measured) {
        return kNotMeasured;
    }
    const CVT::BVarBind instance = InstanceAt(row, column);
    const std::string_view known =
        instance.type == CVT::kObjectIdentifier ? KnownObjects::ValueName(instance.identifier) : std::string_view();
    return known.empty() ? ValueText(instance, ObjectAt(row, column)).Bare() : std::string(known);
}

}  // namespace cvtwalk
