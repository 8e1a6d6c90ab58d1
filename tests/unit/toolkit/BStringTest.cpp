#include "CVT/BString.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace CVT {
namespace {

using namespace std::string_view_literals;

TEST(BString, CountsEmbeddedNuls) {
    const BString text("a\0b", 3);
    EXPECT_EQ(text.Strlen(), 3U);
    EXPECT_EQ(text.View(), "a\0b"sv);
    EXPECT_EQ(text.c_str()[3], '\0');
}

TEST(BString, TreatsANullPointerAsTheEmptyText) {
    BString text(nullptr);
    EXPECT_EQ(text.Strlen(), 0U);
    text.Append(nullptr);
    text.Append(nullptr, 4);
    EXPECT_EQ(text.View(), ""sv);
    text.Assign("x");
    text.Assign(nullptr, 4);
    EXPECT_EQ(text.View(), ""sv);
    text.Assign("x");
    text.Assign(nullptr);
    EXPECT_EQ(text.View(), ""sv);
    EXPECT_EQ(BString(nullptr, 9).Strlen(), 0U);
}

TEST(BString, AssignsAndAppends) {
    BString text;
    text.Assign("hr");
    text.Append("System");
    text.Append("Uptimes", 6);
    text.Append(BString("\0!", 2));
    EXPECT_EQ(text.View(), "hrSystemUptime\0!"sv);
    text.Init();
    EXPECT_EQ(text.Strlen(), 0U);
}

TEST(BString, SurvivesAssignmentToItself) {
    for (const std::size_t length : {std::size_t{3}, std::size_t{15}, std::size_t{16}, std::size_t{5000}}) {
        const std::string letters(length, 'x');
        BString text(letters.c_str());
        BString& same = text;
        text.Append(same);
        EXPECT_EQ(text.View(), letters + letters);
        text.Append(text.c_str(), 1);
        EXPECT_EQ(text.Strlen(), 2 * length + 1);
        text.Assign(text.c_str() + length + 1);
        EXPECT_EQ(text.View(), letters);
        text = same;
        EXPECT_EQ(text.View(), letters);
    }
}

TEST(BString, ComparesOctetsAsUnsigned) {
    EXPECT_LT(BString("a").compare(BString("b")), 0);
    EXPECT_GT(BString("\xe4").compare(BString("z")), 0);
    EXPECT_LT(BString("a").compare(BString("a\0", 2)), 0);
    EXPECT_EQ(BString("a\0b", 3).compare(BString("a\0b", 3)), 0);
    EXPECT_NE(BString("a"), BString("A"));
}

}  // namespace
}  // namespace CVT
