#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// Strings as JSON.
namespace JsonText {

/// The octets as a JSON string, quotes included: valid for any octets, since those that are not UTF-8 become
/// U+FFFD. What a terminal might not show as text is escaped.
std::string Quoted(std::string_view octets);
/// Whether Quoted preserves every octet.
bool IsUtf8(std::string_view octets);

}  // namespace JsonText

}  // namespace cvtwalk
