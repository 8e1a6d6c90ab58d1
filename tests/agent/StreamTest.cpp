// TCP clients that obey no rule except the protocol's.

#include <chrono>
#include <fstream>
#include <string>
#include <string_view>

#include "tests/agent/AgentTest.h"
#include "tests/agent/StreamClient.h"

namespace agent_test {
namespace {

/// GETBULK of fifty instances after hrSWRun (1.3.6.1.2.1.25.4), SNMPv2c, community "public".
constexpr std::string_view kBulk(
    "\x30\x25\x02\x01\x01\x04\x06public\xa5\x18\x02\x01\x01\x02\x01\x00\x02\x01\x32\x30\x0d\x30\x0b\x06\x07\x2b\x06\x01"
    "\x02\x01\x19\x04\x05\x00",
    39);

class StreamTest : public AgentTest {
protected:
    StreamTest() { m_community = "public"; }

    /// snmpInPkts
    int MessagesReceived() const {
        const std::string answer = Get(".1.3.6.1.2.1.11.1.0");
        const std::size_t value = answer.find("Counter32: ");
        return value == std::string::npos ? 0
                                          : std::stoi(answer.substr(value + std::string_view("Counter32: ").size()));
    }
};

TEST_F(StreamTest, AClientThatDoesNotReadHoldsUpNoOtherAndGetsWholeMessagesInTheEnd) {
    const int port = FreePort();
    Start({"--listen", "tcp:127.0.0.1:" + std::to_string(port)});
    const StreamClient client(port);
    ASSERT_TRUE(client.IsOpen());
    constexpr int kMany = 3000;  // their answers are several megabytes
    std::string messages;
    for (int i = 0; i < kMany; ++i) {
        messages += kBulk;
    }
    ASSERT_TRUE(client.Send(messages));
    EXPECT_NE(Get(".1.3.6.1.2.1.25.1.1.0").find("Timeticks"), std::string::npos);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (MessagesReceived() < kMany) {  // a client that read meanwhile might get everything
        ASSERT_LT(std::chrono::steady_clock::now(), end);
    }

    const int answered = StreamClient::CountMessages(client.ReadAll());
    EXPECT_GT(answered, 0);
    EXPECT_LT(answered, kMany) << "the rest was dropped";
    EXPECT_TRUE(client.IsAnswered(kBulk)) << "a client that reads again is served again";
}

TEST_F(StreamTest, CommandsOfModulesDoNotInheritAConnection) {
    const int port = FreePort();
    Start({"--listen", "tcp:127.0.0.1:" + std::to_string(port)});
    const StreamClient client(port);
    ASSERT_TRUE(client.IsAnswered(kBulk));
    int sockets = 0;
    const std::string process = "/proc/" + std::to_string(Agent().Pid());
    for (const auto& entry : std::filesystem::directory_iterator(process + "/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone).string().starts_with("socket:")) {
            ++sockets;
            std::ifstream info(process + "/fdinfo/" + entry.path().filename().string());
            std::string word;
            while (info >> word && word != "flags:") {
            }
            info >> word;
            EXPECT_NE(std::stol(word, nullptr, 8) & O_CLOEXEC, 0) << entry.path();
        }
    }
    EXPECT_EQ(sockets, 3) << "UDP, TCP and the connection";
}

}  // namespace
}  // namespace agent_test
