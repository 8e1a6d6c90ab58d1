#include "groups/common/DateAndTime.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

namespace {

using Octets = std::vector<int>;

/// Runs each test in a time zone of its own and restores the old one.
class DateAndTime : public testing::Test {
protected:
    void SetUp() override {
        const char* const zone = std::getenv("TZ");
        m_had = zone != nullptr;
        m_zone = m_had ? zone : "";
    }
    void TearDown() override {
        m_had ? ::setenv("TZ", m_zone.c_str(), 1) : ::unsetenv("TZ");
        ::tzset();
    }

    static Octets Format(const char* zone, long time) {
        ::setenv("TZ", zone, 1);
        std::array<unsigned char, 12> out{};
        out.back() = 0xA5;  // after the 11 octets that there is room for
        unsigned int length = 0;
        vFormat_DateAndTime(&time, &length, out.data());
        EXPECT_EQ(out.back(), 0xA5);
        return {out.begin(), out.begin() + length};
    }

    static Octets DirectionOf(const char* zone, long time) {
        const Octets all = Format(zone, time);
        return {all.begin() + 8, all.end()};
    }

    // 2024-01-15 12:00:00 and 2024-07-15 12:00:00 UTC
    static constexpr long kJanuary = 1705320000;
    static constexpr long kJuly = 1721044800;

private:
    bool m_had = false;
    std::string m_zone;
};

TEST_F(DateAndTime, WritesElevenOctetsForATimeInUtc) {
    EXPECT_EQ(Format("UTC0", 1710113445), (Octets{0x07, 0xE8, 3, 10, 23, 30, 45, 0, '+', 0, 0}));
}

TEST_F(DateAndTime, WritesTheLocalClockAndNotUtc) {
    EXPECT_EQ(Format("EST5", 1710113445), (Octets{0x07, 0xE8, 3, 10, 18, 30, 45, 0, '-', 5, 0}));
}

TEST_F(DateAndTime, WritesTheEpochForATimeOfZero) {
    EXPECT_EQ(Format("UTC0", 0), (Octets{0x07, 0xB2, 1, 1, 0, 0, 0, 0, '+', 0, 0}));
    EXPECT_EQ(Format("CET-1", 0), (Octets{0x07, 0xB2, 1, 1, 1, 0, 0, 0, '+', 1, 0}));
}

TEST_F(DateAndTime, WritesTheSecondBeforeTheEpochForMinusOne) {
    EXPECT_EQ(Format("UTC0", -1), (Octets{0x07, 0xB1, 12, 31, 23, 59, 59, 0, '+', 0, 0}));
}

TEST_F(DateAndTime, PointsEastInUtcWithoutSummerTime) { EXPECT_EQ(DirectionOf("UTC0", kJuly), (Octets{'+', 0, 0})); }

TEST_F(DateAndTime, WritesTheOffsetAndDirectionEastAndWest) {
    EXPECT_EQ(DirectionOf("CET-1", kJanuary), (Octets{'+', 1, 0}));
    EXPECT_EQ(DirectionOf("JST-9", kJanuary), (Octets{'+', 9, 0}));
    EXPECT_EQ(DirectionOf("XYZ-14", kJanuary), (Octets{'+', 14, 0}));
    EXPECT_EQ(DirectionOf("EST5", kJanuary), (Octets{'-', 5, 0}));
    EXPECT_EQ(DirectionOf("XYZ12", kJanuary), (Octets{'-', 12, 0}));
}

TEST_F(DateAndTime, WritesTheMinutesOfZonesBetweenTheHours) {
    EXPECT_EQ(DirectionOf("IST-5:30", kJanuary), (Octets{'+', 5, 30}));
    EXPECT_EQ(DirectionOf("NPT-5:45", kJanuary), (Octets{'+', 5, 45}));
    EXPECT_EQ(DirectionOf("MART9:30", kJanuary), (Octets{'-', 9, 30}));
}

TEST_F(DateAndTime, AddsAnHourEastInSummerTime) {
    EXPECT_EQ(DirectionOf("CET-1CEST,M3.5.0,M10.5.0/3", kJanuary), (Octets{'+', 1, 0}));
    EXPECT_EQ(DirectionOf("CET-1CEST,M3.5.0,M10.5.0/3", kJuly), (Octets{'+', 2, 0}));
}

TEST_F(DateAndTime, SubtractsAnHourWestInSummerTime) {
    EXPECT_EQ(DirectionOf("EST5EDT,M3.2.0,M11.1.0", kJanuary), (Octets{'-', 5, 0}));
    EXPECT_EQ(DirectionOf("EST5EDT,M3.2.0,M11.1.0", kJuly), (Octets{'-', 4, 0}));
}

TEST_F(DateAndTime, KnowsTheSummerOfTheSouthernHemisphere) {
    EXPECT_EQ(DirectionOf("AEST-10AEDT,M10.1.0,M4.1.0/3", kJanuary), (Octets{'+', 11, 0}));
    EXPECT_EQ(DirectionOf("AEST-10AEDT,M10.1.0,M4.1.0/3", kJuly), (Octets{'+', 10, 0}));
    EXPECT_EQ(DirectionOf("BRT3BRST,M10.3.0,M2.3.0", kJanuary), (Octets{'-', 2, 0}));
}

TEST_F(DateAndTime, PointsEastWhenSummerTimeTakesAnHourWestToZero) {
    EXPECT_EQ(DirectionOf("AZO1AZOST,M3.5.0/0,M10.5.0/1", kJuly), (Octets{'+', 0, 0}));
    EXPECT_EQ(DirectionOf("AZO1AZOST,M3.5.0/0,M10.5.0/1", kJanuary), (Octets{'-', 1, 0}));
}

TEST_F(DateAndTime, WrapsTheHourWhenSummerTimeSubtractsItFromLessThanAnHourWest) {
    EXPECT_EQ(DirectionOf("XXX0:30YYY,M3.2.0,M11.1.0", kJuly), (Octets{'-', 255, 30}));
}

TEST_F(DateAndTime, AddsItsHourToUtcInSummerTime) {
    EXPECT_EQ(DirectionOf("GMT0BST,M3.5.0/1,M10.5.0", kJuly), (Octets{'+', 1, 0}));
}

TEST_F(DateAndTime, KeepsTheMinutesOfAHalfHourZoneInSummerTime) {
    EXPECT_EQ(DirectionOf("NST3:30NDT,M3.2.0,M11.1.0", kJuly), (Octets{'-', 2, 30}));
    EXPECT_EQ(DirectionOf("ACST-9:30ACDT,M10.1.0,M4.1.0/3", kJanuary), (Octets{'+', 10, 30}));
}

TEST_F(DateAndTime, FollowsAChangeOfZoneBetweenTwoCalls) {
    EXPECT_EQ(DirectionOf("EST5", kJanuary), (Octets{'-', 5, 0}));
    EXPECT_EQ(DirectionOf("JST-9", kJanuary), (Octets{'+', 9, 0}));
}

TEST_F(DateAndTime, AgreesWithTheCLibraryOverManyTimesAndZones) {
    for (const char* const zone : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0", "IST-5:30",
                                   "AEST-10AEDT,M10.1.0,M4.1.0/3", "NST3:30NDT,M3.2.0,M11.1.0"}) {
        // As far as a long reaches where it has 32 bits.
        const long first = sizeof(long) > 4 ? static_cast<long>(-3'000'000'000LL) : -2'147'000'000;
        const long last = sizeof(long) > 4 ? static_cast<long>(6'000'000'000LL) : 2'130'000'000;
        for (long time = first; time < last; time += 12'345'678) {
            const Octets octets = Format(zone, time);
            std::tm local{};
            const std::time_t seconds = time;
            ::localtime_r(&seconds, &local);
            ASSERT_EQ(octets.size(), 11U);
            EXPECT_EQ(octets[0] * 256 + octets[1], local.tm_year + 1900);
            EXPECT_EQ(octets[2], local.tm_mon + 1);
            EXPECT_EQ(octets[3], local.tm_mday);
            EXPECT_EQ(octets[4], local.tm_hour);
            EXPECT_EQ(octets[5], local.tm_min);
            EXPECT_EQ(octets[6], local.tm_sec);
            EXPECT_EQ(octets[7], 0);
            const int sign = octets[8] == '+' ? 1 : -1;
            EXPECT_EQ(sign * (octets[9] * 3600 + octets[10] * 60), local.tm_gmtoff) << zone << " at " << time;
        }
    }
}

TEST_F(DateAndTime, SurvivesAYearBeyondAnyCalendar) {
    EXPECT_EQ(Format("UTC0", std::numeric_limits<long>::max()).size(), 11U);
    EXPECT_EQ(Format("UTC0", std::numeric_limits<long>::min()).size(), 11U);
}

TEST(DateAndTimeLength, AcceptsEightToElevenOctetsAndNothingElse) {
    for (unsigned int length = 0; length <= 300; ++length) {
        const CVT::BOctetString value(std::string(length, '\xFF'));
        EXPECT_EQ(TestSetEx_TCDateAndTime(value), length >= 8 && length <= 11) << length;
    }
}

}  // namespace
