#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// Text as it stands in HTML, between tags and in attributes.
namespace HtmlText {

/// Valid for any octets: what HTML gives a meaning is escaped, and what is no printable UTF-8 becomes U+FFFD.
std::string Escaped(std::string_view text);

}  // namespace HtmlText

}  // namespace cvtwalk
