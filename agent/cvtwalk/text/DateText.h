#pragma once

#include <optional>
#include <string>

#include "CVT/BOctetString.h"

namespace cvtwalk {

/// Reads DateAndTime octets: year, month, day, hour, minute, second, tenths, and perhaps the distance from UTC.
namespace DateText {

/// As the convention's display hint has it, "2024-3-10,23:30:0.0,-2:0", whatever the fields are. Nothing unless it
/// is 8 octets, or 11 with a sign before the distance from UTC.
std::optional<std::string> AsDisplayed(const CVT::BOctetString& octets);
/// "2024-03-10T23:30:00.000-02:00", without the distance where there is none. Nothing unless every field lies in
/// its bounds.
std::optional<std::string> AsIso8601(const CVT::BOctetString& octets);

}  // namespace DateText

}  // namespace cvtwalk
