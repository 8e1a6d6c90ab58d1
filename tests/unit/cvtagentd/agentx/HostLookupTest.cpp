#include "agent/cvtagentd/agentx/HostLookup.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>

#include <string>

namespace cvtagentd {
namespace {

bool IsReadable(int descriptor, int milliseconds) {
    pollfd readable{descriptor, POLLIN, 0};
    return ::poll(&readable, 1, milliseconds) == 1;
}

TEST(HostLookup, FindsTheAddressAndWakesItsOwnerOnce) {
    HostLookup lookup;
    EXPECT_FALSE(IsReadable(lookup.Descriptor(), 0));
    EXPECT_FALSE(lookup.Take().has_value());
    for (int times = 0; times < 2; ++times) {
        ASSERT_TRUE(lookup.Begin({"localhost", "1705", AF_INET}));
        ASSERT_TRUE(IsReadable(lookup.Descriptor(), 60'000));
        const auto found = lookup.Take();
        ASSERT_TRUE(found.has_value());
        ASSERT_FALSE(found->addresses.empty()) << found->error;
        const auto& address = *reinterpret_cast<const sockaddr_in*>(found->addresses.front().Get());
        EXPECT_EQ(found->addresses.front().length, sizeof address);
        EXPECT_EQ(address.sin_family, AF_INET);
        EXPECT_EQ(ntohs(address.sin_port), 1705);
        EXPECT_EQ(ntohl(address.sin_addr.s_addr), INADDR_LOOPBACK);
        EXPECT_FALSE(IsReadable(lookup.Descriptor(), 0));
        EXPECT_FALSE(lookup.Take().has_value());
    }
}

TEST(HostLookup, SaysWhyAHostHasNoAddress) {
    HostLookup lookup;
    ASSERT_TRUE(lookup.Begin({std::string(300, 'x'), "705", AF_INET}));  // longer than any name may be
    ASSERT_TRUE(IsReadable(lookup.Descriptor(), 60'000));
    const auto found = lookup.Take();
    ASSERT_TRUE(found.has_value());
    EXPECT_TRUE(found->addresses.empty());
    EXPECT_FALSE(found->error.empty());
}

TEST(HostLookup, MayEndBeforeTheLookupIsOver) {
    for (int times = 0; times < 20; ++times) {
        HostLookup lookup;
        ASSERT_TRUE(lookup.Begin({"localhost", "705", AF_INET}));
    }
}

}  // namespace
}  // namespace cvtagentd
