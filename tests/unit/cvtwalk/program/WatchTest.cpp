#include "agent/cvtwalk/program/Watch.h"

#include <gtest/gtest.h>

namespace {

using cvtwalk::Watch;

TEST(CvtwalkWatch, DrawsOverWhatIsThereAndWipesTheRest) {
    EXPECT_EQ(Watch::Frame("now", "a\nb\n", {80, true, 24}), "\x1B[Hnow\x1B[K\na\x1B[K\nb\x1B[K\x1B[J");
}

TEST(CvtwalkWatch, CutsToTheSizeOfTheTerminalAndSaysHowMuchIsMissing) {
    EXPECT_EQ(Watch::Frame("now", "abcdefghij\nb\nc\nd\n", {9, true, 4}),
              "\x1B[Hnow\x1B[K\nabcdefgh\u2026\x1B[K\nb\x1B[K\n(2 more \u2026\x1B[K\x1B[J");
}

}  // namespace
