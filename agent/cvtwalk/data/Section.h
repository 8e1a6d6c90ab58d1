#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CVT/BVarBind.h"
#include "agent/cvtwalk/data/ServedObject.h"

namespace cvtwalk {

/// What a walk found in one group, as rows and columns: a table's rows by index, or the scalars of a group in one row.
///
/// Rows are in the order of their indexes until they are sorted. Refers to the groups of its columns, which must
/// outlive it. A plain value, for one thread.
class Section {
public:
    /// A value without its instance's name.
    struct Cell {
        CVT::ESnmpType type = CVT::kNull;
        long long number = 0;  ///< of an INTEGER, Counter32, Gauge32 or TimeTicks
        std::string octets;    ///< of an OCTET STRING; an OBJECT IDENTIFIER in dotted decimals
        bool measured = true;  ///< false: a placeholder, because the module has not measured yet

        /// Nothing for octets, identifiers, and values that are not measured.
        std::optional<long long> Number() const;
    };
    struct Column {
        CVT::BMibImpl* group = nullptr;                ///< null: instances that no group's column holds
        const CVT::BRqHndlrEntry* declared = nullptr;  ///< null: as above, or derived
        std::string name;
        bool derived = false;  ///< computed here for display; no module serves it
        bool hidden = false;   ///< used in computations, not shown
    };
    struct Row {
        CVT::BObjectIdentifier index;
        std::vector<std::optional<Cell>> cells;  ///< one for each column
    };

    explicit Section(CVT::BMibImpl* group) : m_group(group) {}

    /// Adds the instance in its place. Its group must be the section's.
    void Add(const CVT::BVarBind& instance, const ServedObject& object);

    /// Null for instances that no group's column holds.
    CVT::BMibImpl* Group() const { return m_group; }
    bool IsTable() const { return m_group != nullptr && m_group->GetIMibInfo()->IsTable(); }
    /// The group's registered name; empty without a group.
    std::string_view Name() const;
    /// The prefix of the columns' names, such as "hrStorage" for hrStorageTable; empty if the group is not a table.
    static std::string_view PrefixOf(const CVT::BMibImpl* group);
    /// The column's name without the table's prefix, where all columns of that table have the prefix.
    std::string ShortName(const Column& column) const;

    std::vector<Column>& Columns() { return m_columns; }
    const std::vector<Column>& Columns() const { return m_columns; }
    std::vector<Row>& Rows() { return m_rows; }
    const std::vector<Row>& Rows() const { return m_rows; }
    /// By the served object's name; nothing when no column has it.
    std::optional<std::size_t> Find(std::string_view name) const;
    /// By its full or short name, ignoring case.
    std::optional<std::size_t> FindAnyCase(std::string_view name) const;

    /// The instance as it was served. The cell must exist, and its column must not be derived.
    CVT::BVarBind InstanceAt(const Row& row, std::size_t column) const;
    ServedObject ObjectAt(const Row& row, std::size_t column) const;
    /// A cell as display text: "-" where there is none, "not measured yet" for a placeholder, known identifiers by
    /// name. Holds no control characters. Empty for a derived column.
    std::string TextAt(const Row& row, std::size_t column) const;

    static constexpr const char* kNotMeasured = "not measured yet";

    std::vector<CVT::BMibImpl*> joined;  ///< the groups whose columns were joined to these
    bool chosen = false;                 ///< the user said which columns to show
    std::vector<std::string> notes;      ///< remarks on what is not shown, a line each

private:
    std::size_t ColumnOf(const ServedObject& object);
    Row& RowOf(const CVT::BObjectIdentifier& index);

    CVT::BMibImpl* m_group;
    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
    std::size_t m_next = 0;  // where the walk is expected to continue
};

}  // namespace cvtwalk
