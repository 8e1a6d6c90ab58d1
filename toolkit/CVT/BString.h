#pragma once

#include <string>
#include <string_view>

#include "CVT/Api.h"

namespace CVT {

/// A counted character string. It may hold NUL characters; c_str() is always terminated. A null pointer counts as the
/// empty text. A plain value: distinct objects may be used from distinct threads.
class CVT_API BString {
public:
    BString() = default;
    BString(const char* text) { Assign(text); }  // implicit: a literal may be passed as a string
    BString(const char* text, unsigned int length) { Assign(text, length); }
    explicit BString(std::string text) : m_text(std::move(text)) {}

    /// Empties the string.
    void Init() { m_text.clear(); }

    void Assign(const char* text) { m_text = ViewOf(text); }
    void Assign(const char* text, unsigned int length);
    void Append(const char* text) { m_text += ViewOf(text); }
    void Append(const char* text, unsigned int length);
    void Append(const BString& other) { m_text += other.m_text; }

    /// The number of characters, embedded NULs included.
    unsigned int Strlen() const { return static_cast<unsigned int>(m_text.size()); }

    /// Octet-wise, as unsigned characters: negative, 0 or positive.
    int compare(const BString& other) const { return m_text.compare(other.m_text); }

    const char* c_str() const { return m_text.c_str(); }
    std::string_view View() const { return m_text; }

    friend bool operator==(const BString&, const BString&) = default;

private:
    static std::string_view ViewOf(const char* text) { return text == nullptr ? std::string_view() : text; }

    std::string m_text;
};

}  // namespace CVT
