#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace cvtwalk {

/// A screen in memory: places in rows, each with a character and a style. Accepts any text; what a terminal might not
/// show as a character is replaced. A plain value.
class CellGrid {
public:
    enum class Style { kPlain, kStrong, kBar, kDim, kGood, kWarning, kBad };
    struct Cell {
        std::string text = " ";  ///< a character with its combining marks; empty after a character of two places
        Style style = Style::kPlain;
    };

    /// Without `utf8` everything but ASCII becomes a question mark.
    CellGrid(std::size_t width, std::size_t height, bool utf8)
        : m_width(width), m_height(height), m_utf8(utf8), m_cells(width * height) {}

    std::size_t Width() const { return m_width; }
    std::size_t Height() const { return m_height; }
    bool IsUtf8() const { return m_utf8; }

    /// Writes at most `places` places from there, and cuts longer text with an ellipsis. Writes nothing outside the
    /// screen. Returns the number of places written.
    std::size_t Put(std::size_t row, std::size_t column, std::string_view text, Style style = Style::kPlain,
                    std::size_t places = static_cast<std::size_t>(-1));
    /// The same, right-aligned: the text ends before `end`.
    void PutRight(std::size_t row, std::size_t end, std::string_view text, Style style = Style::kPlain);
    /// Sets the style of a whole row.
    void Paint(std::size_t row, Style style);

    const Cell& At(std::size_t row, std::size_t column) const { return m_cells[row * m_width + column]; }
    /// The rows as lines, without trailing blanks.
    std::string Text() const;

private:
    struct Character {
        std::string text;
        std::size_t places = 1;
    };

    std::vector<Character> Characters(std::string_view text) const;

    std::size_t m_width;
    std::size_t m_height;
    bool m_utf8;
    std::vector<Cell> m_cells;
};

}  // namespace cvtwalk
