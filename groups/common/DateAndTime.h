#pragma once

#include "CVT/BOctetString.h"

/// Writes the calendar time `*time` (seconds since 1970 UTC; not null) as a DateAndTime in local time: `out` has room
/// for 11 octets and receives all of them, and `*length` becomes 11. The direction from UTC is that of the C library's
/// `timezone`, one hour further east while summer time is in force. The octets are year (2, high first), month, day,
/// hour, minute, second, 0, '+' or '-', hours and minutes from UTC. Thread-safe, unless another thread changes TZ.
void vFormat_DateAndTime(long* time, unsigned int* length, unsigned char* out);

/// Whether a value offered for a DateAndTime has 8 to 11 octets. Their contents are not checked.
bool TestSetEx_TCDateAndTime(const CVT::BOctetString& value);
