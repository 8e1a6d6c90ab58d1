#include "agent/cvtagentd/agentx/MasterAddress.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <string>

namespace cvtagentd {
namespace {

/// The address in words: "/PATH", "A.B.C.D PORT", "IPV6 PORT", "look up NAME PORT" with the family, or "invalid".
std::string Meaning(const std::string& text) {
    const MasterAddress address(text);
    if (!address.IsValid()) {
        return "invalid";
    }
    if (const MasterAddress::Host* const host = address.HostToLookUp(); host != nullptr) {
        return "look up " + host->name + " " + host->port + (host->family == AF_INET6 ? " in IPv6" : " in IPv4");
    }
    const SocketAddress& known = address.Known();
    char name[INET6_ADDRSTRLEN] = {};
    if (known.Get()->sa_family == AF_UNIX) {
        return reinterpret_cast<const sockaddr_un*>(known.Get())->sun_path;
    }
    if (known.Get()->sa_family == AF_INET6) {
        const auto& six = *reinterpret_cast<const sockaddr_in6*>(known.Get());
        ::inet_ntop(AF_INET6, &six.sin6_addr, name, sizeof name);
        return name + (" " + std::to_string(ntohs(six.sin6_port)));
    }
    const auto& four = *reinterpret_cast<const sockaddr_in*>(known.Get());
    ::inet_ntop(AF_INET, &four.sin_addr, name, sizeof name);
    return name + (" " + std::to_string(ntohs(four.sin_port)));
}

TEST(MasterAddress, NamesASocketByItsPath) {
    EXPECT_EQ(Meaning(""), "/var/agentx/master");
    EXPECT_EQ(Meaning("/run/master"), "/run/master");
    EXPECT_EQ(Meaning("/run/a:b"), "/run/a:b");
    EXPECT_EQ(Meaning("unix:/run/master"), "/run/master");
    EXPECT_EQ(Meaning("local:/run/master"), "/run/master");
    EXPECT_EQ(Meaning("run/master"), "run/master");
    EXPECT_EQ(Meaning("/" + std::string(106, 'x')), "/" + std::string(106, 'x'));
}

TEST(MasterAddress, NamesAHostByItsNumberOrNotAtAll) {
    EXPECT_EQ(Meaning("tcp:192.0.2.1:1705"), "192.0.2.1 1705");
    EXPECT_EQ(Meaning("tcp:192.0.2.1"), "192.0.2.1 705");
    EXPECT_EQ(Meaning("tcp:1705"), "127.0.0.1 1705");
    EXPECT_EQ(Meaning("tcp:"), "127.0.0.1 705");
    EXPECT_EQ(Meaning("tcp::1705"), "127.0.0.1 1705");
    EXPECT_EQ(Meaning("tcp6:[2001:db8::1]:1705"), "2001:db8::1 1705");
    EXPECT_EQ(Meaning("tcpv6:[::1]"), "::1 705");
    EXPECT_EQ(Meaning("tcp6:65535"), "::1 65535");
}

TEST(MasterAddress, LeavesANameToBeLookedUp) {
    EXPECT_EQ(Meaning("tcp:master.example:1705"), "look up master.example 1705 in IPv4");
    EXPECT_EQ(Meaning("tcp:master.example"), "look up master.example 705 in IPv4");
    EXPECT_EQ(Meaning("tcpipv6:master.example:1705"), "look up master.example 1705 in IPv6");
}

TEST(MasterAddress, RefusesEverythingElse) {
    for (const char* const text :
         {"carrier-pigeon:1:2", "unix:", "tcp:master.example:", "tcp:192.0.2.1:0", "tcp:192.0.2.1:65536",
          "tcp:192.0.2.1:99999999999", "tcp:192.0.2.1:http", "tcp:99999", "udp:192.0.2.1:705"}) {
        EXPECT_EQ(Meaning(text), "invalid") << text;
    }
    EXPECT_EQ(Meaning("/" + std::string(107, 'x')), "invalid");
}

}  // namespace
}  // namespace cvtagentd
