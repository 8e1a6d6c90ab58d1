#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "agent/cvtwalk/data/Sections.h"

namespace cvtwalk {

/// Which rows and columns of tables to show, and in what order. A column is named by its heading or by its object's
/// name, ignoring case. Groups of scalars, and tables without such a column, stay unchanged.
///
/// A plain value.
struct Selection {
    std::string sort = {};  ///< a column, or "index"; empty: by index
    bool reverse = false;
    /// A column, and a text that its cells must contain, ignoring case. Rows must satisfy all filters.
    std::vector<std::pair<std::string, std::string>> filters = {};
    std::vector<std::string> columns = {};  ///< empty: all
    std::size_t limit = 0;                  ///< rows of each table; 0: all
    bool fold = false;                      ///< rows of tables of amounts that have a size of 0 become one note

    bool IsEmpty() const;

    /// Rows without a value in the column come last, in either order; amounts are compared by their octets. Returns
    /// false, with a one-line message in `error`, when no table has a requested column.
    bool Apply(Sections& sections, std::string& error) const;

private:
    bool KnowsItsColumns(const Sections& sections, std::string& error) const;
    void Fold(Section& section) const;
    void Filter(Section& section) const;
    void Sort(Section& section) const;
    void Limit(Section& section) const;
    void Choose(Section& section) const;
};

}  // namespace cvtwalk
