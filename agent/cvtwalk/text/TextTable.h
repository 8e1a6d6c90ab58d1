#pragma once

#include <string>
#include <vector>

#include "agent/cvtwalk/text/Display.h"

namespace cvtwalk {

/// Columns of text side by side under a header. Knows nothing about their meaning.
class TextTable {
public:
    enum class Kind {
        kText,    ///< left-aligned; may be cut
        kWord,    ///< left-aligned; cut when nothing else helps
        kNumber,  ///< right-aligned; only its name may be cut
        kWhole,   ///< left-aligned; never cut
    };
    struct Column {
        std::string name;
        Kind kind = Kind::kText;
        std::vector<std::string> cells;  ///< the same number in each column
        /// Shown instead of `cells` where lines would be too long: the same number, or none when there is no short
        /// form.
        std::vector<std::string> shortCells = {};
        bool isKey = false;  ///< tells rows apart: keeps its width while another column can shrink, and is
                             ///< cut only where rows stay distinct
    };

    void Add(Column column) { m_columns.push_back(std::move(column)); }

    /// Appends the header and the rows, each as a line without trailing blanks. Where a line is too long for the
    /// display, columns take their short form, and then the widest columns that may be cut are cut, as far as they stay
    /// readable; lines may still be too long after that. Names that are cut stay distinct.
    void Write(const Display& display, std::string& out);

    /// The width that the column takes where there is room.
    static std::size_t WidthOf(const Column& column);
    /// The text, cut with an ellipsis at the end if it is wider than that.
    static std::string Fitted(std::string_view text, std::size_t width, bool utf8);
    /// The text, cut with an ellipsis that keeps more of the end than of the beginning, because paths differ at their
    /// ends.
    static std::string FittedAtBothEnds(std::string_view text, std::size_t width, bool utf8);

private:
    std::size_t NaturalWidth() const;
    std::vector<std::string> Headings(std::vector<std::size_t>& widths, bool utf8) const;
    std::vector<std::size_t> Widths(std::size_t limit) const;
    static bool LooksTheSameCut(const Column& column, std::size_t width, bool utf8);

    std::vector<Column> m_columns;
};

}  // namespace cvtwalk
