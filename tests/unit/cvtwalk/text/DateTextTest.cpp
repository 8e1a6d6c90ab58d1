#include "agent/cvtwalk/text/DateText.h"

#include <gtest/gtest.h>

namespace {

namespace DateText = cvtwalk::DateText;

CVT::BOctetString Octets(const char* hex) {
    CVT::BOctetString octets;
    EXPECT_TRUE(octets.AssignFromHexString(hex));
    return octets;
}

TEST(CvtwalkDateText, ReadsADateWithItsDistanceFromUtc) {
    const auto octets = Octets("07 E8 03 0A 17 1E 00 00 2D 02 00");
    EXPECT_EQ(DateText::AsDisplayed(octets), "2024-3-10,23:30:0.0,-2:0");
    EXPECT_EQ(DateText::AsIso8601(octets), "2024-03-10T23:30:00.000-02:00");
}

TEST(CvtwalkDateText, ReadsADateWithout) {
    const auto octets = Octets("07 E8 0C 1F 08 05 3C 09");
    EXPECT_EQ(DateText::AsDisplayed(octets), "2024-12-31,8:5:60.9");
    EXPECT_EQ(DateText::AsIso8601(octets), "2024-12-31T08:05:60.900");
}

TEST(CvtwalkDateText, DisplaysTheYearNoughtAndGivesNoIsoForTheMonthNought) {
    const auto octets = Octets("00 00 01 01 00 00 00 00");
    EXPECT_EQ(DateText::AsDisplayed(octets), "0-1-1,0:0:0.0");
    EXPECT_EQ(DateText::AsIso8601(octets), "0000-01-01T00:00:00.000");
    EXPECT_EQ(DateText::AsDisplayed(Octets("00 00 00 00 00 00 00 00")), "0-0-0,0:0:0.0");
    EXPECT_FALSE(DateText::AsIso8601(Octets("00 00 00 00 00 00 00 00")));
}

TEST(CvtwalkDateText, RefusesOctetsOfAnotherForm) {
    for (const char* const bad :
         {"", "07", "07 E8 03 0A 17 1E 00", "07 E8 03 0A 17 1E 00 00 2D", "07 E8 03 0A 17 1E 00 00 2D 02",
          "07 E8 03 0A 17 1E 00 00 1B 02 00", "07 E8 03 0A 17 1E 00 00 2D 02 00 00"}) {
        EXPECT_FALSE(DateText::AsDisplayed(Octets(bad))) << bad;
        EXPECT_FALSE(DateText::AsIso8601(Octets(bad))) << bad;
    }
}

TEST(CvtwalkDateText, GivesNoIsoForAFieldOutOfBounds) {
    for (const char* const bad : {"07E80D0A171E0000", "07E8000A171E0000", "07E80320171E0000", "07E80300171E0000",
                                  "07E8030A181E0000", "07E8030A173C0000", "07E8030A171E3D00", "07E8030A171E000A",
                                  "07E8030A171E00002B0F00", "07E8030A171E00002B003C"}) {
        EXPECT_FALSE(DateText::AsIso8601(Octets(bad))) << bad;
        EXPECT_TRUE(DateText::AsDisplayed(Octets(bad))) << bad;
    }
}

}  // namespace
