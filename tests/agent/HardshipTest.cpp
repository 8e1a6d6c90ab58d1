// What the agent survives: exhausted descriptors, a clock that jumps, malicious packets.

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <random>
#include <string_view>

#include "tests/agent/AgentTest.h"
#include "tests/support/Sanitizers.h"

namespace agent_test {
namespace {

const std::string kUpTime = ".1.3.6.1.2.1.1.3.0";
const std::string kEngineTime = ".1.3.6.1.6.3.10.2.1.3.0";
const std::string kHostDate = ".1.3.6.1.2.1.25.1.2.0";

using Packet = std::string;

/// A version 2c GET of sysUpTime. `id` has four octets.
Packet GetPacket(const std::string& community, std::string_view id) {
    const std::string ids(id);
    const Packet pdu =
        std::string("\xA0\x1C\x02\x04", 4) + ids +
        Packet("\x02\x01\x00\x02\x01\x00\x30\x0E\x30\x0C\x06\x08\x2B\x06\x01\x02\x01\x01\x03\x00\x05\x00", 22);
    const Packet body = Packet("\x02\x01\x01\x04", 4) + static_cast<char>(community.size()) + community + pdu;
    return Packet("\x30") + static_cast<char>(body.size()) + body;
}

/// The message by which a client discovers the engine of a version 3 agent.
Packet DiscoveryPacket() {
    return {
        "\x30\x3B\x02\x01\x03\x30\x0E\x02\x01\x11\x02\x03\x00\xFF\xE3\x04\x01\x04\x02\x01\x03\x04\x10\x30\x0E"
        "\x04\x00\x02\x01\x00\x02\x01\x00\x04\x00\x04\x00\x04\x00\x30\x14\x04\x00\x04\x00\xA0\x0E\x02\x04"
        "\x11\x11\x11\x11\x02\x01\x00\x02\x01\x00\x30\x00",
        61};
}

std::size_t Count(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size())) {
        ++count;
    }
    return count;
}

class HardshipTest : public AgentTest {
protected:
    ~HardshipTest() override { ::close(m_socket); }

    void SetUp() override {
        const timeval patience{20, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }

    int Port() const { return std::stoi(Udp().substr(Udp().rfind(':') + 1)); }
    sockaddr_in Address(int port) const {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    void Send(const Packet& packet) const {
        const sockaddr_in address = Address(Port());
        ::sendto(m_socket, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                 sizeof address);
    }
    /// Asks, and waits for the answer to this question: everything sent before has been processed by then.
    bool Answers() {
        std::array<char, 4> id{'\x22'};
        for (std::size_t digit = 1; digit < id.size(); ++digit) {
            id[digit] = static_cast<char>((m_questions >> (8 * (3 - digit))) & 0xFF);
        }
        ++m_questions;
        const std::string_view wanted(id.data(), id.size());
        Send(GetPacket("private", wanted));
        std::array<char, 65536> answer{};
        for (;;) {
            const ssize_t length = ::recv(m_socket, answer.data(), answer.size(), 0);
            if (length < 0) {
                return false;
            }
            if (std::string_view(answer.data(), static_cast<std::size_t>(length)).find(wanted) != std::string::npos) {
                return true;
            }
        }
    }
    void LimitDescriptors(rlim_t most) {
        rlimit limit{};
        ASSERT_EQ(::prlimit(Agent().Pid(), RLIMIT_NOFILE, nullptr, &limit), 0);
        limit.rlim_cur = most;
        ASSERT_EQ(::prlimit(Agent().Pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    }
    long Number(const std::string& oid) const { return std::atol(V2c("snmpget", {oid}, {"-Oqvt"}).output.c_str()); }

private:
    const int m_socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    unsigned int m_questions = 0;
};

TEST_F(HardshipTest, AFullDescriptorTableIsSurvived) {
    const int tcpPort = FreePort();
    StartWritable({"--module", kMainModule, "--listen", "tcp:127.0.0.1:" + std::to_string(tcpPort)});
    LimitDescriptors(3);
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("the configuration stays as it was: ")) << Log();
    const int waiting = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Address(tcpPort);
    EXPECT_EQ(::connect(waiting, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(Agent().WaitForOutput("no file descriptor is free")) << Log();
    LimitDescriptors(1024);
    ::close(waiting);
    EXPECT_TRUE(Answers());
    EXPECT_EQ(V2c("snmpget", {kMemorySize}).status, 0);
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_EQ(Count(Log(), "no file descriptor is free"), 1U) << Log();
}

TEST_F(HardshipTest, AStateFolderThatIsRemovedIsReportedAndTheAgentServesOn) {
    StartWritable({"--module", kMainModule});
    std::filesystem::remove_all(m_scratch / "state");
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("the state directory has been removed")) << Log();
    EXPECT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_EQ(V2c("snmpget", {kMemorySize}).status, 0);
    Agent().Signal(SIGTERM);
    EXPECT_EQ(Agent().Wait(), 0) << Log();
    EXPECT_NE(Log().find("cvtagentd: ended\n"), std::string::npos) << Log();
}

TEST_F(HardshipTest, AClockThatJumpsLeavesTheUpTimeAndVersion3Alone) {
    if (kIsSanitized) {
        GTEST_SKIP() << "a sanitizer's own calls would end up in the preloaded clock";
    }
    const std::string jump = m_scratch / "jump";
    Start({"--module", kMainModule, "--config",
           WriteConfig("rocommunity private 127.0.0.1\ncreateUser me SHA-256 \"long enough\" AES\nrouser me priv\n")},
          {"LD_PRELOAD=" CVHOST_CLOCK_JUMP, "CLOCK_JUMP_FILE=" + jump});
    const auto begin = std::chrono::steady_clock::now();
    const long upTime = Number(kUpTime);
    const long engineTime = Number(kEngineTime);
    const std::string date = Get(kHostDate);
    const std::size_t yearEnd = (kHostDate + " = Hex-STRING: 07 EA").size();
    for (const char* const seconds : {"400000000", "-400000000"}) {
        m_scratch.Write("jump", seconds);
        const std::string jumped = Get(kHostDate);
        EXPECT_NE(jumped.substr(0, yearEnd), date.substr(0, yearEnd)) << "the clock did not jump";
        const long now = Number(kUpTime);
        const std::chrono::duration<double, std::centi> passed = std::chrono::steady_clock::now() - begin;
        EXPECT_GE(now, upTime);
        EXPECT_LE(static_cast<double>(now - upTime), passed.count() + 1);
        EXPECT_GE(Number(kEngineTime), engineTime);
        EXPECT_LE(static_cast<double>(Number(kEngineTime) - engineTime), passed.count() / 100 + 20);
        const Outcome sealed = Client("snmpget", {"-v3", "-l", "authPriv", "-u", "me", "-a", "SHA-256", "-A",
                                                  "long enough", "-x", "AES", "-X", "long enough", Udp(), kMemorySize});
        EXPECT_EQ(sealed.status, 0) << sealed.output;
    }
}

TEST_F(HardshipTest, AGroupThatFailsToInitialiseIsNamedAndTheOthersAreServed) {
    Start({"--module", kTestModule}, {"AGENT_TEST_MODULE=throw"}, "failed to initialise");
    EXPECT_NE(
        Log().find(
            "error: failed to initialise, and will not be served until the agent is restarted: AGENT-TEST-MIB.outer\n"),
        std::string::npos)
        << Log();
    m_community = "public";
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    EXPECT_EQ(Get(kInner + "2.1"), kInner + "2.1 = INTEGER: 10\n");
}

TEST_F(HardshipTest, PacketsOfRandomOctetsDoNoHarm) {
    StartWritable();
    std::mt19937 random(4711);  // NOLINT(cert-msc51-cpp): because a failure must come again
    std::uniform_int_distribution<int> octet(0, 255);
    std::uniform_int_distribution<std::size_t> length(0, 300);
    for (int number = 1; number <= 10000; ++number) {
        Packet packet(length(random), '\0');
        std::generate(packet.begin(), packet.end(), [&] { return static_cast<char>(octet(random)); });
        if (number % 2 == 0 && packet.size() > 2) {  // begins like a message
            packet[0] = '\x30';
            packet[1] = static_cast<char>(std::min<std::size_t>(packet.size() - 2, 127));
        }
        Send(packet);
        ASSERT_TRUE(number % 100 != 0 || Answers()) << number << ": " << Log();
    }
    EXPECT_LT(Count(Log(), "\n"), 50U) << Log();
}

TEST_F(HardshipTest, TruncatedAndGarbledMessagesDoNoHarm) {
    StartWritable();
    std::mt19937 random(4711);  // NOLINT(cert-msc51-cpp): because a failure must come again
    std::uniform_int_distribution<int> octet(0, 255);
    for (const Packet& good : {GetPacket("private", "\x11\x11\x11\x11"), DiscoveryPacket()}) {
        for (std::size_t length = 0; length < good.size(); ++length) {
            Send(good.substr(0, length));
        }
        ASSERT_TRUE(Answers()) << Log();
        for (std::size_t place = 0; place < good.size(); ++place) {
            for (int tries = 0; tries < 20; ++tries) {
                Packet garbled = good;
                garbled[place] = static_cast<char>(octet(random));
                Send(garbled);
            }
            ASSERT_TRUE(Answers()) << place << ": " << Log();
        }
    }
    EXPECT_LT(Count(Log(), "\n"), 50U) << Log();
}

TEST_F(HardshipTest, AWrongCommunityIsLoggedWithItsOriginAFewTimesAMinute) {
    StartWritable();
    for (int number = 1; number <= 1000; ++number) {
        Send(GetPacket("guessed", "\x11\x11\x11\x11"));
        ASSERT_TRUE(number % 100 != 0 || Answers()) << Log();
    }
    const std::size_t lines = Count(Log(), "refused, unknown community: SNMPv2c from 127.0.0.1\n");
    EXPECT_GE(lines, 3U) << Log();
    EXPECT_LT(lines, 100U) << "more than a few a minute";
}

TEST_F(HardshipTest, AWrongPassPhraseIsLoggedAFewTimesAMinute) {
    Start(
        {"--module", kTestModule, "--config", WriteConfig("createUser me SHA-256 \"long enough\"\nrouser me auth\n")});
    constexpr int kTries = 20;
    for (int number = 0; number < kTries; ++number) {
        EXPECT_EQ(Client("snmpget", {"-v3", "-l", "authNoPriv", "-u", "me", "-a", "SHA-256", "-A", "wrong phrase",
                                     Udp(), kValues + "1.0"})
                      .status,
                  1);
    }
    const std::size_t lines =
        Count(Log(), "refused, wrong authentication pass phrase or protocol: SNMPv3 from 127.0.0.1, user me\n");
    EXPECT_GE(lines, 1U) << Log();
    EXPECT_LT(lines, static_cast<std::size_t>(kTries)) << Log();
}

}  // namespace
}  // namespace agent_test
