#pragma once

#include <map>
#include <string>
#include <vector>

#include "agent/cvtwalk/OutputFormat.h"

namespace agent {

/// For people: a section for each group, under its name. A table has a header with its columns and a row for each index,
/// numbers to the right; a group of scalars has a line for each, the name and the value.
///
/// A walk goes column by column, so a section is written when the walk leaves its group.
class TableFormat final : public OutputFormat {
public:
    void Add(const CVT::BVarBind& instance, const ServedObject& object, std::string& out) override;
    void End(std::string& out) override;

private:
    /// What is shown under one another.
    struct Column {
        std::string name;
        unsigned int subId = 0;
        bool numeric = true;  // until a cell is not
        std::size_t width = 0;
    };
    using Row = std::vector<std::string>;  // cells by place in m_columns; shorter where later columns have none

    void Collect(const CVT::BVarBind& instance, const ServedObject& object);
    void WriteSection(std::string& out);
    void WriteTable(std::string& out) const;
    void WriteScalars(std::string& out) const;

    bool m_any = false;  // a section was written
    CVT::BMibImpl* m_group = nullptr;
    std::vector<Column> m_columns;
    std::map<CVT::BObjectIdentifier, Row> m_rows;
};

}  // namespace agent
