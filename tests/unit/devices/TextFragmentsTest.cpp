#include "groups/devices/TextFragments.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(TextFragmentsTrimLF, CutsOneLineFeedAtTheEndAndReturnsTheLengthWithoutIt) {
    char line[] = "keyboard\n";
    EXPECT_EQ(trimLF(line), 9);
    EXPECT_STREQ(line, "keyboard");

    char two[] = "a\n\n";
    EXPECT_EQ(trimLF(two), 3);
    EXPECT_STREQ(two, "a\n");

    char alone[] = "\n";
    EXPECT_EQ(trimLF(alone), 1);
    EXPECT_STREQ(alone, "");
}

TEST(TextFragmentsTrimLF, LeavesATextWithoutALineFeedAtItsEndUnchanged) {
    char line[] = "mo\nuse";
    EXPECT_EQ(trimLF(line), 6);
    EXPECT_STREQ(line, "mo\nuse");

    char empty[] = "";
    EXPECT_EQ(trimLF(empty), 0);
    EXPECT_STREQ(empty, "");
}

TEST(TextFragmentsCPUData, CopiesTheTextBeforeTheFirstLineFeed) {
    char source[] = " Fast CPU @ 3 GHz\nflags\n";
    char target[64] = "old";
    EXPECT_EQ(pcFormatCPUData(source, target), target);
    EXPECT_STREQ(target, " Fast CPU @ 3 GHz");
    EXPECT_STREQ(source, " Fast CPU @ 3 GHz") << "the source is cut there";
    EXPECT_EQ(std::memcmp(source + 18, "flags\n", 6), 0);
}

TEST(TextFragmentsCPUData, LeavesTheTargetUnchangedWithoutALineFeed) {
    char source[] = "cut short";
    char target[64] = "old";
    EXPECT_EQ(pcFormatCPUData(source, target), target);
    EXPECT_STREQ(target, "old");
    EXPECT_STREQ(source, "cut short");
}

TEST(TextFragmentsCPUData, CopiesAnEmptyText) {
    char source[] = "\n";
    char target[8] = "old";
    pcFormatCPUData(source, target);
    EXPECT_STREQ(target, "");
}

}  // namespace
