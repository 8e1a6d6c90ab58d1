#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// Text for HTML, between tags and in attributes.
namespace HtmlText {

/// Valid for any octets: characters that are special in HTML are escaped, and octets that are not printable UTF-8
/// become U+FFFD.
std::string Escaped(std::string_view text);

}  // namespace HtmlText

}  // namespace cvtwalk
