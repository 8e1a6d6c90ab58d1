#include "groups/software/ProcessLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

constexpr std::size_t kLine = 511;  // the most that is read of a file about a process

std::string Parameters(const std::vector<std::string>& arguments, std::string_view name) {
    std::string cmdline;
    for (const std::string& argument : arguments) {
        cmdline += argument + '\0';
    }
    return std::string(FormatParameters(std::string_view(cmdline).substr(0, kLine), name).View());
}

TEST(ParsePid, ParsesTheNumberAtTheStartOfAName) {
    for (const auto& [name, number] :
         std::vector<std::pair<std::string, unsigned int>>{{"1", 1},
                                                           {"4194304", 4194304},
                                                           {"12abc", 12},
                                                           {"007", 7},
                                                           {"+5", 5},
                                                           {" 6", 6},
                                                           {"-1", 4294967295U},
                                                           {"4294967297", 1},
                                                           {"99999999999999999999", 4294967295U}}) {
        unsigned int pid = 0;
        EXPECT_TRUE(bParsePid(name, pid)) << name;
        EXPECT_EQ(pid, number) << name;
    }
}

TEST(ParsePid, RejectsAnyOtherName) {
    for (const char* const name : {"", ".", "..", ".5", "self", "sys", "a1", "-", "+x", "-abc"}) {
        unsigned int pid = 77;
        EXPECT_FALSE(bParsePid(name, pid)) << name;
        EXPECT_EQ(pid, 77U);
    }
}

constexpr const char* kGoodLine =
    "4242 (prog) S 1 4242 4242 34816 4242 4194560 1000 2000 3 4 50 60 700 80 20 0 1 0 12345 678 90 1844674407370955\n";

TEST(ParseStatLine, ParsesNameStateAndTheChildrensTicks) {
    const DStatFigures figures = ParseStatLine(kGoodLine);
    EXPECT_EQ(figures.name, "prog");
    EXPECT_EQ(figures.state, 'S');
    EXPECT_EQ(figures.ticks, 780U);
}

TEST(ParseStatLine, CutsANameAtItsFirstBlankAndTakesTheNextOctetAsTheState) {
    const DStatFigures figures = ParseStatLine("7 (Web Z) S 1 2 3 4 5 6 7 8 9 10 11 12 13 14\n");
    EXPECT_EQ(figures.name, "We");
    EXPECT_EQ(figures.state, 'Z');
    EXPECT_EQ(figures.ticks, 0U) << "no number follows the state";
}

TEST(ParseStatLine, RemovesOnlyTheOutermostBracketsOfAName) {
    EXPECT_EQ(ParseStatLine("7 ((sd-pam)) S 1\n").name, "(sd-pam)");
    EXPECT_EQ(ParseStatLine("7 (a)(b) S 1\n").name, "a)(b");
    EXPECT_EQ(ParseStatLine("7 [x] S 1\n").name, "x");
}

TEST(ParseStatLine, KeepsTheRestOfAShortToken) {
    EXPECT_EQ(ParseStatLine("7 (x) S 1\n").name, "x");
    EXPECT_EQ(ParseStatLine("7 () S 1\n").name, "");
    EXPECT_EQ(ParseStatLine("7 ( S 1\n").name, "");
    EXPECT_EQ(ParseStatLine("7 ( S 1\n").state, 'S');
}

TEST(ParseStatLine, KeepsTheFirst255OctetsOfALongToken) {
    const std::string line = "7 (" + std::string(300, 'n') + ") R 1 2 3 4 5 6 7 8 9 10 11 12 13 14\n";
    const DStatFigures figures = ParseStatLine(line);
    EXPECT_EQ(figures.name, std::string(253, 'n'));
    EXPECT_EQ(figures.state, 'R') << "the token is consumed whole";
    EXPECT_EQ(figures.ticks, 27U);
}

TEST(ParseStatLine, ParsesNothingFromAMalformedLine) {
    for (const char* const line : {"", "\n", "abc", "(prog) S", "-"}) {
        const DStatFigures figures = ParseStatLine(line);
        EXPECT_EQ(figures.name, "") << line;
        EXPECT_EQ(figures.state, '\0') << line;
        EXPECT_EQ(figures.ticks, 0U) << line;
    }
}

TEST(ParseStatLine, AddsThoseOfTheTwoFiguresThatParse) {
    EXPECT_EQ(ParseStatLine("7 (x) S 1 2 3 4 5 6 7 8 9 10 11 12 100\n").ticks, 100U);
    EXPECT_EQ(ParseStatLine("7 (x) S 1 2 3 4 5 6 7 8 9 10 11 12 100 x\n").ticks, 100U);
    EXPECT_EQ(ParseStatLine("7 (x) S 1 2 3 4 5 6 7 8 9 10 11 x 100 200\n").ticks, 0U);
    EXPECT_EQ(ParseStatLine("7 (x) S 1 2 3 4 5 6 7 8 9 10 11 12 -5 3\n").ticks, 4294967294U);
}

TEST(ParseStatLine, WrapsASumBeyondThirtyTwoBits) {
    EXPECT_EQ(ParseStatLine("7 (x) S 1 2 3 4 5 6 7 8 9 10 11 12 4294967295 2\n").ticks, 1U);
    EXPECT_EQ(ParseStatLine("7 (x) S 1 2 3 4 5 6 7 8 9 10 11 12 9223372036854775807 9223372036854775807\n").ticks,
              4294967294U);
}

TEST(ParseStatLine, KeepsOctetsThatAreNotText) {
    EXPECT_EQ(ParseStatLine("7 (\xFF\xFE\x01) S 1\n").name, "\xFF\xFE\x01");
    EXPECT_EQ(ParseStatLine("7 (a\nb) S 1\n"s.substr(0, 6)).name, "") << "a line feed in a name ends the line";
    EXPECT_EQ(ParseStatLine("7 (ab\0cd) S"s).name, "a") << "so does a NUL";
}

/// The C library's result for the line.
struct Expected {
    char token[512] = "";
    char state = '\0';
    long first = 0;
    long second = 0;

    explicit Expected(const char* line) {
        std::sscanf(line, "%*d %511s %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*d %*d %ld %ld", token, &state, &first,
                    &second);
    }
    std::string Name() const {
        const std::string text = std::string(token).substr(0, 255);
        return text.size() > 2 ? text.substr(1, text.size() - 2) : "";
    }
    unsigned int Ticks() const { return static_cast<unsigned int>(first) + static_cast<unsigned int>(second); }
};

void ExpectAsScanf(const std::string& line) {
    const Expected expected(line.c_str());
    const DStatFigures figures = ParseStatLine(line);
    EXPECT_EQ(figures.name, expected.Name()) << line;
    EXPECT_EQ(figures.state, expected.state) << line;
    EXPECT_EQ(figures.ticks, expected.Ticks()) << line;
}

TEST(ParseStatLine, ReadsEveryTruncationOfAGoodLineAsScanfDoes) {
    const std::string good = kGoodLine;
    for (std::size_t length = 0; length <= good.size(); ++length) {
        ExpectAsScanf(good.substr(0, length));
    }
}

TEST(ParseStatLine, ReadsAGoodLineWithAnyOctetReplacedAsScanfDoes) {
    const std::string good = kGoodLine;
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (int octet = 0; octet < 256; ++octet) {
            std::string line = good;
            line[at] = static_cast<char>(octet);
            ExpectAsScanf(line);
        }
    }
}

TEST(ParseStatLine, ReadsRandomLinesAsScanfDoes) {
    static const char* const pieces[] = {" ",  " ", " ", "-", "+", "0",  "17", "9223372036854775808",
                                         "-5", "(", ")", "S", "x", "\t", "\n", "99999999999999999999999"};
    std::mt19937 random(7);
    for (int round = 0; round < 200'000; ++round) {
        std::string line = "12 (n) S ";
        for (auto count = random() % 40; count > 0; --count) {
            line += pieces[random() % std::size(pieces)];
        }
        ExpectAsScanf(line.substr(random() % 4));
    }
}

TEST(FormatParameters, ListsTheFurtherArgumentsEachFollowedByABlank) {
    EXPECT_EQ(Parameters({"/usr/bin/prog", "-a", "-b"}, "prog"), "-a -b ");
    EXPECT_EQ(Parameters({"prog", "-a", "-b"}, "prog"), "-a -b ");
    EXPECT_EQ(Parameters({"prog"}, "prog"), "");
    EXPECT_EQ(Parameters({}, "prog"), "");
}

TEST(FormatParameters, TakesARewrittenCommandLineAfterItsColon) {
    EXPECT_EQ(Parameters({"daemon: worker"}, "daemon"), " worker");
    EXPECT_EQ(Parameters({"daemon: worker: 2", "x"}, "daemon"), " worker: 2x ");
    EXPECT_EQ(Parameters({"daemon worker"}, "daemon"), "");
    EXPECT_EQ(Parameters({":"}, "daemon"), "");
}

TEST(FormatParameters, TakesTheLastWordOfARewrittenPath) {
    EXPECT_EQ(Parameters({"/usr/sbin/sshd -D listener"}, "sshd"), " listener");
    EXPECT_EQ(Parameters({"./run a: b"}, "run"), " b");
    EXPECT_EQ(Parameters({"/usr/bin/a:b"}, "b"), "");
    EXPECT_EQ(Parameters({"/path "}, "b"), " ");
}

TEST(FormatParameters, IgnoresAFirstArgumentThatIsTheName) {
    EXPECT_EQ(Parameters({"kworker/0:1", "x"}, "kworker/0:1"), "x ");
    EXPECT_EQ(Parameters({"a:b", "x"}, "a"), "bx ");
}

TEST(FormatParameters, EndsAtTheFirstEmptyArgument) {
    EXPECT_EQ(Parameters({"prog", "a", "", "b"}, "prog"), "a ");
    EXPECT_EQ(Parameters({"", "a"}, "prog"), "a ");
    EXPECT_EQ(Parameters({"prog", ""}, "prog"), "");
}

TEST(FormatParameters, ReplacesAnArgumentThatWouldExceed124OctetsWithDots) {
    EXPECT_EQ(Parameters({"prog", std::string(124, 'a')}, "prog"), std::string(124, 'a') + " ");
    EXPECT_EQ(Parameters({"prog", std::string(125, 'a')}, "prog"), "...");
    EXPECT_EQ(Parameters({"prog", std::string(60, 'a'), std::string(63, 'b'), "c"}, "prog"),
              std::string(60, 'a') + " " + std::string(63, 'b') + " ...");
    EXPECT_EQ(Parameters({"prog", std::string(60, 'a'), std::string(64, 'b'), "c"}, "prog"),
              std::string(60, 'a') + " ...");
    EXPECT_EQ(Parameters({"prog", std::string(123, 'a'), "b"}, "prog"), std::string(123, 'a') + " ...");
}

TEST(FormatParameters, DoesNotLimitARewrittenCommandLine) {
    EXPECT_EQ(Parameters({"x:" + std::string(400, 'y')}, "daemon"), std::string(400, 'y'));
    EXPECT_EQ(Parameters({"x:" + std::string(400, 'y'), "z"}, "daemon"), std::string(400, 'y') + "...");
}

TEST(FormatParameters, EndsWithTheBuffer) {
    EXPECT_EQ(Parameters({std::string(511, 'p')}, "prog"), "");
    EXPECT_EQ(Parameters({std::string(510, 'p'), "a"}, "prog"), "") << "the argument begins after the buffer";
    EXPECT_EQ(Parameters({std::string(509, 'p'), "ab"}, "prog"), "a ") << "it is cut at the end of the buffer";
    EXPECT_EQ(Parameters({std::string(100'000, 'p'), "ab"}, "prog"), "");
}

TEST(FormatParameters, KeepsALineFeedThatEndedTheReading) {
    EXPECT_EQ(FormatParameters("prog\0a\n"s, "prog").View(), "a\n ");
}

/// The rule as written for a zeroed buffer of 512 octets with the C library's string functions.
std::string ParametersInC(const std::string& read, const std::string& name) {
    char buffer[512] = {};
    std::copy_n(read.data(), std::min<std::size_t>(read.size(), 511), buffer);
    std::string parameters;
    if (name != buffer) {
        if (buffer[0] != '.' && buffer[0] != '/') {
            if (const char* const colon = std::strchr(buffer, ':')) {
                parameters += colon + 1;
            }
        } else if (const char* const blank = std::strrchr(buffer, ' ')) {
            parameters += blank;
        }
    }
    for (const char* at = buffer + std::strlen(buffer) + 1; at < buffer + sizeof buffer && *at != '\0';
         at += std::strlen(at) + 1) {
        if (std::strlen(at) + parameters.size() > 124) {
            return parameters + "...";
        }
        parameters += at;
        parameters += ' ';
    }
    return parameters;
}

TEST(FormatParameters, FollowsTheRuleOnRandomCommandLines) {
    std::mt19937 random(11);
    static const char letters[] = {'a', 'b', ':', '/', '.', ' ', '\0', '\0', '\n', '\xFF'};
    for (int round = 0; round < 50'000; ++round) {
        std::string read(random() % 520, '\0');
        for (char& octet : read) {
            octet = random() % 8 != 0 ? 'a' : letters[random() % sizeof letters];
        }
        read.resize(std::min<std::size_t>(read.size(), 511));
        const std::string start = read.substr(0, random() % 4);
        const std::string name = start.substr(0, start.find('\0'));
        EXPECT_EQ(FormatParameters(read, name).View(), ParametersInC(read, name));
    }
}

constexpr const char* kAfterName = " S 1 2 2 0 -1 4194560 100 200 3 4 50 60 7 8 20 0 1 0 ";

TEST(ParseStartTime, IsTheTwentySecondFieldWhateverTheNameHolds) {
    for (const char* const name :
         {"prog", "", "Web Content", "a)b(c", ") R 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 9 9", "two\nlines",
          "(((", "))) "}) {
        const std::string stat = "42 (" + std::string(name) + ")" + kAfterName;
        EXPECT_EQ(ParseStartTime(stat + "12345 6 7\n"), 12345U) << name;
        EXPECT_EQ(ParseStartTime(stat + "0 6\n"), 0U) << name;
        EXPECT_EQ(ParseStartTime(stat + "18446744073709551615\n"), 18446744073709551615U) << name;
    }
}

TEST(ParseStartTime, IsAbsentWhereTheFieldIsIncomplete) {
    const std::string whole = "42 (prog)" + std::string(kAfterName) + "12345 6 7\n";
    const std::size_t end = whole.find("12345") + 5;
    for (std::size_t length = 0; length <= end; ++length) {
        EXPECT_EQ(ParseStartTime(whole.substr(0, length)), std::nullopt) << length;
    }
    EXPECT_EQ(ParseStartTime(whole.substr(0, end + 1)), 12345U);
    for (const char* const other : {"-5 6\n", "x 6\n", " 6 7\n", "5x 6\n", "18446744073709551616 6\n"}) {
        EXPECT_EQ(ParseStartTime("42 (prog)" + std::string(kAfterName) + other), std::nullopt) << other;
    }
    EXPECT_EQ(ParseStartTime("no brackets at all, and many words in it: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15\n"),
              std::nullopt);
}

TEST(ParsePages, ParsesTheFirstNumber) {
    unsigned int pages = 77;
    EXPECT_TRUE(bParsePages("1234 56 7\n", pages));
    EXPECT_EQ(pages, 1234U);
    EXPECT_TRUE(bParsePages("4294967298", pages));
    EXPECT_EQ(pages, 2U);
    EXPECT_FALSE(bParsePages("", pages));
    EXPECT_FALSE(bParsePages("x 1", pages));
    EXPECT_EQ(pages, 2U);
}

}  // namespace
