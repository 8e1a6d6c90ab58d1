#include "agent/cvtwalk/text/TextTable.h"

#include <algorithm>
#include <set>

#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {
namespace {

constexpr std::string_view kGap = "  ";
// The least widths of columns. Texts are cut to a width that still tells most of them apart, then names of numbers are
// cut, then texts again.
constexpr std::size_t kReadable = 16;
constexpr std::size_t kLeastName = 5;
constexpr std::size_t kLeastText = 8;
constexpr std::size_t kLeastWord = 8;

std::size_t CellWidth(const TextTable::Column& column) {
    std::size_t width = 0;
    for (const std::string& cell : column.cells) {
        width = std::max(width, Utf8::Width(cell));
    }
    return width;
}

/// Shrinks the widest columns that are wider than their floor, one place at a time.
void Shrink(std::vector<std::size_t>& widths, const std::vector<std::size_t>& floors, std::size_t& excess) {
    while (excess > 0) {
        std::size_t* widest = nullptr;
        for (std::size_t place = 0; place < widths.size(); ++place) {
            if (widths[place] > floors[place] && (widest == nullptr || widths[place] > *widest)) {
                widest = &widths[place];
            }
        }
        if (widest == nullptr) {
            return;
        }
        --*widest;
        --excess;
    }
}

void AppendPadded(std::string& out, std::string_view text, std::size_t width, bool toTheRight) {
    const std::size_t used = Utf8::Width(text);
    const std::size_t blanks = width > used ? width - used : 0;
    out.append(toTheRight ? blanks : 0, ' ');
    out += text;
    out.append(toTheRight ? 0 : blanks, ' ');
}

/// Keeps the beginning and the last places of a name of single-place characters.
std::string CutInTheMidst(std::string_view name, std::size_t width, bool utf8) {
    const std::string_view ellipsis = utf8 ? "\u2026" : "..";
    const std::size_t taken = Utf8::Width(ellipsis);
    if (name.size() <= width || width <= taken + 1) {
        return std::string(name.substr(0, width));
    }
    const std::size_t end = (width - taken) / 2;
    return std::string(name.substr(0, width - taken - end)).append(ellipsis).append(name.substr(name.size() - end));
}

}  // namespace

std::string TextTable::Fitted(std::string_view text, std::size_t width, bool utf8) {
    if (Utf8::Width(text) <= width) {
        return std::string(text);
    }
    const std::string_view ellipsis = utf8 ? "\u2026" : "...";
    const std::size_t room = width - std::min(width, Utf8::Width(ellipsis));
    std::string fitted;
    for (Utf8 characters(text); !characters.AtEnd();) {
        characters.Next();
        if (Utf8::Width(fitted) + Utf8::Width(characters.Last()) > room) {
            break;
        }
        fitted += characters.Last();
    }
    return fitted.append(ellipsis);
}

std::string TextTable::FittedAtBothEnds(std::string_view text, std::size_t width, bool utf8) {
    if (Utf8::Width(text) <= width) {
        return std::string(text);
    }
    const std::string_view ellipsis = utf8 ? "\u2026" : "...";
    const std::size_t room = width - std::min(width, Utf8::Width(ellipsis));
    const std::size_t head = room / 3;
    std::string fitted;
    std::string_view rest = text;
    for (Utf8 characters(text); !characters.AtEnd();) {
        characters.Next();
        if (Utf8::Width(fitted) + Utf8::Width(characters.Last()) <= head && rest.data() == characters.Last().data()) {
            fitted += characters.Last();
            rest.remove_prefix(characters.Last().size());
        }
    }
    const std::size_t tail = room - Utf8::Width(fitted);
    fitted += ellipsis;
    for (Utf8 characters(rest); Utf8::Width(rest) > tail;) {
        characters.Next();
        rest.remove_prefix(characters.Last().size());
    }
    return fitted.append(rest);
}

/// Whether two different cells would become the same by being cut at their ends.
bool TextTable::LooksTheSameCut(const Column& column, std::size_t width, bool utf8) {
    const std::set<std::string_view> cells(column.cells.begin(), column.cells.end());
    std::set<std::string> cut;
    for (const std::string_view cell : cells) {
        cut.insert(Fitted(cell, width, utf8));
    }
    return cut.size() < cells.size();
}

std::size_t TextTable::WidthOf(const Column& column) { return std::max(CellWidth(column), Utf8::Width(column.name)); }

std::size_t TextTable::NaturalWidth() const {
    std::size_t width = 0;
    for (const Column& column : m_columns) {
        width += (width == 0 ? 0 : kGap.size()) + WidthOf(column);
    }
    return width;
}

std::vector<std::size_t> TextTable::Widths(std::size_t limit) const {
    std::vector<std::size_t> widths;
    std::vector<std::size_t> cellWidths;
    for (const Column& column : m_columns) {
        cellWidths.push_back(CellWidth(column));
        widths.push_back(WidthOf(column));
    }
    const std::size_t natural = NaturalWidth();
    std::size_t excess = limit == 0 || natural <= limit ? 0 : natural - limit;
    const auto shrink = [&](Kind kind, std::size_t least, bool key = false) {
        std::vector<std::size_t> floors;
        for (std::size_t place = 0; place < m_columns.size(); ++place) {
            const bool may = m_columns[place].kind == kind && m_columns[place].isKey == key;
            floors.push_back(!may ? widths[place] : std::max(least, kind == Kind::kNumber ? cellWidths[place] : 0));
        }
        Shrink(widths, floors, excess);
    };
    shrink(Kind::kText, kReadable);
    shrink(Kind::kNumber, kLeastName);
    shrink(Kind::kText, kLeastText);
    shrink(Kind::kWord, kLeastWord);
    shrink(Kind::kText, kLeastText, true);
    return widths;
}

/// The names, cut to fit. Names that would become the same are cut in the middle instead, and widened until they
/// differ.
std::vector<std::string> TextTable::Headings(std::vector<std::size_t>& widths, bool utf8) const {
    std::vector<std::string> headings;
    for (std::size_t place = 0; place < m_columns.size(); ++place) {
        headings.push_back(Fitted(m_columns[place].name, widths[place], utf8));
    }
    const auto clashes = [&](std::size_t place) {
        for (std::size_t other = 0; other < m_columns.size(); ++other) {
            if (other != place && headings[other] == headings[place] &&
                m_columns[other].name != m_columns[place].name) {
                return true;
            }
        }
        return false;
    };
    std::vector<std::size_t> clashing;
    for (std::size_t place = 0; place < m_columns.size(); ++place) {
        if (clashes(place)) {
            clashing.push_back(place);
        }
    }
    for (const std::size_t place : clashing) {
        headings[place] = CutInTheMidst(m_columns[place].name, widths[place], utf8);
    }
    for (const std::size_t place : clashing) {
        while (clashes(place)) {
            headings[place] = CutInTheMidst(m_columns[place].name, ++widths[place], utf8);
        }
    }
    return headings;
}

void TextTable::Write(const Display& display, std::string& out) {
    if (display.width > 0 && NaturalWidth() > display.width) {
        for (Column& column : m_columns) {
            if (!column.shortCells.empty()) {
                column.cells = std::move(column.shortCells);
                column.shortCells.clear();
            }
        }
    }
    std::vector<std::size_t> widths = Widths(display.width);
    const std::vector<std::string> headings = Headings(widths, display.utf8);
    for (std::size_t place = 0; place < m_columns.size(); ++place) {
        Column& column = m_columns[place];
        if (column.isKey && LooksTheSameCut(column, widths[place], display.utf8)) {
            for (std::string& cell : column.cells) {
                cell = FittedAtBothEnds(cell, widths[place], display.utf8);
            }
        }
    }
    const auto writeLine = [&](const auto& textOf) {
        for (std::size_t place = 0; place < m_columns.size(); ++place) {
            out += place == 0 ? std::string_view() : kGap;
            AppendPadded(out, Fitted(textOf(place), widths[place], display.utf8), widths[place],
                         m_columns[place].kind == Kind::kNumber);
        }
        out.erase(out.find_last_not_of(' ') + 1);
        out += '\n';
    };
    writeLine([&](std::size_t place) { return std::string_view(headings[place]); });
    const std::size_t rows = m_columns.empty() ? 0 : m_columns.front().cells.size();
    for (std::size_t row = 0; row < rows; ++row) {
        writeLine([&](std::size_t place) { return std::string_view(m_columns[place].cells[row]); });
    }
}

}  // namespace cvtwalk
