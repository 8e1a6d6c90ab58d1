#pragma once

#include <optional>
#include <string>

#include "CVT/BOctetString.h"

namespace cvtwalk {

/// Reads DateAndTime octets: year, month, day, hour, minute, second, tenths, and optionally the offset from UTC.
namespace DateText {

/// Formatted by the convention's display hint, "2024-3-10,23:30:0.0,-2:0", whatever the fields are. Returns nothing
/// unless there are 8 octets, or 11 with a sign before the offset from UTC.
std::optional<std::string> AsDisplayed(const CVT::BOctetString& octets);
/// "2024-03-10T23:30:00.000-02:00", without the offset where there is none. Returns nothing unless every field is in
/// range.
std::optional<std::string> AsIso8601(const CVT::BOctetString& octets);

}  // namespace DateText

}  // namespace cvtwalk
