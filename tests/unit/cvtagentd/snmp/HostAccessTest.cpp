// How long the verdict of hosts.allow and hosts.deny on a source address is cached.

#include "agent/cvtagentd/snmp/HostAccess.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <functional>

#include "tests/support/ScratchFolder.h"

namespace cvtagentd {
namespace {

using std::chrono::seconds;

HostAccess::Address V4(const char* text, in_port_t port = 0) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = port;
    EXPECT_EQ(::inet_pton(AF_INET, text, &address.sin_addr), 1);
    return HostAccess::Address::Of(reinterpret_cast<const sockaddr&>(address)).value();
}

HostAccess::Address V6(const char* text, std::uint32_t scope = 0) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_scope_id = scope;
    EXPECT_EQ(::inet_pton(AF_INET6, text, &address.sin6_addr), 1);
    return HostAccess::Address::Of(reinterpret_cast<const sockaddr&>(address)).value();
}

class HostAccessTest : public ::testing::Test {
protected:
    void ExpectForgottenAfter(const char* what, const std::function<void()>& change) {
        m_now += seconds(10);
        m_access.Verdict(V4("192.0.2.9"), m_now);  // reads the files
        m_access.Remember(V4("192.0.2.1"), true, m_now);
        change();
        EXPECT_EQ(m_access.Verdict(V4("192.0.2.1"), m_now + seconds(1)), std::nullopt) << what;
    }

    const ScratchFolder m_folder;
    const HostAccess::Clock::time_point m_begin = HostAccess::Clock::time_point() + seconds(1000);
    HostAccess::Clock::time_point m_now = m_begin;
    HostAccess m_access{{m_folder / "hosts.allow", m_folder / "hosts.deny"}};
};

TEST_F(HostAccessTest, RemembersEachAddressSeparately) {
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.1"), m_begin), std::nullopt);
    m_access.Remember(V4("192.0.2.1"), true, m_begin);
    m_access.Remember(V4("192.0.2.2"), false, m_begin);
    m_access.Remember(V6("fe80::1", 2), true, m_begin);
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.1", 4711), m_begin), true) << "from any port";
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.2"), m_begin), false);
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.3"), m_begin), std::nullopt);
    EXPECT_EQ(m_access.Verdict(V6("fe80::1", 2), m_begin), true);
    EXPECT_EQ(m_access.Verdict(V6("fe80::1", 3), m_begin), std::nullopt) << "another link";
    EXPECT_EQ(m_access.Verdict(V6("::ffff:192.0.2.1"), m_begin), std::nullopt) << "rules may tell it from 192.0.2.1";
}

TEST_F(HostAccessTest, ForgetsEverythingWithinASecondOfAChange) {
    ExpectForgottenAfter("creating a file", [this] { m_folder.Write("hosts.deny", "ALL: ALL\n"); });
    ExpectForgottenAfter("another size", [this] { m_folder.Write("hosts.deny", "ALL: 192.0.2.1\n"); });
    ExpectForgottenAfter("another file of the same size", [this] {
        m_folder.Write("new", "ALL: 192.0.2.2\n");
        std::filesystem::rename(m_folder / "new", m_folder / "hosts.deny");
    });
    ExpectForgottenAfter("removing it", [this] { std::filesystem::remove(m_folder / "hosts.deny"); });
    ExpectForgottenAfter("creating the other file", [this] { m_folder.Write("hosts.allow", ""); });
}

TEST_F(HostAccessTest, ChecksTheFilesAtMostOnceASecond) {
    m_access.Verdict(V4("192.0.2.1"), m_begin);
    m_access.Remember(V4("192.0.2.1"), true, m_begin);
    m_folder.Write("hosts.deny", "ALL: ALL\n");
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.1"), m_begin + std::chrono::milliseconds(999)), true);
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.1"), m_begin + seconds(1)), std::nullopt);
}

TEST_F(HostAccessTest, AsksAgainAfterAMinuteBecauseTheFilesMayNameHostsAndFiles) {
    m_access.Remember(V4("192.0.2.1"), true, m_begin);
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.1"), m_begin + seconds(59)), true);
    EXPECT_EQ(m_access.Verdict(V4("192.0.2.1"), m_begin + seconds(60)), std::nullopt);
}

TEST_F(HostAccessTest, KeepsABoundedNumberOfAddresses) {
    for (std::size_t i = 0; i < 3 * HostAccess::kMostAddresses; ++i) {
        const std::string address = "10.0." + std::to_string(i / 256) + "." + std::to_string(i % 256);
        m_access.Remember(V4(address.c_str()), true, m_begin);
        EXPECT_EQ(m_access.Verdict(V4(address.c_str()), m_begin), true);
    }
    EXPECT_EQ(m_access.Verdict(V4("10.0.0.0"), m_begin), std::nullopt);
}

TEST_F(HostAccessTest, HasNoVerdictOnASocketOfThisHost) {
    sockaddr local{};
    local.sa_family = AF_UNIX;
    EXPECT_EQ(HostAccess::Address::Of(local), std::nullopt);
}

}  // namespace
}  // namespace cvtagentd
