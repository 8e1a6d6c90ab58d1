#include "groups/system/ClockCommand.h"

#include <array>
#include <cstdio>

namespace {

constexpr unsigned int kWithZone = 11;

struct TimeOfDay {
    int hour;
    int minute;
};

/// The hour is not wrapped again after a carry from the minutes, and the day does not change: managers rely on this
/// behaviour.
TimeOfDay ToUtc(const CVT::BOctetString& date) {
    const auto octet = [&](unsigned int at) { return static_cast<int>(date[at]); };
    TimeOfDay time{octet(4), octet(5)};
    if (octet(8) == '-') {
        time.hour += octet(9);
        time.hour -= time.hour > 23 ? 24 : 0;
        time.minute += octet(10);
        if (time.minute > 59) {
            time.minute -= 60;
            ++time.hour;
        }
    } else {
        time.hour -= octet(9);
        time.hour += time.hour < 0 ? 24 : 0;
        time.minute -= octet(10);
        if (time.minute < 0) {
            time.minute += 60;
            --time.hour;
        }
    }
    return time;
}

}  // namespace

std::string ClockCommand(const CVT::BOctetString& date) {
    const auto octet = [&](unsigned int at) { return static_cast<int>(date[at]); };
    const int year = octet(0) * 256 + octet(1);
    std::array<char, 128> command{};
    if (date.Length() == kWithZone) {
        const TimeOfDay utc = ToUtc(date);
        std::snprintf(command.data(), command.size(), "date -u -s %02d%02d%02d%02d%04d > /dev/nul", octet(2), octet(3),
                      utc.hour, utc.minute, year);
    } else {
        std::snprintf(command.data(), command.size(), "date -s %02d%02d%02d%02d%04d > /dev/nul", octet(2), octet(3),
                      octet(4), octet(5), year);
    }
    return command.data();
}
