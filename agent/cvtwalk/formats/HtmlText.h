#pragma once

#include <string>
#include <string_view>

namespace cvtwalk {

/// Text as it stands in HTML, between tags and in attributes.
class HtmlText {
public:
    /// Valid for any octets: what HTML gives a meaning is escaped, and what is no printable UTF-8 becomes U+FFFD.
    static std::string Escaped(std::string_view text);
};

}  // namespace cvtwalk
