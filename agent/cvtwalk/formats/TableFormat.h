#pragma once

#include <string>
#include <vector>

#include "agent/cvtwalk/formats/OutputFormat.h"
#include "agent/cvtwalk/text/TextTable.h"

namespace cvtwalk {

/// Tables for reading: each section under its group's name. A table has a header with its columns and a row for each
/// index, with numbers aligned to the right. A group of scalars has a line with name and value for each.
///
/// Column names omit the table's name ("Descr" in hrStorageTable), and a column that repeats the index is left out.
/// Known object identifiers read by name; amounts read as sizes, with a bar. Where lines would be too long, columns
/// with the same value in every row become a line below, unless the user chose the columns.
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
