#include "groups/system/ClockCommand.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

CVT::BOctetString Date(const std::vector<int>& octets) {
    std::string value;
    for (const int octet : octets) {
        value.push_back(static_cast<char>(octet));
    }
    return CVT::BOctetString(value);
}

TEST(ClockCommand, SetsUtcForAValueWithAZone) {
    EXPECT_EQ(ClockCommand(Date({7, 232, 3, 10, 12, 5, 59, 9, '+', 0, 0})), "date -u -s 031012052024 > /dev/nul");
}

TEST(ClockCommand, WrapsTheHourAndKeepsTheDayWestOfUtc) {
    EXPECT_EQ(ClockCommand(Date({7, 232, 3, 10, 23, 30, 0, 0, '-', 2, 0})), "date -u -s 031001302024 > /dev/nul");
}

TEST(ClockCommand, PrintsAnHourBelowZeroUnchanged) {
    EXPECT_EQ(ClockCommand(Date({7, 232, 3, 10, 0, 10, 0, 0, '+', 0, 30})), "date -u -s 0310-1402024 > /dev/nul");
}

TEST(ClockCommand, DoesNotWrapTheHourAfterACarryFromTheMinutes) {
    EXPECT_EQ(ClockCommand(Date({7, 232, 3, 10, 23, 50, 0, 0, '-', 0, 30})), "date -u -s 031024202024 > /dev/nul");
}

TEST(ClockCommand, WrapsTheHourEastOfUtcBeforeTheMinutesBorrowOne) {
    EXPECT_EQ(ClockCommand(Date({7, 232, 3, 10, 1, 10, 0, 0, '+', 5, 30})), "date -u -s 031019402024 > /dev/nul");
}

TEST(ClockCommand, TreatsAnyOtherDirectionAsEast) {
    EXPECT_EQ(ClockCommand(Date({7, 232, 3, 10, 12, 0, 0, 0, 'x', 2, 0})), "date -u -s 031010002024 > /dev/nul");
}

TEST(ClockCommand, SetsLocalTimeForAValueOfAnyOtherLength) {
    const std::vector<int> octets = {7, 232, 3, 10, 23, 30, 15, 0, '-', 2, 0};
    for (const std::size_t length : {8U, 9U, 10U}) {
        EXPECT_EQ(ClockCommand(Date({octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(length)})),
                  "date -s 031023302024 > /dev/nul")
            << length;
    }
}

TEST(ClockCommand, AcceptsAnyOctetsAndTheLargestYear) {
    EXPECT_EQ(ClockCommand(Date({255, 255, 255, 255, 255, 255, 255, 255, '-', 255, 255})),
              "date -u -s 25525548745065535 > /dev/nul");
    EXPECT_EQ(ClockCommand(Date({0, 0, 0, 0, 0, 0, 0, 0})), "date -s 000000000000 > /dev/nul");
    EXPECT_EQ(ClockCommand(CVT::BOctetString()), "date -s 000000000000 > /dev/nul");
}

/// At least two digits, like printf's %02d, without printf.
std::string Two(int number) {
    std::string digits = std::to_string(number < 0 ? -number : number);
    if (number < 0) {
        return "-" + digits;
    }
    return digits.size() < 2 ? "0" + digits : digits;
}

/// The same command, computed in minutes: they carry or borrow one hour, and only the hours wrap at midnight.
std::string Computed(const std::vector<int>& d) {
    const bool west = d[8] == '-';
    const int wholeHours = west ? d[4] + d[9] : d[4] - d[9];
    const int wrapped = wholeHours > 23 && west   ? wholeHours - 24
                        : wholeHours < 0 && !west ? wholeHours + 24
                                                  : wholeHours;
    const int minutes = west ? d[5] + d[10] : d[5] - d[10];
    const int carry = west ? (minutes > 59 ? 1 : 0) : (minutes < 0 ? -1 : 0);
    std::string year = std::to_string(d[0] * 256 + d[1]);
    year.insert(0, year.size() < 4 ? 4 - year.size() : 0, '0');
    return "date -u -s " + Two(d[2]) + Two(d[3]) + Two(wrapped + carry) + Two(minutes - 60 * carry) + year +
           " > /dev/nul";
}

TEST(ClockCommand, AgreesWithAnotherComputationOnFiveHundredDates) {
    std::mt19937 random(500);
    const auto upTo = [&](unsigned int bound) { return static_cast<int>(random() % (bound + 1)); };
    for (int round = 0; round < 500; ++round) {
        const int year = 1 + upTo(9998);
        const std::vector<int> date = {year / 256,   year % 256, 1 + upTo(11),
                                       1 + upTo(30), upTo(23),   upTo(59),
                                       upTo(60),     upTo(9),    upTo(1) != 0 ? '+' : '-',
                                       upTo(14),     upTo(59)};
        EXPECT_EQ(ClockCommand(Date(date)), Computed(date));
    }
}

}  // namespace
