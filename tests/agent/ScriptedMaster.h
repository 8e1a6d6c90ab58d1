#pragma once

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace agent_test {

/// The master's side of AgentX (RFC 2741). The test sends each message itself, including those that a real master sends
/// only by chance. The agent's requests are answered with "no error" meanwhile. Throws std::runtime_error when the
/// agent does not respond within 20 seconds.
class ScriptedMaster {
public:
    enum Type : std::uint8_t {
        kOpen = 1,
        kClose = 2,
        kRegister = 3,
        kGet = 5,
        kTestSet = 8,
        kCommitSet = 9,
        kUndoSet = 10,
        kCleanupSet = 11,
        kPing = 13,
        kResponse = 18,
    };
    using Oid = std::vector<std::uint32_t>;

    explicit ScriptedMaster(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        m_listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listener, 5), 0);
    }
    ~ScriptedMaster() {
        Disconnect();
        ::close(m_listener);
    }
    ScriptedMaster(const ScriptedMaster&) = delete;
    ScriptedMaster& operator=(const ScriptedMaster&) = delete;

    /// Accepts the agent's connection, and answers until the agent has registered so many subtrees.
    void TakeAgent(int subtrees) {
        WaitFor(m_listener);
        m_agent = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        for (int registered = 0; registered < subtrees;) {
            const Message message = Read();
            registered += message.type == kRegister ? 1 : 0;
            Answer(message);
        }
    }

    /// From now on every registration is refused, for this reason.
    void RefuseRegistrations(std::uint16_t error) { m_refusal = error; }

    void Disconnect() {
        if (m_agent >= 0) {
            ::close(m_agent);
            m_agent = -1;
        }
    }

    void Send(Type type, std::uint32_t transaction, const std::string& payload = {}) {
        Write(type, kSession, transaction, ++m_packet, payload);
    }
    /// The error in the agent's answer to the last message.
    int ReadError() { return NumberAt<std::uint16_t>(ReadResponse().payload, 4); }

    /// Sends a request, and returns the error in the agent's answer.
    int Ask(Type type, std::uint32_t transaction, const std::string& payload = {}) {
        Send(type, transaction, payload);
        return ReadError();
    }
    void SendGet(const Oid& name, std::uint32_t transaction) {
        Send(kGet, transaction, Encoded(name) + Number(0));  // and no end of the range
    }
    /// Reads an instance whose value is an octet string.
    std::string GetText(const Oid& name, std::uint32_t transaction) {
        SendGet(name, transaction);
        const Message response = ReadResponse();
        const std::string& payload = response.payload;
        const std::size_t at = kErrorSize + kTypeSize;  // the name, whose first octet counts its arcs
        const std::size_t value = at + 4 + 4 * std::size_t{NumberAt<std::uint8_t>(payload, at)};
        return payload.substr(value + 4, NumberAt<std::uint32_t>(payload, value));
    }

    /// For TestSet.
    static std::string IntegerVarBind(const Oid& name, std::int32_t value) {
        const std::uint16_t integer = 2;
        return std::string(reinterpret_cast<const char*>(&integer), sizeof integer) + std::string(2, '\0') +
               Encoded(name) + Number(static_cast<std::uint32_t>(value));
    }

private:
    static constexpr std::size_t kHeaderSize = 20;
    static constexpr std::size_t kErrorSize = 8;  // in a response, with the time and the index
    static constexpr std::size_t kTypeSize = 4;   // of a varbind
    static constexpr char kByteOrder = std::endian::native == std::endian::big ? 0x10 : 0;
    static constexpr std::uint32_t kSession = 7;

    struct Message {
        std::uint8_t type = 0;
        std::uint32_t transaction = 0;
        std::uint32_t packet = 0;
        std::string payload;
    };

    /// The agent runs on the same host, and writes numbers in the host's order.
    static std::string Number(std::uint32_t value) { return {reinterpret_cast<const char*>(&value), sizeof value}; }
    template <class T>
    static T NumberAt(const std::string& from, std::size_t at) {
        T value = 0;
        if (from.copy(reinterpret_cast<char*>(&value), sizeof value, at) != sizeof value) {
            throw std::runtime_error("the agent's message is shorter than it claims");
        }
        return value;
    }
    static std::string Encoded(const Oid& name) {
        std::string octets{static_cast<char>(name.size()), 0, 0, 0};
        for (const std::uint32_t arc : name) {
            octets += Number(arc);
        }
        return octets;
    }

    static void WaitFor(int fd) {
        pollfd waiting{fd, POLLIN, 0};
        if (::poll(&waiting, 1, 20000) != 1) {
            throw std::runtime_error("the agent does not answer");
        }
    }
    std::string ReadOctets(std::size_t count) const {
        std::string octets(count, '\0');
        for (std::size_t have = 0; have < count;) {
            WaitFor(m_agent);
            const ssize_t more = ::recv(m_agent, octets.data() + have, count - have, 0);
            if (more <= 0) {
                throw std::runtime_error("the agent has closed the connection");
            }
            have += static_cast<std::size_t>(more);
        }
        return octets;
    }
    Message Read() const {
        const std::string header = ReadOctets(kHeaderSize);
        if ((header[2] & 0x10) != kByteOrder) {
            throw std::runtime_error("the agent writes in a byte order that the test does not read");
        }
        return {static_cast<std::uint8_t>(header[1]), NumberAt<std::uint32_t>(header, 8),
                NumberAt<std::uint32_t>(header, 12), ReadOctets(NumberAt<std::uint32_t>(header, 16))};
    }
    Message ReadResponse() {
        for (;;) {
            Message message = Read();
            if (message.type != kResponse) {
                Answer(message);
            } else if (message.packet == m_packet) {
                return message;
            }
        }
    }
    void Answer(const Message& message) const {
        const std::array<std::uint16_t, 2> result{message.type == kRegister ? m_refusal : std::uint16_t{0}, 0};
        Write(kResponse, kSession, message.transaction, message.packet,
              Number(0) + std::string(reinterpret_cast<const char*>(result.data()), sizeof result));
    }
    void Write(Type type, std::uint32_t session, std::uint32_t transaction, std::uint32_t packet,
               const std::string& payload) const {
        const std::string message = std::string{1, static_cast<char>(type), kByteOrder, 0} + Number(session) +
                                    Number(transaction) + Number(packet) +
                                    Number(static_cast<std::uint32_t>(payload.size())) + payload;
        if (::send(m_agent, message.data(), message.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(message.size())) {
            throw std::runtime_error("the agent does not read");
        }
    }

    int m_listener = -1;
    int m_agent = -1;
    std::uint32_t m_packet = 0;
    std::uint16_t m_refusal = 0;
};

}  // namespace agent_test
