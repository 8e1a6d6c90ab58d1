#include "agent/cvtwalk/text/Utf8.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using cvtwalk::Utf8;

std::vector<char32_t> All(std::string_view octets) {
    std::vector<char32_t> characters;
    for (Utf8 text(octets); !text.AtEnd();) {
        characters.push_back(text.Next());
    }
    return characters;
}

TEST(CvtwalkUtf8, ReadsCharactersOfOneToFourOctets) {
    EXPECT_EQ(All("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), (std::vector<char32_t>{'a', 0xE9, 0x20AC, 0x1F600}));
    EXPECT_TRUE(All("").empty());
}

TEST(CvtwalkUtf8, GivesEachOctetOfAWrongSequenceByItself) {
    const char32_t bad = Utf8::kBad;
    EXPECT_EQ(All("\xFFz"), (std::vector<char32_t>{bad, 'z'}));
    EXPECT_EQ(All("\x80"), (std::vector<char32_t>{bad}));
    EXPECT_EQ(All("\xE2\x82"), (std::vector<char32_t>{bad, bad})) << "cut off";
    EXPECT_EQ(All("\xC3z"), (std::vector<char32_t>{bad, 'z'}));
    EXPECT_EQ(All("\xC0\xAF"), (std::vector<char32_t>{bad, bad})) << "overlong";
    EXPECT_EQ(All("\xE0\x80\xAF"), (std::vector<char32_t>{bad, bad, bad})) << "overlong";
    EXPECT_EQ(All("\xED\xA0\x80"), (std::vector<char32_t>{bad, bad, bad})) << "a surrogate";
    EXPECT_EQ(All("\xF4\x90\x80\x80"), (std::vector<char32_t>{bad, bad, bad, bad})) << "above U+10FFFF";
}

TEST(CvtwalkUtf8, ReadsEveryCharacterThatIsCutAnywhereToItsEnd) {
    const std::string good = "\xF0\x9F\x98\x80";
    for (std::size_t length = 1; length < good.size(); ++length) {
        EXPECT_EQ(All(good.substr(0, length)), std::vector<char32_t>(length, Utf8::kBad)) << length;
    }
}

TEST(CvtwalkUtf8, FindsPrintableWhatATerminalShowsAsText) {
    for (const char* const good : {"", "plain text", "caf\xC3\xA9", "\xE6\x97\xA5\xE6\x9C\xAC", "\xF0\x9F\x98\x80"}) {
        EXPECT_TRUE(Utf8::IsPrintable(std::string_view(good))) << good;
    }
}

TEST(CvtwalkUtf8, FindsUnprintableWhatCouldDisturbATerminal) {
    using namespace std::string_view_literals;
    for (const std::string_view bad : {"\0"sv, "a\tb"sv, "\n"sv, "\x1B[0m"sv, "\x7F"sv, "\xC2\x9B"sv, "\xE2\x80\xA8"sv,
                                       "\xE2\x80\xAE"sv, "\xE2\x81\xA6"sv, "\xEF\xBB\xBF"sv, "\xE9"sv}) {
        EXPECT_FALSE(Utf8::IsPrintable(bad)) << testing::PrintToString(std::string(bad));
    }
}

TEST(CvtwalkUtf8, CountsThePlacesOnATerminal) {
    EXPECT_EQ(Utf8::Width(""), 0U);
    EXPECT_EQ(Utf8::Width("caf\xC3\xA9"), 4U);
    EXPECT_EQ(Utf8::Width("e\xCC\x81"), 1U) << "a combining accent";
    EXPECT_EQ(Utf8::Width("\xE6\x97\xA5\xE6\x9C\xAC"), 4U);
    EXPECT_EQ(Utf8::Width("\xF0\x9F\x98\x80"), 2U);
}

}  // namespace
