#pragma once

#include <string>

#include "CVT/BOctetString.h"

/// The shell command that sets the host's clock to a DateAndTime: in UTC for a value of 11 octets, in local time for
/// any other length. Missing octets count as 0.
std::string ClockCommand(const CVT::BOctetString& date);
