#pragma once

#include "CVT/BOctetString.h"

namespace sample {

// DateAndTime: year (two octets), month, day, hour, minute, second, tenths of a second; optionally followed by the
// direction from UTC ('+' or '-') and the hours and minutes from UTC.

/// The local date and time, with its offset from UTC: 11 octets.
CVT::BOctetString DateOfNow();

/// Whether the octets, 8 or 11, are a date within the bounds of DateAndTime.
bool IsDate(const CVT::BOctetString& octets);

}  // namespace sample
