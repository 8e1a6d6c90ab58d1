#include "agent/cvtwalk/text/AsciiCase.h"

#include <algorithm>

namespace cvtwalk {

std::string AsciiCase::Lower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

}  // namespace cvtwalk
