#include "agent/cvtwalk/formats/TableFormat.h"

#include <algorithm>
#include <set>

#include "agent/cvtwalk/data/CellText.h"
#include "agent/cvtwalk/data/Sections.h"
#include "agent/cvtwalk/text/AmountText.h"
#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastValue = 16;  // places

TextTable::Column IndexColumn(const Section& section) {
    TextTable::Column column{"index", TextTable::Kind::kNumber, {}};
    for (const Section::Row& row : section.Rows()) {
        column.cells.emplace_back(row.index.ToString().View());
        if (row.index.NumArcs() != 1) {
            column.kind = TextTable::Kind::kWhole;
        }
    }
    return column;
}

TextTable::Kind KindOf(const Section& section, std::size_t place) {
    bool numeric = true;
    bool words = true;
    for (const Section::Row& row : section.Rows()) {
        if (const auto& cell = row.cells[place]) {
            numeric = numeric && CellText::IsNumber(section, row, place);
            words = words && cell->type != CVT::kOctetString;
        }
    }
    if (numeric) {
        return TextTable::Kind::kNumber;
    }
    return words ? TextTable::Kind::kWord : TextTable::Kind::kText;
}

/// Names of values also carry the name of their table: "hrStorageFixedDisk".
std::string WithoutPrefix(const std::string& cell, std::string_view prefix) {
    const bool begins = !prefix.empty() && cell.size() > prefix.size() && cell.starts_with(prefix) &&
                        cell[prefix.size()] >= 'A' && cell[prefix.size()] <= 'Z';
    return cell.substr(begins ? prefix.size() : 0);
}

/// The key is the first text that differs from row to row.
void MarkTheKey(std::vector<TextTable::Column>& columns) {
    for (TextTable::Column& column : columns) {
        const std::set<std::string> values(column.cells.begin(), column.cells.end());
        if (column.kind == TextTable::Kind::kText && (values.size() > 1 || column.cells.size() == 1)) {
            column.isKey = true;
            return;
        }
    }
}

}  // namespace

void TableFormat::Write(const Section& section, std::string& out) {
    if (m_any) {
        out += '\n';
    }
    m_any = true;
    if (section.Group() != nullptr) {
        out += section.Name();
        for (CVT::BMibImpl* const joined : section.joined) {
            const std::string_view name = joined->Name().View();
            out += " + ";
            out += name.substr(name.rfind('.') + 1);
        }
        out += '\n';
    }
    if (section.IsTable()) {
        WriteTable(section, out);
    } else {
        WriteScalars(section, out);
    }
    for (const std::string& note : section.notes) {
        out += note + '\n';
    }
}

void TableFormat::WriteTable(const Section& section, std::string& out) const {
    const TextTable::Column index = IndexColumn(section);
    std::vector<TextTable::Column> columns;
    const auto shown = std::count_if(section.Columns().begin(), section.Columns().end(),
                                     [](const Section::Column& column) { return !column.hidden; });
    for (std::size_t place = 0; place < section.Columns().size(); ++place) {
        if (section.Columns()[place].hidden) {
            continue;
        }
        TextTable::Column column = ShownColumn(section, place);
        if (shown == 1 || column.cells != index.cells) {
            columns.push_back(std::move(column));
        }
    }
    const std::string same = section.chosen ? std::string() : TakeOutTheSame(index, columns);
    MarkTheKey(columns);
    TextTable table;
    table.Add(index);
    for (TextTable::Column& column : columns) {
        table.Add(std::move(column));
    }
    table.Write(m_display, out);
    out += same;
}

/// Returns the line that replaces the columns it removes; empty when all columns fit.
std::string TableFormat::TakeOutTheSame(const TextTable::Column& index, std::vector<TextTable::Column>& columns) const {
    std::size_t width = TextTable::WidthOf(index);
    for (const TextTable::Column& column : columns) {
        width += kGap + TextTable::WidthOf(column);
    }
    if (m_display.width == 0 || width <= m_display.width || index.cells.size() < 2) {
        return {};
    }
    std::string line;
    std::erase_if(columns, [&](const TextTable::Column& column) {
        const bool same = std::all_of(column.cells.begin(), column.cells.end(),
                                      [&](const std::string& cell) { return cell == column.cells.front(); });
        if (same) {
            line += (line.empty() ? "" : ", ") + column.name + " " +
                    (column.cells.front().empty() ? "empty" : column.cells.front());
        }
        return same;
    });
    return line.empty() ? line : TextTable::Fitted("in every row: " + line, m_display.width, m_display.utf8) + '\n';
}

TextTable::Column TableFormat::ShownColumn(const Section& section, std::size_t place) const {
    const Section::Column& origin = section.Columns()[place];
    if (origin.derived) {
        return Bars(section, place);
    }
    TextTable::Column column{section.ShortName(origin), KindOf(section, place), {}};
    const std::string_view prefix = Section::PrefixOf(origin.group);
    for (const Section::Row& row : section.Rows()) {
        column.cells.push_back(CellText::Readable(section, row, place));
        if (column.kind == TextTable::Kind::kWord) {
            column.shortCells.push_back(WithoutPrefix(column.cells.back(), prefix));
        }
    }
    return column;
}

TextTable::Column TableFormat::Bars(const Section& section, std::size_t place) const {
    TextTable::Column bars{section.ShortName(section.Columns()[place]), TextTable::Kind::kWhole, {}};
    const auto add = [&](const Section::Row& row, int places, std::vector<std::string>& cells) {
        const auto& share = row.cells[place];
        cells.push_back(share ? AmountText::UseBar(share->number, Sections::kWholeUse, places, m_display.utf8)
                              : std::string());
    };
    for (const Section::Row& row : section.Rows()) {
        add(row, AmountText::kBarPlaces, bars.cells);
        add(row, AmountText::kShortBarPlaces, bars.shortCells);
    }
    return bars;
}

void TableFormat::WriteScalars(const Section& section, std::string& out) const {
    std::size_t nameWidth = 0;
    for (const Section::Column& column : section.Columns()) {
        nameWidth = std::max(nameWidth, Utf8::Width(column.name));
    }
    const std::size_t taken = nameWidth + kGap;
    for (const Section::Row& row : section.Rows()) {
        for (std::size_t place = 0; place < row.cells.size(); ++place) {
            const std::string& name = section.Columns()[place].name;
            const std::string value = CellText::Readable(section, row, place);
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
