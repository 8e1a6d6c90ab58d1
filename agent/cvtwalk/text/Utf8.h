#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cvtwalk {

/// Reads octets of any kind as UTF-8, one character at a time.
///
/// Overlong forms, surrogates, numbers above U+10FFFF and truncated sequences are not characters: each of their octets
/// is returned as kBad, so that every octet string can be read to its end. Refers to the octets, which must outlive it.
class Utf8 {
public:
    static constexpr char32_t kBad = 0xFFFFFFFF;

    explicit Utf8(std::string_view octets) : m_octets(octets) {}

    bool AtEnd() const { return m_at == m_octets.size(); }
    /// Must not be called at the end.
    char32_t Next();
    /// The octets of the character that Next returned last.
    std::string_view Last() const { return m_octets.substr(m_begin, m_at - m_begin); }

    /// Whether all of it is UTF-8 that a terminal shows as text: no control characters, no line or paragraph
    /// separators, no marks that change the direction of writing.
    static bool IsPrintable(std::string_view octets);
    static bool IsPrintable(char32_t character);
    /// The number of terminal columns that the text takes; approximate, since terminals differ on the newest
    /// characters.
    static std::size_t Width(std::string_view text);

private:
    std::string_view m_octets;
    std::size_t m_begin = 0;
    std::size_t m_at = 0;
};

}  // namespace cvtwalk
