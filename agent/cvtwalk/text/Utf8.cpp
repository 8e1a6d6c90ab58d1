#include "agent/cvtwalk/text/Utf8.h"

#include <algorithm>
#include <iterator>

namespace cvtwalk {
namespace {

struct Span {
    char32_t first;
    char32_t last;
};

// The C0 and C1 controls, the separators, and the marks for direction and joining that change how a line looks.
constexpr Span kUnprintable[] = {{0x00, 0x1F},     {0x7F, 0x9F},      {0x61C, 0x61C},   {0x200B, 0x200F},
                                 {0x2028, 0x202E}, {0x2060, 0x206F},  {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB},
                                 {0xFFFE, 0xFFFF}, {0xE0000, 0xE007F}};

// Combining marks, and variation selectors.
constexpr Span kNoPlace[] = {{0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x610, 0x61A},   {0x64B, 0x65F},
                             {0x93C, 0x93C},   {0x94D, 0x94D},   {0xE31, 0xE31},   {0xE34, 0xE3A},   {0xE47, 0xE4E},
                             {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

// Full-width East Asian characters, and pictographs.
constexpr Span kTwoPlaces[] = {{0x1100, 0x115F},  {0x2E80, 0x303E},   {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},
                               {0xAC00, 0xD7A3},  {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                               {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF},
                               {0x20000, 0x3FFFD}};

template <std::size_t N>
bool IsIn(const Span (&spans)[N], char32_t character) {
    return std::any_of(std::begin(spans), std::end(spans),
                       [=](const Span& span) { return span.first <= character && character <= span.last; });
}

/// The number of octets that follow a lead octet, and the least number that a sequence of this length may encode.
struct Form {
    std::size_t followers;
    char32_t least;
    unsigned int bits;  // the lead octet's bits of the number
};

constexpr Form FormOf(unsigned int lead) {
    if (lead >= 0xC0 && lead < 0xE0) {
        return {1, 0x80, lead & 0x1FU};
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return {2, 0x800, lead & 0x0FU};
    }
    if (lead >= 0xF0 && lead < 0xF8) {
        return {3, 0x10000, lead & 0x07U};
    }
    return {0, 0, 0};
}

}  // namespace

char32_t Utf8::Next() {
    m_begin = m_at;
    const auto octet = [&](std::size_t at) {
        return static_cast<unsigned int>(static_cast<unsigned char>(m_octets[at]));
    };
    const unsigned int lead = octet(m_at++);
    if (lead < 0x80) {
        return lead;
    }
    const Form form = FormOf(lead);
    if (form.followers == 0 || m_octets.size() - m_at < form.followers) {
        return kBad;
    }
    char32_t character = form.bits;
    for (std::size_t i = 0; i < form.followers; ++i) {
        const unsigned int next = octet(m_at + i);
        if ((next & 0xC0U) != 0x80) {
            return kBad;
        }
        character = character << 6U | (next & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < form.least || character > 0x10FFFF || surrogate) {
        return kBad;
    }
    m_at += form.followers;
    return character;
}

bool Utf8::IsPrintable(char32_t character) { return character != kBad && !IsIn(kUnprintable, character); }

bool Utf8::IsPrintable(std::string_view octets) {
    for (Utf8 text(octets); !text.AtEnd();) {
        if (!IsPrintable(text.Next())) {
            return false;
        }
    }
    return true;
}

std::size_t Utf8::Width(std::string_view text) {
    std::size_t width = 0;
    for (Utf8 characters(text); !characters.AtEnd();) {
        const char32_t character = characters.Next();
        if (character < 0x300) {
            ++width;
        } else if (!IsIn(kNoPlace, character)) {
            width += IsIn(kTwoPlaces, character) ? 2U : 1U;
        }
    }
    return width;
}

}  // namespace cvtwalk
