#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// ASCII text without regard to case, the same in every locale; all other octets stay as they are.
namespace AsciiCase {

std::string Lower(std::string_view text);
inline bool AreEqual(std::string_view a, std::string_view b) { return Lower(a) == Lower(b); }
/// Whether `text` contains `part`; an empty part is always contained.
inline bool Contains(std::string_view text, std::string_view part) {
    return Lower(text).find(Lower(part)) != std::string::npos;
}

}  // namespace AsciiCase

}  // namespace cvtwalk
