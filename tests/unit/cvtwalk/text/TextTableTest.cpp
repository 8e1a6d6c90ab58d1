#include "agent/cvtwalk/text/TextTable.h"

#include <gtest/gtest.h>

namespace {

using cvtwalk::Display;
using cvtwalk::TextTable;
using Kind = TextTable::Kind;

std::string Written(std::vector<TextTable::Column> columns, const Display& display = {}) {
    TextTable table;
    for (TextTable::Column& column : columns) {
        table.Add(std::move(column));
    }
    std::string out;
    table.Write(display, out);
    return out;
}

const TextTable::Column kIndex{"index", Kind::kNumber, {"1", "20"}};
const TextTable::Column kLong{"text", Kind::kText, {"abcdefghijklmnopqrstuvwxyz", "short"}};

TEST(CvtwalkTextTable, SetsNumbersToTheRightAndLeavesNoBlankAtAnEnd) {
    EXPECT_EQ(Written({kIndex, {"name", Kind::kText, {"a", ""}}, {"n", Kind::kNumber, {"5", "100"}}, kLong}),
              "index  name    n  text\n"
              "    1  a       5  abcdefghijklmnopqrstuvwxyz\n"
              "   20        100  short\n");
}

TEST(CvtwalkTextTable, CutsTextsToTheWidthOfTheDisplay) {
    EXPECT_EQ(Written({kIndex, kLong}, {25, true}),
              "index  text\n"
              "    1  abcdefghijklmnopq\u2026\n"
              "   20  short\n");
    EXPECT_EQ(Written({kIndex, kLong}, {25, false}),
              "index  text\n"
              "    1  abcdefghijklmno...\n"
              "   20  short\n");
    EXPECT_EQ(Written({kIndex, kLong}, {33, true}), Written({kIndex, kLong})) << "it just fits";
}

TEST(CvtwalkTextTable, CutsTheWidestTextFirst) {
    const TextTable::Column middle{"middle", Kind::kText, {"abcdefghijklmnopqrst", "x"}};
    EXPECT_EQ(Written({middle, kLong}, {42, true}),
              "middle                text\n"
              "abcdefghijklmnopqrst  abcdefghijklmnopqrs\u2026\n"
              "x                     short\n");
}

TEST(CvtwalkTextTable, CutsNoNumberAndNoWholeCellHoweverNarrowTheDisplay) {
    const TextTable::Column number{"aVeryLongName", Kind::kNumber, {"1234567890", "2"}};
    const TextTable::Column whole{"bar", Kind::kWhole, {"[#########-]", ""}};
    EXPECT_EQ(Written({number, whole, kLong}, {1, true}),
              "aVeryLong\u2026  bar           text\n"
              "1234567890  [#########-]  abcdefg\u2026\n"
              "         2                short\n");
}

TEST(CvtwalkTextTable, TakesTheShortFormOnlyWhereLinesAreTooLong) {
    const TextTable::Column words{"type", Kind::kWord, {"hrStorageRam", "x"}, {"Ram", "x"}};
    EXPECT_EQ(Written({words, kIndex}), "type          index\nhrStorageRam      1\nx                20\n");
    EXPECT_EQ(Written({words, kIndex}, {19, true}), Written({words, kIndex}));
    EXPECT_EQ(Written({words, kIndex}, {18, true}), "type  index\nRam       1\nx        20\n");
}

TEST(CvtwalkTextTable, CutsAtWholeCharactersByTheirPlaces) {
    EXPECT_EQ(TextTable::Fitted("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", 6, true),
              "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E");
    EXPECT_EQ(TextTable::Fitted("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", 5, true), "\xE6\x97\xA5\xE6\x9C\xAC\u2026");
    EXPECT_EQ(TextTable::Fitted("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", 4, true), "\xE6\x97\xA5\u2026");
    EXPECT_EQ(TextTable::Fitted("caf\xC3\xA9s", 4, true), "caf\u2026");
    EXPECT_EQ(TextTable::Fitted("", 0, true), "");
}

TEST(CvtwalkTextTable, LetsTheColumnThatTellsRowsApartKeepItsWidth) {
    TextTable::Column key = kLong;
    key.isKey = true;
    const TextTable::Column other{"other", Kind::kText, {"abcdefghijklmnopqrstuvwxyz", "x"}};
    EXPECT_EQ(Written({key, other}, {36, true}),
              "text                        other\n"
              "abcdefghijklmnopqrstuvwxyz  abcdefg\u2026\n"
              "short                       x\n");
    EXPECT_EQ(Written({key, other}, {28, true}),
              "text                other\n"
              "abcdefghijklmnopq\u2026  abcdefg\u2026\n"
              "short               x\n")
        << "until nothing else can give way";
}

TEST(CvtwalkTextTable, NeverCutsTwoHeadingsToTheSame) {
    const TextTable::Column units{"AllocationUnits", Kind::kNumber, {"4096"}};
    const TextTable::Column failures{"AllocationFailures", Kind::kNumber, {"0"}};
    EXPECT_EQ(Written({units, failures}, {12, true}), "Al\u2026ts  Al\u2026es\n 4096      0\n");
    const TextTable::Column first{"AlphaBetaEnd", Kind::kNumber, {"1"}};
    const TextTable::Column second{"AlphaGamaEnd", Kind::kNumber, {"2"}};
    const std::string twins = Written({first, second}, {12, false});
    const std::string heading = twins.substr(0, twins.find('\n'));
    EXPECT_NE(heading.substr(0, heading.find(' ')), heading.substr(heading.rfind(' ') + 1)) << heading;
}

TEST(CvtwalkTextTable, CutsPathsWhereTheyStayDifferent) {
    EXPECT_EQ(TextTable::FittedAtBothEnds("/var/lib/containers/overlay/42", 12, true), "/va\u2026erlay/42");
    EXPECT_EQ(TextTable::FittedAtBothEnds("/var/lib/containers/overlay/42", 12, false), "/va...lay/42");
    EXPECT_EQ(TextTable::FittedAtBothEnds("/var", 4, true), "/var");
    EXPECT_EQ(TextTable::FittedAtBothEnds("\u65E5\u672C\u8A9E\u65E5\u672C\u8A9E", 8, true), "\u65E5\u2026\u672C\u8A9E");
    EXPECT_EQ(TextTable::FittedAtBothEnds("abc", 0, true), "\u2026");
    TextTable::Column paths{"path", Kind::kText, {"/var/lib/containers/1", "/var/lib/containers/2"}};
    paths.isKey = true;
    EXPECT_EQ(Written({paths}, {12, true}), "path\n/va\u2026ainers/1\n/va\u2026ainers/2\n");
}

}  // namespace
