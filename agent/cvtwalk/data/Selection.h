#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "agent/cvtwalk/data/Sections.h"

namespace cvtwalk {

/// Which rows and columns of tables somebody wants to see, and in what order. Columns are named as a table shows them
/// or as the object is called, in any case. Groups of scalars, and tables without such a column, stay as they are.
///
/// A plain value.
struct Selection {
    std::string sort = {};  ///< a column, or "index"; empty: by index
    bool reverse = false;
    /// A column, and a text that its cells contain, in any case. Rows satisfy all of them.
    std::vector<std::pair<std::string, std::string>> filters = {};
    std::vector<std::string> columns = {};  ///< empty: all
    std::size_t limit = 0;                  ///< rows of each table; 0: all
    bool fold = false;                      ///< rows of tables of amounts that have a size of 0 become one note

    bool IsEmpty() const;

    /// Rows without a value in the column come last, however the others are sorted; amounts are compared by their
    /// octets. False, with one line for people in `error`, when no table has a column of a name that is asked for.
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
