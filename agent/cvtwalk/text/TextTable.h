#pragma once

#include <string>
#include <vector>

#include "agent/cvtwalk/text/Display.h"

namespace cvtwalk {

/// Columns of text side by side under a header. Knows nothing of what they mean.
class TextTable {
public:
    enum class Kind {
        kText,    ///< to the left; may be cut
        kWord,    ///< to the left; cut when nothing else helps
        kNumber,  ///< to the right; only its name may be cut
        kWhole,   ///< to the left; never cut
    };
    struct Column {
        std::string name;
        Kind kind = Kind::kText;
        std::vector<std::string> cells;  ///< as many in each column
        /// What to show in place of `cells` where lines would be too long; as many, or none when they have no short
        /// form.
        std::vector<std::string> shortCells = {};
        bool isKey = false;  ///< tells the rows apart: keeps its width as long as another column can give way, and is
                             ///< cut where rows stay different
    };

    void Add(Column column) { m_columns.push_back(std::move(column)); }

    /// Appends the header and the rows, each as a line without blanks at its end. Where a line is too long for the
    /// display, columns take their short form, and the widest that may be cut are, as far as they stay readable; lines
    /// may be longer still then. Names that are cut stay different from each other.
    void Write(const Display& display, std::string& out);

    /// The places that the column takes where there is room.
    static std::size_t WidthOf(const Column& column);
    /// The text, or what goes before an ellipsis in so many places.
    static std::string Fitted(std::string_view text, std::size_t width, bool utf8);
    /// The text, or its beginning and more of its end round an ellipsis: paths differ at their ends.
    static std::string FittedAtBothEnds(std::string_view text, std::size_t width, bool utf8);

private:
    std::size_t NaturalWidth() const;
    std::vector<std::string> Headings(std::vector<std::size_t>& widths, bool utf8) const;
    std::vector<std::size_t> Widths(std::size_t limit) const;
    static bool LooksTheSameCut(const Column& column, std::size_t width, bool utf8);

    std::vector<Column> m_columns;
};

}  // namespace cvtwalk
