#include "agent/cvtwalk/text/JsonText.h"

#include <gtest/gtest.h>

#include "tests/support/JsonValue.h"

namespace {

namespace JsonText = cvtwalk::JsonText;
using namespace std::string_view_literals;

TEST(CvtwalkJsonText, EscapesWhatJsonAndTerminalsDoNotTake) {
    EXPECT_EQ(JsonText::Quoted("plain"), R"("plain")");
    EXPECT_EQ(JsonText::Quoted(R"(a"b\c)"), R"("a\"b\\c")");
    EXPECT_EQ(JsonText::Quoted("\b\f\n\r\t\x1B\0\x7F"sv), R"("\b\f\n\r\t\u001b\u0000\u007f")");
    EXPECT_EQ(JsonText::Quoted("\xC2\x9B\xE2\x80\xAE"), R"("\u009b\u202e")");
    EXPECT_EQ(JsonText::Quoted("\xF3\xA0\x80\x81"), R"("\udb40\udc01")") << "U+E0001, as two code units";
    EXPECT_EQ(JsonText::Quoted("caf\xC3\xA9"), "\"caf\xC3\xA9\"");
}

TEST(CvtwalkJsonText, PutsTheReplacementCharacterForOctetsThatAreNotUtf8) {
    EXPECT_EQ(JsonText::Quoted("caf\xE9!"), "\"caf\xEF\xBF\xBD!\"");
    EXPECT_FALSE(JsonText::IsUtf8("caf\xE9!"));
    EXPECT_TRUE(JsonText::IsUtf8("\0\x1B caf\xC3\xA9"sv)) << "control characters lose nothing";
}

TEST(CvtwalkJsonText, IsValidJsonForEveryPairOfOctets) {
    std::string octets = "..";
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            octets[0] = static_cast<char>(first);
            octets[1] = static_cast<char>(second);
            ASSERT_TRUE(JsonValue::Read(JsonText::Quoted(octets))) << first << " " << second;
        }
    }
}

}  // namespace
