// Clients over TCP that keep to no rule but the protocol's.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <fstream>
#include <string>
#include <string_view>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

/// GETBULK of fifty instances behind hrSWRun (1.3.6.1.2.1.25.4), SNMPv2c, community "public".
constexpr std::string_view kBulk(
    "\x30\x25\x02\x01\x01\x04\x06public\xa5\x18\x02\x01\x01\x02\x01\x00\x02\x01\x32\x30\x0d\x30\x0b\x06\x07\x2b\x06\x01"
    "\x02\x01\x19\x04\x05\x00",
    39);

class Connection {
public:
    explicit Connection(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<in_port_t>(port));
        m_isOpen = ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~Connection() { ::close(m_socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool IsOpen() const { return m_isOpen; }
    bool Send(std::string_view message) const {
        return ::send(m_socket, message.data(), message.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(message.size());
    }
    /// What comes, until nothing more does for half a second.
    std::string ReadAll() const {
        std::string all;
        std::string piece(1 << 16, '\0');
        pollfd ready{m_socket, POLLIN, 0};
        while (::poll(&ready, 1, 500) > 0) {
            const ssize_t got = ::recv(m_socket, piece.data(), piece.size(), 0);
            if (got <= 0) {
                break;
            }
            all.append(piece, 0, static_cast<std::size_t>(got));
        }
        return all;
    }

private:
    const int m_socket;
    bool m_isOpen;
};

/// How many whole messages there are; -1 when something is left over.
int CountMessages(std::string_view octets) {
    int count = 0;
    while (octets.size() >= 2 && octets[0] == '\x30') {
        std::size_t head = 2;
        std::size_t length = static_cast<unsigned char>(octets[1]);
        if (length >= 0x80) {
            head += length & 0x7FU;
            length = 0;
            for (std::size_t i = 2; i < head && i < octets.size(); ++i) {
                length = length << 8U | static_cast<unsigned char>(octets[i]);
            }
        }
        if (octets.size() < head + length) {
            return -1;
        }
        octets.remove_prefix(head + length);
        ++count;
    }
    return octets.empty() ? count : -1;
}

class StreamTest : public AgentTest {
protected:
    StreamTest() { m_community = "public"; }
};

TEST_F(StreamTest, AClientThatDoesNotReadHoldsUpNobodyAndGetsWholeMessagesInTheEnd) {
    const int port = FreePort();
    Start({"--listen", "tcp:127.0.0.1:" + std::to_string(port)});
    const Connection client(port);
    ASSERT_TRUE(client.IsOpen());
    constexpr int kMany = 3000;  // their answers are several megabytes
    std::string messages;
    for (int i = 0; i < kMany; ++i) {
        messages += kBulk;
    }
    ASSERT_TRUE(client.Send(messages));
    EXPECT_NE(Get(".1.3.6.1.2.1.25.1.1.0").find("Timeticks"), std::string::npos);

    const int answered = CountMessages(client.ReadAll());
    EXPECT_GT(answered, 0);
    EXPECT_LT(answered, kMany) << "the rest was dropped";
    ASSERT_TRUE(client.Send(kBulk));
    EXPECT_EQ(CountMessages(client.ReadAll()), 1) << "who reads again is served again";
}

TEST_F(StreamTest, AConnectionIsKeptFromWhatModulesStart) {
    const int port = FreePort();
    Start({"--listen", "tcp:127.0.0.1:" + std::to_string(port)});
    const Connection client(port);
    ASSERT_TRUE(client.Send(kBulk));
    ASSERT_EQ(CountMessages(client.ReadAll()), 1);
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
