#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "agent/cvtwalk/formats/OutputFormat.h"
#include "agent/cvtwalk/text/TextTable.h"

namespace cvtwalk {

/// For people: a section for each group, under its name. A table has a header with its columns and a row for each index,
/// numbers to the right; a group of scalars has a line for each, the name and the value.
///
/// A column's name goes without the table's ("Descr" in hrStorageTable), and a column that repeats the index is left out.
/// Object identifiers that are known as values read by name; amounts read as sizes, with a bar.
///
/// A walk goes column by column, so a section is written when the walk leaves its group.
class TableFormat final : public OutputFormat {
public:
    explicit TableFormat(const Display& display) : m_display(display) {}

    void Add(const CVT::BVarBind& instance, const ServedObject& object, std::string& out) override;
    void End(std::string& out) override;

private:
    struct Cell {
        std::string text;
        std::optional<long long> number;
    };
    /// What is shown under one another.
    struct Column {
        std::string name;
        unsigned int subId = 0;
        bool numeric = true;  // until a cell is not
        bool words = true;    // until a cell is text of any kind
    };
    using Row = std::vector<Cell>;  // by place in m_columns; shorter where later columns have none

    void Collect(const CVT::BVarBind& instance, const ServedObject& object);
    void WriteSection(std::string& out);
    void WriteTable(std::string& out) const;
    void WriteScalars(std::string& out) const;
    TextTable::Column IndexColumn() const;
    std::vector<TextTable::Column> Columns() const;
    std::vector<std::string> WithoutPrefix(const std::vector<std::string>& cells) const;
    void ShowAmounts(std::vector<TextTable::Column>& columns) const;
    std::vector<std::optional<long long>> Numbers(std::string_view name) const;
    std::string_view Prefix() const;
    std::size_t PrefixLength() const;

    const Display m_display;
    bool m_any = false;  // a section was written
    CVT::BMibImpl* m_group = nullptr;
    std::vector<Column> m_columns;
    std::map<CVT::BObjectIdentifier, Row> m_rows;
};

}  // namespace cvtwalk
