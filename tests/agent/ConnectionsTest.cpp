// Limits on stream connections, and what they must not change for honest clients.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/snmp/Connections.h"
#include "tests/agent/AgentTest.h"
#include "tests/agent/StreamClient.h"

namespace agent_test {
namespace {

using cvtagentd::Connections;
using cvtagentd::StreamFraming;

constexpr int kPatienceMs = 20000;

/// In pieces of a request, a tag, a length and the content.
std::string Field(char tag, const std::string& content) {
    std::string field(1, tag);
    if (content.size() >= 0x80) {
        field += '\x82';
        field += static_cast<char>(content.size() >> 8U);
    }
    return field + static_cast<char>(content.size() & 0xFFU) + content;
}

/// A GET of sysUpTime, of community "public". Its varbind carries a string of `padding` octets, which the agent
/// ignores.
std::string GetMessage(char version, std::size_t padding = 0) {
    const std::string upTime("\x2B\x06\x01\x02\x01\x01\x03\x00", 8);
    const std::string varBinds = Field('\x30', Field('\x06', upTime) + Field('\x04', std::string(padding, 'x')));
    const std::string numbers("\x02\x01\x07\x02\x01\x00\x02\x01\x00", 9);
    return Field('\x30', Field('\x02', std::string(1, version)) + Field('\x04', "public") +
                             Field('\xA0', numbers + Field('\x30', varBinds)));
}

const std::string kGet = GetMessage('\1');
const std::string kHalf = kGet.substr(0, kGet.size() / 2);

class ConnectionsTest : public AgentTest {
protected:
    ConnectionsTest() { m_community = "public"; }

    /// With listeners of each kind, and access from everywhere.
    void StartStreams(const Arguments& limit = {}) {
        m_command = limit + m_command;
        Start({"--listen", "tcp:127.0.0.1:" + std::to_string(m_tcp), "--listen", "tcp6:[::1]:" + std::to_string(m_tcp),
               "--listen", "unix:" + m_file, "--config",
               WriteConfig("rocommunity public\nrocommunity6 public\n"
                           "com2secunix local default public\ngroup all v2c local\n"
                           "view all included .1\naccess all \"\" any noauth exact all none none\n"
                           "createUser me SHA-256 \"long enough\" AES\nrouser me priv\n")});
    }

    static std::string HostAt(std::size_t number) { return "127.0.1." + std::to_string(number); }

    /// Each sends half a message.
    static std::vector<StreamClient> HalfMessages(std::size_t count,
                                                  const std::function<StreamClient(std::size_t)>& connect) {
        std::vector<StreamClient> clients;
        for (std::size_t number = 1; number <= count; ++number) {
            clients.push_back(connect(number));
            EXPECT_TRUE(clients.back().IsOpen()) << number;
            clients.back().Send(kHalf);
        }
        return clients;
    }

    std::size_t NumDescriptors() {
        const std::string folder = "/proc/" + std::to_string(Agent().Pid()) + "/fd";
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    /// Whether the agent soon has at most so many descriptors more than `before`.
    bool HasAtMost(std::size_t more, std::size_t before) {
        for (int tries = 0; NumDescriptors() > before + more; ++tries) {
            if (tries == 400) {
                return false;
            }
            ::poll(nullptr, 0, 50);
        }
        return true;
    }
    /// In KiB.
    long MostMemory() {
        std::ifstream status("/proc/" + std::to_string(Agent().Pid()) + "/status");
        for (std::string word; status >> word;) {
            if (word == "VmHWM:") {
                long memory = 0;
                status >> memory;
                return memory;
            }
        }
        ADD_FAILURE() << "no VmHWM";
        return 0;
    }

    /// What must still work under hundreds of half messages: UDP, the module's files, and new stream connections.
    void ExpectUnharmed(const std::function<StreamClient(std::size_t)>& connect, std::size_t most) {
        const std::size_t before = NumDescriptors();
        const std::vector<StreamClient> clients = HalfMessages(300, connect);
        EXPECT_NE(Get(kMemorySize).find("INTEGER: "), std::string::npos) << Log();
        EXPECT_TRUE(connect(1).IsAnswered(kGet)) << Log();
        EXPECT_TRUE(HasAtMost(most, before)) << NumDescriptors();
        EXPECT_TRUE(clients.front().IsClosed(kPatienceMs));
        EXPECT_NE(Get(kMemorySize).find("INTEGER: "), std::string::npos) << Log();
    }

    const int m_tcp = FreePort();
    const std::string m_file = m_scratch / "socket";
    const Arguments m_fewDescriptors = {"prlimit", "--nofile=256"};
};

TEST_F(ConnectionsTest, AMessagesClaimedLengthTakesNoMemory) {
    StartStreams();
    ASSERT_TRUE(StreamClient(m_tcp).IsAnswered(kGet));
    const long before = MostMemory();
    const StreamClient client(m_tcp);
    ASSERT_TRUE(client.Send({"\x30\x84\x7F\x00\x00\x00", 6}));  // two gigabytes
    const std::string piece(1 << 16, 'x');
    int pieces = 0;
    while (pieces < 1024 && client.Send(piece)) {
        ++pieces;
    }
    EXPECT_LT(pieces, 1024);
    EXPECT_TRUE(Agent().WaitForOutput("warning: too long a message came from 127.0.0.1: closed its connection"));
    EXPECT_LT(MostMemory() - before, 16 * 1024);
}

TEST_F(ConnectionsTest, AMessageMayHave65535OctetsAndNoMore) {
    StartStreams();
    const std::string longest = GetMessage('\1', 65485);
    ASSERT_EQ(longest.size(), StreamFraming::kLongestMessage);
    EXPECT_TRUE(StreamClient(m_tcp).IsAnswered(longest));
    EXPECT_TRUE(StreamClient::OverFile(m_file).IsAnswered(longest));
    const StreamClient client(m_tcp);
    ASSERT_TRUE(client.Send({"\x30\x83\x00\xFF\xFB", 5}));
    EXPECT_TRUE(client.IsClosed(kPatienceMs));
    const StreamClient indefinite = StreamClient::OverTcp6(m_tcp);
    ASSERT_TRUE(indefinite.Send({"\x30\x80", 2}));
    EXPECT_TRUE(indefinite.IsClosed(kPatienceMs));
    EXPECT_TRUE(Agent().WaitForOutput("warning: no SNMP message came from ::1: closed its connection")) << Log();
}

TEST_F(ConnectionsTest, AnIncompleteMessageEndsItsConnectionHoweverSlowlyItDripsIn) {
    StartStreams();
    const auto begin = std::chrono::steady_clock::now();
    std::vector<StreamClient> silent;
    silent.emplace_back(m_tcp);
    silent.push_back(StreamClient::OverTcp6(m_tcp));
    silent.push_back(StreamClient::OverFile(m_file));
    for (const StreamClient& client : silent) {
        ASSERT_TRUE(client.Send(kGet + kHalf));  // one is answered, and does not count for the next
        ASSERT_EQ(StreamClient::CountMessages(client.ReadMessages(1)), 1);
    }
    const StreamClient idle(m_tcp);
    const StreamClient answered(m_tcp);
    ASSERT_TRUE(answered.IsAnswered(kGet));
    const StreamClient steady(m_tcp);  // each of its messages is complete in time, and the next one begun
    ASSERT_TRUE(steady.Send(kHalf));
    const StreamClient dripping(m_tcp);
    ASSERT_TRUE(dripping.Send({"\x30\x82\xF0\x00", 4}));
    int octets = 0;
    while (octets < 200 && dripping.Send("x")) {
        EXPECT_TRUE(steady.Send(kGet.substr(kHalf.size()) + kHalf)) << octets;
        ++octets;
        ::poll(nullptr, 0, 100);
    }
    EXPECT_LT(octets, 200);
    for (const StreamClient& client : silent) {
        EXPECT_TRUE(client.IsClosed(kPatienceMs));
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, Connections::kMessageTime);
    EXPECT_TRUE(Agent().WaitForOutput("warning: an incomplete message came from user " + std::to_string(::getuid()) +
                                      ": closed its connection after 5 s"))
        << Log();
    EXPECT_EQ(StreamClient::CountMessages(steady.ReadMessages(octets)), octets);
    EXPECT_TRUE(idle.IsAnswered(kGet));
    EXPECT_TRUE(answered.IsAnswered(kGet));
}

TEST_F(ConnectionsTest, HalfMessagesFromOneHostHarmNoOtherClient) {
    StartStreams(m_fewDescriptors);
    ExpectUnharmed([&](std::size_t) { return StreamClient(m_tcp); }, Connections::kMostOfPeer);
    EXPECT_NE(Log().find("warning: too many connections from 127.0.0.1: closed the longest idle of its 32; "),
              std::string::npos)
        << Log();
}

TEST_F(ConnectionsTest, HalfMessagesFromManyHostsHarmNoOtherClient) {
    StartStreams(m_fewDescriptors);
    ExpectUnharmed([&](std::size_t number) { return StreamClient(m_tcp, HostAt(number % 250 + 1)); },
                   Connections::kMost);
    EXPECT_NE(Log().find("warning: too many connections in all: closed an idle one for a new one from 127.0.1."),
              std::string::npos)
        << Log();
}

TEST_F(ConnectionsTest, HalfMessagesOverIpv6HarmNoOtherClient) {
    StartStreams(m_fewDescriptors);
    ExpectUnharmed([&](std::size_t) { return StreamClient::OverTcp6(m_tcp); }, Connections::kMostOfPeer);
    EXPECT_NE(Log().find("warning: too many connections from ::1: "), std::string::npos) << Log();
}

TEST_F(ConnectionsTest, HalfMessagesOverAUnixSocketHarmNoOtherClient) {
    StartStreams(m_fewDescriptors);
    ExpectUnharmed([&](std::size_t) { return StreamClient::OverFile(m_file); }, Connections::kMostOfPeer);
    EXPECT_NE(Log().find("warning: too many connections from user " + std::to_string(::getuid()) + ": "),
              std::string::npos)
        << Log();
}

TEST_F(ConnectionsTest, OneHostsConnectionStaysWhileOthersTakeAllPlaces) {
    StartStreams();
    const StreamClient quiet(m_tcp);
    ASSERT_TRUE(quiet.IsAnswered(kGet));
    constexpr std::size_t kHosts = 2 * Connections::kMost / Connections::kMostOfPeer;
    const std::vector<StreamClient> others = HalfMessages(
        2 * Connections::kMost, [&](std::size_t number) { return StreamClient(m_tcp, HostAt(number % kHosts + 1)); });
    EXPECT_TRUE(Agent().WaitForOutput("too many connections in all: ")) << Log();
    EXPECT_TRUE(quiet.IsAnswered(kGet));
}

TEST_F(ConnectionsTest, SomeDescriptorsStayFreeWhenThereAreFew) {
    constexpr std::size_t kLimit = 80;
    StartStreams({"prlimit", "--nofile=" + std::to_string(kLimit)});
    const std::vector<StreamClient> clients =
        HalfMessages(100, [&](std::size_t number) { return StreamClient(m_tcp, HostAt(number)); });
    EXPECT_NE(Get(kMemorySize).find("INTEGER: "), std::string::npos) << Log();
    EXPECT_TRUE(StreamClient(m_tcp).IsAnswered(kGet));
    EXPECT_TRUE(HasAtMost(kLimit / 2, 0)) << NumDescriptors();
    EXPECT_EQ(Log().find("an incomplete message"), std::string::npos) << "that would have freed descriptors";
    EXPECT_NE(Log().find("warning: too few file descriptors for connections: closed an idle one "), std::string::npos)
        << Log();
    EXPECT_EQ(Log().find("no file descriptor is free"), std::string::npos) << Log();
}

TEST_F(ConnectionsTest, RequestsMayComeBackToBackAndInPieces) {
    StartStreams();
    std::string requests;
    constexpr int kPairs = 100;
    for (int i = 0; i < kPairs; ++i) {
        requests += GetMessage('\0', static_cast<std::size_t>(i)) + GetMessage('\1', static_cast<std::size_t>(i) * 20);
    }
    std::vector<StreamClient> clients;
    clients.emplace_back(m_tcp);
    clients.push_back(StreamClient::OverTcp6(m_tcp));
    for (const StreamClient& client : clients) {
        std::size_t piece = 1;
        for (std::size_t at = 0; at < requests.size(); at += piece) {
            piece = piece % 997 + 13;
            ASSERT_TRUE(client.Send(std::string_view(requests).substr(at, piece)));
        }
        EXPECT_EQ(StreamClient::CountMessages(client.ReadMessages(2 * kPairs)), 2 * kPairs);
    }
    for (const std::string& address : {"tcp:127.0.0.1:" + std::to_string(m_tcp), "unix:" + m_file}) {
        const Outcome walk =
            Client("snmpbulkwalk", {"-v3", "-l", "authPriv", "-u", "me", "-a", "SHA-256", "-A", "long enough", "-x",
                                    "AES", "-X", "long enough", address, ".1.3.6.1.2.1.1"});
        EXPECT_EQ(walk.status, 0) << walk.output;
        EXPECT_GE(Names(walk.output).size(), 7U) << walk.output;
    }
    EXPECT_EQ(Log().find("warning: "), std::string::npos) << Log();
}

TEST_F(ConnectionsTest, AClientThatClosesItsConnectionsMayOpenAnyNumberInARow) {
    StartStreams();
    for (std::size_t number = 0; number < 2 * Connections::kMost; ++number) {
        ASSERT_TRUE(StreamClient(m_tcp).IsAnswered(kGet)) << number << ": " << Log();
        StreamClient(m_tcp).Send(kHalf);
    }
    EXPECT_EQ(Log().find("too many connections"), std::string::npos) << Log();
}

}  // namespace
}  // namespace agent_test
