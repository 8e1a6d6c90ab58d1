#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// Letters of ASCII without regard to case, in every locale the same; all other octets are as they are.
namespace AsciiCase {

std::string Lower(std::string_view text);
inline bool AreEqual(std::string_view a, std::string_view b) { return Lower(a) == Lower(b); }
/// Whether `part` is somewhere in `text`; an empty part is.
inline bool Contains(std::string_view text, std::string_view part) {
    return Lower(text).find(Lower(part)) != std::string::npos;
}

}  // namespace AsciiCase

}  // namespace cvtwalk
