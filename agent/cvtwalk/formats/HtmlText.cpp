#include "agent/cvtwalk/formats/HtmlText.h"

#include "agent/cvtwalk/text/Utf8.h"

namespace cvtwalk {

std::string HtmlText::Escaped(std::string_view text) {
    std::string escaped;
    for (Utf8 characters(text); !characters.AtEnd();) {
        const char32_t character = characters.Next();
        switch (character) {
            case '&': escaped += "&amp;"; break;
            case '<': escaped += "&lt;"; break;
            case '>': escaped += "&gt;"; break;
            case '"': escaped += "&quot;"; break;
            case '\'': escaped += "&#39;"; break;
            default: escaped += Utf8::IsPrintable(character) ? characters.Last() : "\xEF\xBF\xBD";
        }
    }
    return escaped;
}

}  // namespace cvtwalk
