#include "SampleDate.h"

#include <cstdlib>
#include <ctime>
#include <string>

namespace sample {
namespace {

constexpr unsigned int kWithoutZone = 8;
constexpr unsigned int kWithZone = 11;

struct Bounds {
    unsigned int low;
    unsigned int high;
};

// The bounds of each octet from the month on; a second of 60 is a leap second.
constexpr Bounds kBounds[] = {{1, 12}, {1, 31}, {0, 23}, {0, 59}, {0, 60}, {0, 9}};
constexpr unsigned int kMonth = 2;

}  // namespace

CVT::BOctetString DateOfNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    const int year = local.tm_year + 1900;
    const long minutesFromUtc = std::labs(local.tm_gmtoff) / 60;
    const char octets[] = {
        static_cast<char>(year / 256),          static_cast<char>(year % 256),
        static_cast<char>(local.tm_mon + 1),    static_cast<char>(local.tm_mday),
        static_cast<char>(local.tm_hour),       static_cast<char>(local.tm_min),
        static_cast<char>(local.tm_sec),        0,
        local.tm_gmtoff < 0 ? '-' : '+',        static_cast<char>(minutesFromUtc / 60),
        static_cast<char>(minutesFromUtc % 60),
    };
    return CVT::BOctetString(octets, sizeof octets);
}

bool IsDate(const CVT::BOctetString& octets) {
    if (octets.Length() != kWithoutZone && octets.Length() != kWithZone) {
        return false;
    }
    unsigned int place = kMonth;
    for (const Bounds& bounds : kBounds) {
        if (octets[place] < bounds.low || octets[place] > bounds.high) {
            return false;
        }
        ++place;
    }
    const bool zoned = octets.Length() == kWithZone;
    return !zoned || ((octets[8] == '+' || octets[8] == '-') && octets[9] <= 13 && octets[10] <= 59);
}

}  // namespace sample
