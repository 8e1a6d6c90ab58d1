// Which addresses hosts.allow and hosts.deny admit.

#include <sys/inotify.h>

#include <array>
#include <filesystem>

#include "tests/agent/AgentTest.h"
#include "tests/support/MadeUpHost.h"

namespace agent_test {
namespace {

constexpr const char* kSysUpTime = ".1.3.6.1.2.1.1.3.0";
constexpr const char* kAllowed = "/etc/hosts.allow";
constexpr const char* kDenied = "/etc/hosts.deny";

/// Notices when a file is opened.
class OpenWatch {
public:
    explicit OpenWatch(const char* file) : m_events(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
        EXPECT_GE(::inotify_add_watch(m_events, file, IN_OPEN), 0);
    }
    ~OpenWatch() { ::close(m_events); }
    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;

    /// Whether the file has been opened since the last call.
    bool Was() const {
        bool was = false;
        for (std::array<char, 1024> events{}; ::read(m_events, events.data(), events.size()) > 0;) {
            was = true;
        }
        return was;
    }

private:
    const int m_events;
};

class HostAccessTest : public AgentTest {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "no mount namespace on this machine";
        }
        if (!std::filesystem::exists(kAllowed) || !std::filesystem::exists(kDenied)) {
            GTEST_SKIP() << "no hosts.allow or hosts.deny on this machine to mount a file over";
        }
        m_host = std::make_unique<MadeUpHost>();
        m_host->Cover(kAllowed, "");
        m_host->Cover(kDenied, "ALL: 127.0.0.77\n");
        const std::string port = std::to_string(m_port);
        Arguments agent = {"--module", kTestModule,
                           "--listen", "tcp:127.0.0.1:" + port,
                           "--config", WriteConfig("rocommunity private 127.0.0.0/8\nrocommunity6 private ::1\n")};
        if (HasIpv6()) {
            agent = agent + Arguments{"--listen", "udp6:[::1]:" + port, "--listen", "tcp6:[::1]:" + port};
        }
        Start(agent);
    }
    void TearDown() override {
        AgentTest::TearDown();
        m_host.reset();
    }

    /// Whether the loopback address of IPv6 can be listened on.
    static bool HasIpv6() {
        const int probe = ::socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_addr = in6addr_loopback;
        const bool has = ::bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::close(probe);
        return has;
    }

    bool IsAnswered(const std::string& from, const std::string& transport = "udp") const {
        return Ask({"-t", "5", "--clientaddr=" + from}, transport + ":127.0.0.1:");
    }
    bool IsRefused(const std::string& from, const std::string& transport = "udp") const {
        return !Ask({"-t", "0.5", "--clientaddr=" + from}, transport + ":127.0.0.1:");
    }
    bool IsAnsweredOverIpv6(const std::string& transport) const { return Ask({"-t", "5"}, transport + ":[::1]:"); }
    bool IsRefusedOverIpv6(const std::string& transport) const { return !Ask({"-t", "0.5"}, transport + ":[::1]:"); }
    /// Once a change of the files takes effect.
    static void WaitForTheNextLook() { ::poll(nullptr, 0, 1'100); }

    std::unique_ptr<MadeUpHost> m_host;

private:
    /// `host`: with the colon before the port.
    bool Ask(const Arguments& options, const std::string& host) const {
        return Client("snmpget", Arguments{"-v2c", "-c", "private", "-r", "1"} + options +
                                     Arguments{host + std::to_string(m_port), kSysUpTime})
                   .status == 0;
    }
};

TEST_F(HostAccessTest, ARefusedAddressGetsNoAnswerOnTheFirstOrALaterTry) {
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_TRUE(IsRefused("127.0.0.77"));
    EXPECT_TRUE(IsRefused("127.0.0.77"));
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_TRUE(IsAnswered("127.0.0.1", "tcp"));
}

TEST_F(HostAccessTest, AChangedFileTakesEffectWithinASecond) {
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_TRUE(IsAnswered("127.0.0.1", "tcp"));
    EXPECT_TRUE(IsRefused("127.0.0.77"));
    m_host->Cover(kDenied, "ALL: 127.0.0.1\n");
    WaitForTheNextLook();
    EXPECT_TRUE(IsRefused("127.0.0.1"));
    EXPECT_TRUE(IsRefused("127.0.0.1", "tcp"));
    EXPECT_TRUE(IsAnswered("127.0.0.77"));
}

TEST_F(HostAccessTest, TheFilesAreReadOnceForSeveralRequestsFromOneAddress) {
    const OpenWatch allowed(kAllowed);
    const std::string ofIpv6 = "6";
    for (const std::string transport : {"udp", "udp6", "tcp", "tcp6"}) {
        if (transport.ends_with(ofIpv6) && !HasIpv6()) {
            continue;
        }
        const auto isAnswered = [&] {
            return transport.ends_with(ofIpv6) ? IsAnsweredOverIpv6(transport) : IsAnswered("127.0.0.1", transport);
        };
        EXPECT_TRUE(isAnswered()) << transport;
        const bool isFirstOfItsAddress = transport.starts_with("udp");
        EXPECT_EQ(allowed.Was(), isFirstOfItsAddress) << transport;
        EXPECT_TRUE(isAnswered()) << transport;
        EXPECT_FALSE(allowed.Was()) << transport << ": the verdict was not remembered";
    }
}

TEST_F(HostAccessTest, AChangedFileTakesEffectWithinASecondForIpv6Too) {
    if (!HasIpv6()) {
        GTEST_SKIP() << "no IPv6 on this machine";
    }
    for (const std::string transport : {"udp6", "tcp6"}) {
        EXPECT_TRUE(IsAnsweredOverIpv6(transport)) << transport;
    }
    m_host->Cover(kDenied, "ALL: [::1]\n");
    WaitForTheNextLook();
    for (const std::string transport : {"udp6", "tcp6"}) {
        EXPECT_TRUE(IsRefusedOverIpv6(transport)) << transport;
        EXPECT_TRUE(IsRefusedOverIpv6(transport)) << transport << ", by the remembered verdict";
    }
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
}

}  // namespace
}  // namespace agent_test
