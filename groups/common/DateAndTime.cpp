#include "groups/common/DateAndTime.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>

namespace {

constexpr unsigned int kShortLength = 8;
constexpr unsigned int kLongLength = 11;
constexpr unsigned long kSecondsPerHour = 3600;
constexpr unsigned long kSecondsPerMinute = 60;

unsigned char Octet(int value) { return static_cast<unsigned char>(value); }

void WriteClock(const std::tm& local, unsigned char* out) {
    const unsigned int year = static_cast<unsigned int>(local.tm_year) + 1900U;
    out[0] = static_cast<unsigned char>(year >> 8);
    out[1] = static_cast<unsigned char>(year);
    out[2] = Octet(local.tm_mon + 1);
    out[3] = Octet(local.tm_mday);
    out[4] = Octet(local.tm_hour);
    out[5] = Octet(local.tm_min);
    out[6] = Octet(local.tm_sec);
    out[7] = 0;
}

/// `secondsWest` is the distance of standard time from UTC.
void WriteDirection(long secondsWest, bool summer, unsigned char* out) {
    const bool west = secondsWest > 0;
    const unsigned long distance =
        west ? static_cast<unsigned long>(secondsWest) : 0UL - static_cast<unsigned long>(secondsWest);
    const unsigned long hours = distance / kSecondsPerHour;
    out[8] = west ? '-' : '+';
    out[9] = static_cast<unsigned char>(hours);
    out[10] = static_cast<unsigned char>((distance - hours * kSecondsPerHour) / kSecondsPerMinute);
    if (summer) {
        out[9] = static_cast<unsigned char>(west ? out[9] - 1U : out[9] + 1U);
    }
    if (out[9] == 0) {
        out[8] = '+';
    }
}

}  // namespace

// NOLINTNEXTLINE(readability-non-const-parameter): the signature is part of the module's interface
void vFormat_DateAndTime(long* time, unsigned int* length, unsigned char* out) {
    ::tzset();
    std::tm local{};
    const std::time_t seconds = *time;
    ::localtime_r(&seconds, &local);
    *length = kLongLength;
    WriteClock(local, out);
    WriteDirection(::timezone, local.tm_isdst > 0, out);
}

bool TestSetEx_TCDateAndTime(const CVT::BOctetString& value) {
    return value.Length() >= kShortLength && value.Length() <= kLongLength;
}
