#pragma once

#include <string>
#include <string_view>

#include "CVT/Api.h"
#include "CVT/BString.h"

namespace CVT {

/// An octet string with its length, the value of OCTET STRING columns. It may hold any octets, NUL included, and have
/// any length. A plain value: distinct objects may be used from distinct threads.
class CVT_API BOctetString {
public:
    BOctetString() = default;

    /// `length` octets from `text`. A length of 0 means the text's own length up to its NUL, so BOctetString("0", 0) is
    /// the one octet 0x30. A null text is empty.
    BOctetString(const char* text, unsigned int length);

    explicit BOctetString(std::string_view octets) : m_octets(octets) {}

    /// Assigns the octets of [begin, end). A null or reversed pair is empty.
    void Assign(const char* begin, const char* end);
    void Assign(std::string_view octets) { m_octets = octets; }

    void Append(std::string_view octets) { m_octets += octets; }
    void Append(const BOctetString& other) { m_octets += other.m_octets; }

    /// Parses two hexadecimal digits for each octet; blanks and colons may stand between octets. Returns false and
    /// leaves the value empty when the text is malformed: null, another character, or half an octet. The empty text is
    /// the empty value and returns true.
    bool AssignFromHexString(const char* hex);

    void Clear() { m_octets.clear(); }

    unsigned int Length() const { return static_cast<unsigned int>(m_octets.size()); }
    bool IsEmpty() const { return m_octets.empty(); }

    /// The octet at `position` as 0..255; 0 beyond the end.
    unsigned int operator[](unsigned int position) const {
        return position < m_octets.size() ? static_cast<unsigned char>(m_octets[position]) : 0U;
    }

    const unsigned char* Data() const { return reinterpret_cast<const unsigned char*>(m_octets.data()); }
    std::string_view View() const { return m_octets; }

    bool operator==(const BString& text) const { return m_octets == text.View(); }
    friend bool operator==(const BOctetString&, const BOctetString&) = default;

private:
    std::string m_octets;
};

}  // namespace CVT
