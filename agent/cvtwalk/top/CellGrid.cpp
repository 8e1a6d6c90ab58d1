#include "agent/cvtwalk/top/CellGrid.h"

#include <algorithm>

#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {

/// Combining marks belong to the character before them.
std::vector<CellGrid::Character> CellGrid::Characters(std::string_view text) const {
    std::vector<Character> characters;
    for (Utf8 reader(text); !reader.AtEnd();) {
        const char32_t character = reader.Next();
        const bool shown = Utf8::IsPrintable(character) && (m_utf8 || character < 0x80);
        const std::size_t places = shown ? Utf8::Width(reader.Last()) : 1;
        if (!shown) {
            characters.push_back({"?", 1});
        } else if (places > 0) {
            characters.push_back({std::string(reader.Last()), places});
        } else if (!characters.empty()) {
            characters.back().text += reader.Last();
        }
    }
    return characters;
}

std::size_t CellGrid::Put(std::size_t row, std::size_t column, std::string_view text, Style style, std::size_t places) {
    if (row >= m_height || column >= m_width) {
        return 0;
    }
    const std::size_t room = std::min(places, m_width - column);
    std::vector<Character> characters = Characters(text);
    std::size_t taken = 0;
    for (const Character& character : characters) {
        taken += character.places;
    }
    if (taken > room) {
        const std::string ellipsis = m_utf8 ? "\u2026" : ".";
        while (!characters.empty() && taken + 1 > room) {
            taken -= characters.back().places;
            characters.pop_back();
        }
        if (room > 0) {
            characters.push_back({ellipsis, 1});
        }
    }
    std::size_t at = column;
    for (const Character& character : characters) {
        m_cells[row * m_width + at] = {character.text, style};
        if (character.places == 2) {
            m_cells[row * m_width + at + 1] = {"", style};
        }
        at += character.places;
    }
    return at - column;
}

void CellGrid::PutRight(std::size_t row, std::size_t end, std::string_view text, Style style) {
    const std::size_t places = Utf8::Width(text);
    Put(row, end - std::min(end, places), text, style, std::min(end, places));
}

void CellGrid::Paint(std::size_t row, Style style) {
    for (std::size_t column = 0; row < m_height && column < m_width; ++column) {
        m_cells[row * m_width + column].style = style;
    }
}

std::string CellGrid::Text() const {
    std::string text;
    for (std::size_t row = 0; row < m_height; ++row) {
        std::string line;
        for (std::size_t column = 0; column < m_width; ++column) {
            line += At(row, column).text;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

}  // namespace cvtwalk
