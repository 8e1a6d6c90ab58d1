#include "CVT/BOctetString.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace CVT {
namespace {

using namespace std::string_view_literals;

TEST(BOctetString, UsesTheTextsOwnLengthWhenTheLengthIsZero) {
    EXPECT_EQ(BOctetString("0", 0).View(), "0"sv);
    EXPECT_EQ(BOctetString("localhost", 0).View(), "localhost"sv);
    EXPECT_TRUE(BOctetString("", 0).IsEmpty());
}

TEST(BOctetString, UsesExactlyTheGivenLength) {
    EXPECT_EQ(BOctetString("a\0b\xff", 4).View(), "a\0b\xff"sv);
    EXPECT_EQ(BOctetString("abc", 2).View(), "ab"sv);
    EXPECT_TRUE(BOctetString(nullptr, 5).IsEmpty());
    EXPECT_TRUE(BOctetString(nullptr, 0).IsEmpty());
}

TEST(BOctetString, AssignsARangeOfPointers) {
    const char text[] = "one two";
    BOctetString octets;
    octets.Assign(text + 4, text + 7);
    EXPECT_EQ(octets.View(), "two"sv);
    octets.Assign(text, text);
    EXPECT_TRUE(octets.IsEmpty());
}

TEST(BOctetString, IsEmptyAfterANullOrReversedRange) {
    const char text[] = "text";
    for (const auto& [begin, end] :
         {std::pair(static_cast<const char*>(nullptr), text + 0),
          std::pair(text + 0, static_cast<const char*>(nullptr)), std::pair(text + 3, text + 1)}) {
        BOctetString octets("before"sv);
        octets.Assign(begin, end);
        EXPECT_TRUE(octets.IsEmpty());
    }
}

TEST(BOctetString, ReturnsAnOctetAsAnUnsignedNumberAndZeroBeyondTheEnd) {
    const BOctetString octets("\x00\x7f\x80\xff"sv);
    EXPECT_EQ(octets.Length(), 4U);
    EXPECT_EQ(octets[0], 0U);
    EXPECT_EQ(octets[1], 127U);
    EXPECT_EQ(octets[2], 128U);
    EXPECT_EQ(octets[3], 255U);
    EXPECT_EQ(octets[4], 0U);
    EXPECT_EQ(octets[4294967295U], 0U);
    EXPECT_EQ(octets.Data()[3], 255);
}

TEST(BOctetString, SurvivesAssignmentToItself) {
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{3}, std::size_t{15}, std::size_t{16}, std::size_t{5000}}) {
        const std::string text(length, 'x');
        BOctetString octets{std::string_view(text)};
        BOctetString& same = octets;
        octets = same;
        EXPECT_EQ(octets.View(), text);
        octets.Append(same);
        EXPECT_EQ(octets.View(), text + text);
        octets.Assign(octets.View().substr(length));
        EXPECT_EQ(octets.View(), text);
        octets.Append(octets.View());
        EXPECT_EQ(octets.View(), text + text);
    }
}

TEST(BOctetString, ReadsHexadecimalText) {
    BOctetString octets("before"sv);
    EXPECT_TRUE(octets.AssignFromHexString("00fF7a"));
    EXPECT_EQ(octets.View(), "\x00\xff\x7a"sv);
    EXPECT_TRUE(octets.AssignFromHexString("de:AD be  ef"));
    EXPECT_EQ(octets.View(), "\xde\xad\xbe\xef"sv);
    EXPECT_TRUE(octets.AssignFromHexString(""));
    EXPECT_TRUE(octets.IsEmpty());
}

TEST(BOctetString, IsEmptyAfterMalformedHexadecimalText) {
    for (const char* text : {"0", "000", "0g", "g0", "0 0", "0:0", "00 1", "-1", "0x00", "00,00", "00\n", "\xc3\xa4"}) {
        BOctetString octets("before"sv);
        EXPECT_FALSE(octets.AssignFromHexString(text)) << '"' << text << '"';
        EXPECT_TRUE(octets.IsEmpty()) << '"' << text << '"';
    }
    BOctetString octets("before"sv);
    EXPECT_FALSE(octets.AssignFromHexString(nullptr));
    EXPECT_TRUE(octets.IsEmpty());
}

TEST(BOctetString, ComparesWithTextByLengthAndOctets) {
    EXPECT_TRUE(BOctetString("abc"sv) == BString("abc"));
    EXPECT_FALSE(BOctetString("abc\0"sv) == BString("abc"));
    EXPECT_TRUE(BOctetString("abc\0"sv) == BString("abc\0", 4));
    EXPECT_TRUE(BOctetString() == BString());
    EXPECT_TRUE(BOctetString("a"sv) == BOctetString("a"sv));
    EXPECT_FALSE(BOctetString("a"sv) == BOctetString("A"sv));
}

}  // namespace
}  // namespace CVT
