// The scanner compared with the C library's scanf, on chosen and on random lines.

#include "groups/software/LineScanner.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>

namespace {

TEST(LineScanner, ReadsFieldsUpToTheFirstMissingOne) {
    LineScanner scanner("  12 word\tx y");
    std::int64_t number = 0;
    std::string_view word;
    char character = 0;
    EXPECT_TRUE(scanner.Signed(number));
    EXPECT_EQ(number, 12);
    EXPECT_TRUE(scanner.Word(word));
    EXPECT_EQ(word, "word");
    EXPECT_TRUE(scanner.Character(character));
    EXPECT_EQ(character, 'x');
    EXPECT_FALSE(scanner.Signed(number));
    EXPECT_FALSE(scanner.Word(word)) << "a malformed number is not tried again as a word";
    EXPECT_EQ(number, 12);
    EXPECT_EQ(word, "word");
}

TEST(LineScanner, EndsALineAtItsFirstNul) {
    LineScanner scanner(std::string_view("1\0002 3", 5));
    std::int64_t number = 0;
    EXPECT_TRUE(scanner.Signed(number));
    EXPECT_EQ(number, 1);
    EXPECT_FALSE(scanner.Signed(number));
}

TEST(LineScanner, ClampsANumberOutOfRangeToItsBound) {
    std::int64_t value = 0;
    std::uint64_t number = 0;
    EXPECT_TRUE(LineScanner("9223372036854775807").Signed(value));
    EXPECT_EQ(value, INT64_MAX);
    EXPECT_TRUE(LineScanner("9223372036854775808").Signed(value));
    EXPECT_EQ(value, INT64_MAX);
    EXPECT_TRUE(LineScanner("-9223372036854775808").Signed(value));
    EXPECT_EQ(value, INT64_MIN);
    EXPECT_TRUE(LineScanner("-99999999999999999999").Signed(value));
    EXPECT_EQ(value, INT64_MIN);
    EXPECT_TRUE(LineScanner("18446744073709551615").Unsigned(number));
    EXPECT_EQ(number, UINT64_MAX);
    EXPECT_TRUE(LineScanner("18446744073709551616").Unsigned(number));
    EXPECT_EQ(number, UINT64_MAX);
    EXPECT_TRUE(LineScanner("-1").Unsigned(number));
    EXPECT_EQ(number, UINT64_MAX);
    EXPECT_TRUE(LineScanner("-99999999999999999999").Unsigned(number));
    EXPECT_EQ(number, UINT64_MAX);
}

/// A line that is hostile in the ways that matter to a scanner.
std::string RandomLine(std::mt19937& random) {
    static const char* const pieces[] = {" ",
                                         "\t",
                                         "\n",
                                         "\v\f\r",
                                         "-",
                                         "+",
                                         "0",
                                         "7",
                                         "42",
                                         "18446744073709551616",
                                         "-9223372036854775809",
                                         "x",
                                         "(",
                                         ")",
                                         "abc",
                                         ".",
                                         "0x1f",
                                         "--1",
                                         "+-2",
                                         "1e5",
                                         "\xFF",
                                         "\xC3\xA9",
                                         "%d",
                                         "'",
                                         "1'000",
                                         "12abc"};
    std::string line;
    for (auto count = random() % 14; count > 0; --count) {
        line += pieces[random() % std::size(pieces)];
    }
    return line;
}

TEST(LineScanner, ReadsWhatScanfReads) {
    std::mt19937 random(20240310);
    for (int round = 0; round < 200'000; ++round) {
        const std::string line = RandomLine(random);
        std::int64_t expectedSigned = 11;
        std::uint64_t expectedUnsigned = 12;
        char expectedWord[256] = "old";
        char expectedCharacter = 'o';
        std::int64_t value = 11;
        std::uint64_t number = 12;
        std::string_view word = "old";
        char character = 'o';
        LineScanner scanner(line);
        switch (round % 3) {
            case 0: {
                const int expected = std::sscanf(line.c_str(), "%" SCNd64 " %255s %c %" SCNu64, &expectedSigned,
                                                 expectedWord, &expectedCharacter, &expectedUnsigned);
                const int read = !scanner.Signed(value)          ? 0
                                 : !scanner.Word(word)           ? 1
                                 : !scanner.Character(character) ? 2
                                 : !scanner.Unsigned(number)     ? 3
                                                                 : 4;
                EXPECT_EQ(read, expected < 0 ? 0 : expected) << '"' << line << '"';
                break;
            }
            case 1: {
                const int expected =
                    std::sscanf(line.c_str(), "%*d %*u %" SCNu64 " %c", &expectedUnsigned, &expectedCharacter);
                const int read = !scanner.SkipNumbers(2) || !scanner.Unsigned(number) ? 0
                                 : !scanner.Character(character)                      ? 1
                                                                                      : 2;
                EXPECT_EQ(read, expected < 0 ? 0 : expected) << '"' << line << '"';
                break;
            }
            default: {
                const int expected = std::sscanf(line.c_str(), "%255s %" SCNd64, expectedWord, &expectedSigned);
                const int read = !scanner.Word(word) ? 0 : !scanner.Signed(value) ? 1 : 2;
                EXPECT_EQ(read, expected < 0 ? 0 : expected) << '"' << line << '"';
                break;
            }
        }
        EXPECT_EQ(value, expectedSigned) << '"' << line << '"';
        EXPECT_EQ(number, expectedUnsigned) << '"' << line << '"';
        EXPECT_EQ(word, expectedWord) << '"' << line << '"';
        EXPECT_EQ(character, expectedCharacter) << '"' << line << '"';
    }
}

}  // namespace
