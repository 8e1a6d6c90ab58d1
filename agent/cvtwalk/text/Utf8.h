#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cvtwalk {

/// Reads octets of any kind as UTF-8, one character after the other.
///
/// Overlong forms, surrogates, numbers above U+10FFFF and cut sequences are no characters: each of their octets comes
/// out as kBad by itself, so that every octet string can be read to its end. Looks at the octets, which must outlive
/// it.
class Utf8 {
public:
    static constexpr char32_t kBad = 0xFFFFFFFF;

    explicit Utf8(std::string_view octets) : m_octets(octets) {}

    bool AtEnd() const { return m_at == m_octets.size(); }
    /// Not at the end.
    char32_t Next();
    /// The octets of what Next gave last.
    std::string_view Last() const { return m_octets.substr(m_begin, m_at - m_begin); }

    /// Whether all of it is UTF-8 that a terminal shows as text: no control characters, no line or paragraph
    /// separators, no marks that change the direction of writing.
    static bool IsPrintable(std::string_view octets);
    static bool IsPrintable(char32_t character);
    /// How many places of a terminal the text takes; roughly, since terminals differ on the newest characters.
    static std::size_t Width(std::string_view text);

private:
    std::string_view m_octets;
    std::size_t m_begin = 0;
    std::size_t m_at = 0;
};

}  // namespace cvtwalk
