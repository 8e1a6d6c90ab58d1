#include "CVT/BIpAddress.h"

#include <gtest/gtest.h>

#include <array>
#include <string_view>

namespace CVT {
namespace {

TEST(BIpAddress, IsEmptyAtFirst) {
    const BIpAddress address;
    EXPECT_TRUE(address.IsEmpty());
    EXPECT_EQ(address.ToString().View(), "");
    EXPECT_EQ(address.Octets(), (std::array<unsigned char, 4>{}));
}

TEST(BIpAddress, ReadsDottedDecimalText) {
    BIpAddress address;
    EXPECT_TRUE(address.AssignFromDottedDecimalStr("127.0.0.1"));
    EXPECT_EQ(address.Octets(), (std::array<unsigned char, 4>{127, 0, 0, 1}));
    EXPECT_TRUE(address.AssignFromDottedDecimalStr("255.255.255.255"));
    EXPECT_EQ(address.ToString().View(), "255.255.255.255");
}

TEST(BIpAddress, DistinguishesTheAddressZeroFromNone) {
    BIpAddress address;
    EXPECT_TRUE(address.AssignFromDottedDecimalStr("0.0.0.0"));
    EXPECT_FALSE(address.IsEmpty());
    EXPECT_EQ(address.ToString().View(), "0.0.0.0");
}

TEST(BIpAddress, IsEmptyAfterMalformedText) {
    for (const char* text : {"", "127", "127.0.0", "127.0.0.1.1", "256.0.0.1", "1.2.3.4294967297", "1.2.3.-4",
                             "a.b.c.d", "1.2.3.4 ", " 1.2.3.4", "1..3.4", "1.2.3.4.", "::1"}) {
        BIpAddress address;
        EXPECT_TRUE(address.AssignFromDottedDecimalStr("127.0.0.1"));
        EXPECT_FALSE(address.AssignFromDottedDecimalStr(text)) << text;
        EXPECT_TRUE(address.IsEmpty()) << text;
        EXPECT_EQ(address.Octets(), (std::array<unsigned char, 4>{})) << text;
    }
    BIpAddress address;
    EXPECT_FALSE(address.AssignFromDottedDecimalStr(nullptr));
    EXPECT_TRUE(address.IsEmpty());
}

}  // namespace
}  // namespace CVT
