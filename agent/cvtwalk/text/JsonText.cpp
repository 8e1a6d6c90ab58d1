#include "agent/cvtwalk/text/JsonText.h"

#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

void AppendCodeUnit(std::string& json, unsigned int unit) {
    constexpr char kDigits[] = "0123456789abcdef";
    json += "\\u";
    for (unsigned int shift = 16; shift > 0; shift -= 4) {
        json += kDigits[unit >> (shift - 4) & 0xFU];
    }
}

void AppendEscaped(std::string& json, char32_t character) {
    switch (character) {
        case '\b': json += "\\b"; return;
        case '\f': json += "\\f"; return;
        case '\n': json += "\\n"; return;
        case '\r': json += "\\r"; return;
        case '\t': json += "\\t"; return;
        default: break;
    }
    if (character < 0x10000) {
        AppendCodeUnit(json, character);
        return;
    }
    const char32_t offset = character - 0x10000;
    AppendCodeUnit(json, 0xD800 + (offset >> 10U));
    AppendCodeUnit(json, 0xDC00 + (offset & 0x3FFU));
}

}  // namespace

std::string JsonText::Quoted(std::string_view octets) {
    std::string json = "\"";
    for (Utf8 text(octets); !text.AtEnd();) {
        const char32_t character = text.Next();
        if (character == Utf8::kBad) {
            json += kReplacement;
        } else if (character == '"' || character == '\\') {
            json += '\\';
            json += static_cast<char>(character);
        } else if (Utf8::IsPrintable(character)) {
            json += text.Last();
        } else {
            AppendEscaped(json, character);
        }
    }
    return json + '"';
}

bool JsonText::IsUtf8(std::string_view octets) {
    for (Utf8 text(octets); !text.AtEnd();) {
        if (text.Next() == Utf8::kBad) {
            return false;
        }
    }
    return true;
}

}  // namespace cvtwalk
