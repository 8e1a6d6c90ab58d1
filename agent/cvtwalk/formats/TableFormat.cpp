#include "agent/cvtwalk/formats/TableFormat.h"

#include <algorithm>

#include "agent/cvtwalk/text/AmountText.h"
#include "agent/cvtwalk/data/KnownObjects.h"
#include "agent/cvtwalk/text/Utf8.h"
#include "agent/cvtwalk/data/ValueText.h"

namespace cvtwalk {
namespace {

constexpr const char* kAbsent = "-";
constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastValue = 16;  // places

/// Whether another word follows the prefix, as in "hrStorage" and "Descr".
bool BeginsWithName(std::string_view text, std::string_view prefix) {
    if (prefix.empty() || text.size() <= prefix.size() || !text.starts_with(prefix)) {
        return false;
    }
    const char next = text[prefix.size()];
    return next >= 'A' && next <= 'Z';
}

TextTable::Kind KindOf(bool numeric, bool words) {
    if (numeric) {
        return TextTable::Kind::kNumber;
    }
    return words ? TextTable::Kind::kWord : TextTable::Kind::kText;
}

std::optional<long long> NumberOf(const CVT::BVarBind& instance) {
    switch (instance.type) {
        case CVT::kInteger: return instance.integer;
        case CVT::kCounter32:
        case CVT::kGauge32: return instance.number;
        default: return std::nullopt;
    }
}

}  // namespace

void TableFormat::Add(const CVT::BVarBind& instance, const ServedObject& object, std::string& out) {
    if (object.Group() != m_group) {
        WriteSection(out);
        m_group = object.Group();
    }
    Collect(instance, object);
}

void TableFormat::End(std::string& out) { WriteSection(out); }

void TableFormat::Collect(const CVT::BVarBind& instance, const ServedObject& object) {
    if (m_columns.empty() || m_columns.back().subId != object.SubId()) {
        m_columns.push_back({std::string(object.Name()), object.SubId()});
    }
    const ValueText text(instance, object);
    Column& column = m_columns.back();
    column.numeric = column.numeric && text.IsNumber();
    column.words = column.words && instance.type != CVT::kOctetString;
    const std::string_view known =
        instance.type == CVT::kObjectIdentifier ? KnownObjects::ValueName(instance.identifier) : std::string_view();
    Row& row = m_rows[object.Index()];
    row.resize(m_columns.size(), {kAbsent, std::nullopt});
    row.back() = {known.empty() ? text.Bare() : std::string(known), NumberOf(instance)};
}

void TableFormat::WriteSection(std::string& out) {
    if (m_columns.empty()) {
        return;
    }
    if (m_any) {
        out += '\n';
    }
    m_any = true;
    if (m_group != nullptr) {
        out += m_group->Name().View();
        out += '\n';
    }
    if (m_group != nullptr && m_group->GetIMibInfo()->IsTable()) {
        WriteTable(out);
    } else {
        WriteScalars(out);
    }
    m_columns.clear();
    m_rows.clear();
}

void TableFormat::WriteTable(std::string& out) const {
    const TextTable::Column index = IndexColumn();
    std::vector<TextTable::Column> columns = Columns();
    ShowAmounts(columns);
    const std::size_t prefix = PrefixLength();
    TextTable table;
    table.Add(index);
    for (TextTable::Column& column : columns) {
        if (columns.size() == 1 || column.cells != index.cells) {
            column.name.erase(0, prefix);
            table.Add(std::move(column));
        }
    }
    table.Write(m_display, out);
}

TextTable::Column TableFormat::IndexColumn() const {
    TextTable::Column column{"index", TextTable::Kind::kNumber, {}};
    for (const auto& [index, row] : m_rows) {
        column.cells.emplace_back(index.ToString().View());
        if (index.NumArcs() != 1) {
            column.kind = TextTable::Kind::kWhole;
        }
    }
    return column;
}

std::vector<TextTable::Column> TableFormat::Columns() const {
    std::vector<TextTable::Column> columns;
    for (std::size_t place = 0; place < m_columns.size(); ++place) {
        TextTable::Column column{m_columns[place].name, KindOf(m_columns[place].numeric, m_columns[place].words), {}};
        for (const auto& [index, row] : m_rows) {
            column.cells.push_back(place < row.size() ? row[place].text : kAbsent);
        }
        if (column.kind == TextTable::Kind::kWord) {
            column.shortCells = WithoutPrefix(column.cells);
        }
        columns.push_back(std::move(column));
    }
    return columns;
}

/// Names of values are long by the name of their table, too: "hrStorageFixedDisk".
std::vector<std::string> TableFormat::WithoutPrefix(const std::vector<std::string>& cells) const {
    const std::string_view prefix = Prefix();
    std::vector<std::string> rest;
    rest.reserve(cells.size());
    for (const std::string& cell : cells) {
        rest.push_back(cell.substr(BeginsWithName(cell, prefix) ? prefix.size() : 0));
    }
    return rest;
}

/// What the table is called but for "Table": "hrStorage". Empty when it is not called a table.
std::string_view TableFormat::Prefix() const {
    constexpr std::string_view kTable = "Table";
    std::string_view name = m_group->Name().View();
    name.remove_prefix(name.rfind('.') + 1);  // npos + 1 is 0
    return name.ends_with(kTable) ? name.substr(0, name.size() - kTable.size()) : std::string_view();
}

/// How much of each column's name only repeats the table's: "hrStorage" of "hrStorageDescr".
std::size_t TableFormat::PrefixLength() const {
    const std::string_view prefix = Prefix();
    const bool all = std::all_of(m_columns.begin(), m_columns.end(),
                                 [&](const Column& column) { return BeginsWithName(column.name, prefix); });
    return all ? prefix.size() : 0;
}

/// By row; empty when there is no such column.
std::vector<std::optional<long long>> TableFormat::Numbers(std::string_view name) const {
    const auto column = std::find_if(m_columns.begin(), m_columns.end(),
                                     [&](const Column& candidate) { return candidate.name == name; });
    std::vector<std::optional<long long>> numbers;
    if (column != m_columns.end()) {
        const auto place = static_cast<std::size_t>(column - m_columns.begin());
        for (const auto& [index, row] : m_rows) {
            numbers.push_back(place < row.size() ? row[place].number : std::nullopt);
        }
    }
    return numbers;
}

void TableFormat::ShowAmounts(std::vector<TextTable::Column>& columns) const {
    const KnownObjects::Amounts* const amounts = KnownObjects::AmountsOf(m_group->Name().View());
    if (amounts == nullptr) {
        return;
    }
    const auto units = Numbers(amounts->units);
    const auto size = Numbers(amounts->size);
    const auto used = Numbers(amounts->used);
    if (units.empty() || size.empty() || used.empty()) {
        return;
    }
    const auto find = [&](const char* name) {
        return std::find_if(columns.begin(), columns.end(), [=](const auto& column) { return column.name == name; });
    };
    const auto showSizes = [&](const char* name, const std::vector<std::optional<long long>>& numbers) {
        for (std::size_t row = 0; row < numbers.size(); ++row) {
            if (numbers[row] && units[row]) {
                find(name)->cells[row] = AmountText::Size(*numbers[row], *units[row]);
            }
        }
    };
    showSizes(amounts->size, size);
    showSizes(amounts->used, used);
    TextTable::Column bars{columns.front().name.substr(0, PrefixLength()) + "Use", TextTable::Kind::kWhole, {}};
    const auto bar = [&](std::size_t row, int places) {
        return AmountText::UseBar(used[row].value_or(-1), size[row].value_or(-1), places, m_display.utf8);
    };
    for (std::size_t row = 0; row < size.size(); ++row) {
        bars.cells.push_back(bar(row, AmountText::kBarPlaces));
        bars.shortCells.push_back(bar(row, AmountText::kShortBarPlaces));
    }
    columns.insert(find(amounts->used) + 1, std::move(bars));
}

void TableFormat::WriteScalars(std::string& out) const {
    std::size_t nameWidth = 0;
    for (const Column& column : m_columns) {
        nameWidth = std::max(nameWidth, Utf8::Width(column.name));
    }
    const std::size_t taken = nameWidth + kGap;
    for (const auto& [index, row] : m_rows) {
        for (std::size_t place = 0; place < row.size(); ++place) {
            const std::string& name = m_columns[place].name;
            const std::string& value = row[place].text;
            out += name;
            if (!value.empty()) {
                out.append(taken - Utf8::Width(name), ' ');
            }
            out += m_display.width == 0
                       ? value
                       : TextTable::Fitted(value,
                                           std::max(kLeastValue, m_display.width - std::min(m_display.width, taken)),
                                           m_display.utf8);
            out += '\n';
        }
    }
}

}  // namespace cvtwalk
