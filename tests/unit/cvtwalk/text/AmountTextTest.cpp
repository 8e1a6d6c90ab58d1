#include "agent/cvtwalk/text/AmountText.h"

#include <gtest/gtest.h>

namespace {

namespace AmountText = cvtwalk::AmountText;

TEST(CvtwalkAmountText, CountsOctetsInUnitsOf1024) {
    EXPECT_EQ(AmountText::Size(0, 4096), "0 B");
    EXPECT_EQ(AmountText::Size(0, 0), "0 B");
    EXPECT_EQ(AmountText::Size(1023, 1), "1023 B");
    EXPECT_EQ(AmountText::Size(1, 1024), "1.0 KiB");
    EXPECT_EQ(AmountText::Size(1, 4096), "4.0 KiB");
    EXPECT_EQ(AmountText::Size(24684092, 1024), "23.5 GiB");
    EXPECT_EQ(AmountText::Size(66053021, 4096), "252.0 GiB");
    EXPECT_EQ(AmountText::Size(2147483647, 2147483647), "4.0 EiB");
}

TEST(CvtwalkAmountText, NeverReadsAThousandAndTwentyFourOfAUnit) {
    EXPECT_EQ(AmountText::Size(1048575, 1), "1.0 MiB");
    EXPECT_EQ(AmountText::Size(1023, 1024), "1023.0 KiB");
}

TEST(CvtwalkAmountText, SaysNothingOfFiguresThatHaveWrapped) {
    EXPECT_EQ(AmountText::Size(-1, 1024), "?");
    EXPECT_EQ(AmountText::Size(10, -4096), "?");
    EXPECT_EQ(AmountText::Size(-10, -4096), "?");
}

TEST(CvtwalkAmountText, DrawsTheShareInUse) {
    EXPECT_EQ(AmountText::UseBar(38, 100, 10, false), "[####------]  38%");
    EXPECT_EQ(AmountText::UseBar(0, 100, 10, false), "[----------]   0%");
    EXPECT_EQ(AmountText::UseBar(100, 100, 10, false), "[##########] 100%");
    EXPECT_EQ(AmountText::UseBar(1, 2, 4, false), "[##--]  50%");
    EXPECT_EQ(AmountText::UseBar(1, 2, 4, true), "\u2588\u2588\u2591\u2591  50%");
    EXPECT_EQ(AmountText::UseBar(2147483647, 2147483647, 2, false), "[##] 100%");
}

TEST(CvtwalkAmountText, DrawsNoBarWithoutASizeOrForFiguresThatDoNotFit) {
    EXPECT_EQ(AmountText::UseBar(0, 0, 10, false), "");
    EXPECT_EQ(AmountText::UseBar(5, -1, 10, false), "");
    EXPECT_EQ(AmountText::UseBar(-5, 10, 10, false), "");
    EXPECT_EQ(AmountText::UseBar(11, 10, 10, false), "");
}

}  // namespace
