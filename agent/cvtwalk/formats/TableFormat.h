#pragma once

#include <string>
#include <vector>

#include "agent/cvtwalk/formats/OutputFormat.h"
#include "agent/cvtwalk/text/TextTable.h"

namespace cvtwalk {

/// For people: each section under its group's name. A table has a header with its columns and a row for each index,
/// numbers to the right; a group of scalars has a line for each, the name and the value.
///
/// A column's name goes without the table's ("Descr" in hrStorageTable), and a column that repeats the index is left
/// out. Object identifiers that are known as values read by name; amounts read as sizes, with a bar. Where lines would
/// be too long, columns that hold the same in every row become a line below, unless somebody chose the columns.
class TableFormat final : public OutputFormat {
public:
    explicit TableFormat(const Display& display) : m_display(display) {}

    void Write(const Section& section, std::string& out) override;

private:
    void WriteTable(const Section& section, std::string& out) const;
    void WriteScalars(const Section& section, std::string& out) const;
    TextTable::Column ShownColumn(const Section& section, std::size_t place) const;
    std::string TakeOutTheSame(const TextTable::Column& index, std::vector<TextTable::Column>& columns) const;
    TextTable::Column Bars(const Section& section, std::size_t place) const;

    const Display m_display;
    bool m_any = false;  // a section was written
};

}  // namespace cvtwalk
