#pragma once

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/AgentxOctets.h"

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
        kUnregister = 4,
        kGet = 5,
        kGetNext = 6,
        kGetBulk = 7,
        kTestSet = 8,
        kCommitSet = 9,
        kUndoSet = 10,
        kCleanupSet = 11,
        kPing = 13,
        kAddAgentCaps = 16,
        kRemoveAgentCaps = 17,
        kResponse = 18,
    };
    using Oid = AgentxOctets::Arcs;

    struct Message {
        std::uint8_t type = 0;
        std::uint32_t session = 0;
        std::uint32_t transaction = 0;
        std::uint32_t packet = 0;
        std::string payload;
        AgentxOctets octets{true};  ///< in the message's byte order

        std::uint64_t NumberAt(std::size_t at, std::size_t size) const {
            if (at + size > payload.size()) {
                throw std::runtime_error("the agent's message is shorter than it claims");
            }
            return octets.NumberAt(payload, at, size);
        }
        /// Of a response.
        int Error() const { return static_cast<int>(NumberAt(4, 2)); }
    };

    /// Thrown when the connection has ended, by the agent or by CutAfter.
    struct Disconnected : std::runtime_error {
        using std::runtime_error::runtime_error;
    };

    static constexpr std::uint32_t kSession = 7;
    static constexpr std::size_t kHeaderSize = 20;

    /// Messages are written in the byte order of this host, as a real master on it writes them, until told otherwise.
    static inline const AgentxOctets kHostOrder{std::endian::native == std::endian::big};

    /// Listens on a socket of this path, or at "A.B.C.D:PORT".
    explicit ScriptedMaster(std::string address) : m_address(std::move(address)) { Listen(); }
    ~ScriptedMaster() { Stop(); }
    ScriptedMaster(const ScriptedMaster&) = delete;
    ScriptedMaster& operator=(const ScriptedMaster&) = delete;

    /// Accepts the agent's connection, and answers until the agent has registered so many subtrees.
    void TakeAgent(int subtrees) {
        Accept();
        const auto deadline = Deadline();
        for (int registered = 0; registered < subtrees;) {
            const Message message = ReadBefore(deadline);
            registered += message.type == kRegister ? 1 : 0;
            Answer(message);
        }
    }
    /// Accepts the agent's connection, and answers nothing. Those that have ended meanwhile are passed over.
    void Accept() {
        do {
            Disconnect();
            WaitFor(m_listener, kPatienceMs);
            m_agent = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        } while (HasEnded());
    }

    /// As a master that ends does, and one that starts.
    void Stop() {
        Disconnect();
        if (m_listener >= 0) {
            ::close(m_listener);
            ::unlink(m_address.c_str());
            m_listener = -1;
        }
    }
    void Listen() { m_address.front() == '/' ? ListenOnPath() : ListenOnPort(m_address); }
    void ListenOnPort(const std::string& where) {
        const std::size_t colon = where.find(':');
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(where.substr(colon + 1))));
        EXPECT_EQ(::inet_pton(AF_INET, where.substr(0, colon).c_str(), &address.sin_addr), 1);
        m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int yes = 1;
        ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        Begin(reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }

    /// From now on every registration is refused, for this reason.
    void RefuseRegistrations(std::uint16_t error) { m_refusal = error; }

    /// The connection ends, as that of a master that is killed, when so many octets more have been read or written.
    void CutAfter(std::size_t octets) { m_octetsLeft = octets; }
    void CutNever() { m_octetsLeft = kNoCut; }
    /// How many octets have been read and written since the last CutNever.
    std::size_t NumOctets() const { return kNoCut - m_octetsLeft; }

    void Disconnect() {
        if (m_agent >= 0) {
            ::close(m_agent);
            m_agent = -1;
            m_ahead.clear();
        }
    }
    bool IsConnected() const { return m_agent >= 0; }

    void Send(Type type, std::uint32_t transaction, const std::string& payload = {}) {
        Write(type, transaction, ++m_packet, payload);
    }
    /// Sends these octets, which need not be a message. What the agent sends meanwhile is read, for it may not take
    /// more before that.
    void SendOctets(std::string_view octets) {
        while (!octets.empty()) {
            TakeFromCut(octets.size());
            pollfd ready{m_agent, POLLIN | POLLOUT, 0};
            if (::poll(&ready, 1, kPatienceMs) != 1) {
                throw std::runtime_error("the agent does not read");
            }
            if ((ready.revents & POLLOUT) == 0) {
                ReadAhead();
                continue;
            }
            const ssize_t sent =
                ::send(m_agent, octets.data(), std::min(octets.size(), m_octetsLeft), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent <= 0) {
                throw Disconnected("the agent has closed the connection");
            }
            octets.remove_prefix(static_cast<std::size_t>(sent));
            m_octetsLeft -= static_cast<std::size_t>(sent);
        }
    }
    /// Sends these octets without reading anything, until the agent has taken none for that long. Returns how many it
    /// has taken.
    std::size_t SendUnread(std::string_view octets, int milliseconds) {
        std::size_t taken = 0;
        for (pollfd ready{m_agent, POLLOUT, 0}; taken < octets.size() && ::poll(&ready, 1, milliseconds) == 1;) {
            const ssize_t sent =
                ::send(m_agent, octets.data() + taken, octets.size() - taken, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent <= 0) {
                throw Disconnected("the agent has closed the connection");
            }
            taken += static_cast<std::size_t>(sent);
        }
        return taken;
    }
    /// The error in the agent's answer to the last message.
    int ReadError() { return ReadResponse().Error(); }

    /// Sends a request, and returns the error in the agent's answer.
    int Ask(Type type, std::uint32_t transaction, const std::string& payload = {}) {
        Send(type, transaction, payload);
        return ReadError();
    }
    void SendGet(const Oid& name, std::uint32_t transaction) { Send(kGet, transaction, Range(name)); }
    /// Reads an instance whose value is an octet string.
    std::string GetText(const Oid& name, std::uint32_t transaction) {
        SendGet(name, transaction);
        const Message response = ReadResponse();
        const std::size_t value = ValueAt(response);
        return response.payload.substr(value + 4, response.NumberAt(value, 4));
    }
    /// Reads an instance whose value is a number.
    std::uint32_t GetNumber(const Oid& name, std::uint32_t transaction) {
        SendGet(name, transaction);
        const Message response = ReadResponse();
        return static_cast<std::uint32_t>(response.NumberAt(ValueAt(response), 4));
    }

    /// For TestSet.
    static std::string IntegerVarBind(const Oid& name, std::int32_t value) {
        return kHostOrder.VarBind(AgentxOctets::kInteger, kHostOrder.Name(name),
                                  kHostOrder.Word(static_cast<std::uint32_t>(value)));
    }
    /// For Get, GetNext and, after its two numbers, GetBulk: a name, and no end.
    static std::string Range(const Oid& name) { return kHostOrder.Name(name) + kHostOrder.Name({}); }

    /// The agent's next message; no value when none begins within this time.
    std::optional<Message> Receive(int milliseconds) {
        pollfd waiting{m_agent, POLLIN, 0};
        const bool isThere = !m_ahead.empty() || ::poll(&waiting, 1, milliseconds) == 1;
        return isThere ? std::optional(Read()) : std::nullopt;
    }
    /// Answers a request of the agent. The answer to a response is none.
    void Answer(const Message& message) { Answer(message, message.type == kRegister ? m_refusal : std::uint16_t{0}); }
    void Answer(const Message& message, std::uint16_t error) {
        if (message.type != kResponse && message.type != kClose) {
            EXPECT_EQ(message.session, message.type == kOpen ? 0 : kSession);
            Write(kResponse, message.transaction, message.packet,
                  kHostOrder.Word(0) + kHostOrder.Short(error) + kHostOrder.Short(0));
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr int kPatienceMs = 20000;
    static Clock::time_point Deadline() { return Clock::now() + std::chrono::milliseconds(kPatienceMs); }

    static constexpr std::size_t kErrorSize = 8;  // in a response, with the time and the index
    static constexpr std::size_t kTypeSize = 4;   // of a varbind
    static constexpr std::size_t kNoCut = std::numeric_limits<std::size_t>::max();

    /// Where the first varbind's value begins.
    static std::size_t ValueAt(const Message& response) {
        const std::size_t name = kErrorSize + kTypeSize;  // whose first octet counts its arcs
        return name + 4 + 4 * response.NumberAt(name, 1);
    }

    void ListenOnPath() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_address.copy(address.sun_path, sizeof address.sun_path - 1);
        m_listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        Begin(reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    void Begin(const sockaddr* address, socklen_t length) const {
        EXPECT_EQ(::bind(m_listener, address, length), 0);
        EXPECT_EQ(::listen(m_listener, 5), 0);
    }
    static void WaitFor(int fd, int milliseconds) {
        pollfd waiting{fd, POLLIN, 0};
        if (::poll(&waiting, 1, milliseconds) != 1) {
            throw std::runtime_error("the agent does not answer");
        }
    }
    bool HasEnded() const {
        char octet = 0;
        return ::recv(m_agent, &octet, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
    }
    void TakeFromCut(std::size_t octets) {
        if (octets > 0 && m_octetsLeft == 0) {
            Disconnect();
        }
        if (m_agent < 0) {
            throw Disconnected("the connection is cut");
        }
    }
    void ReadAhead() {
        std::string octets(std::min<std::size_t>(65536, m_octetsLeft), '\0');
        const ssize_t more = ::recv(m_agent, octets.data(), octets.size(), 0);
        if (more <= 0) {
            throw Disconnected("the agent has closed the connection");
        }
        m_ahead.append(octets, 0, static_cast<std::size_t>(more));
        m_octetsLeft -= static_cast<std::size_t>(more);
    }
    std::string ReadOctets(std::size_t count) {
        std::string octets(count, '\0');
        std::size_t have = m_ahead.copy(octets.data(), count);
        m_ahead.erase(0, have);
        while (have < count) {
            TakeFromCut(count - have);
            WaitFor(m_agent, kPatienceMs);
            const ssize_t more = ::recv(m_agent, octets.data() + have, std::min(count - have, m_octetsLeft), 0);
            if (more <= 0) {
                Disconnect();
                throw Disconnected("the agent has closed the connection");
            }
            have += static_cast<std::size_t>(more);
            m_octetsLeft -= static_cast<std::size_t>(more);
        }
        return octets;
    }
    Message Read() {
        const std::string header = ReadOctets(kHeaderSize);
        Message message;
        message.octets = AgentxOctets((static_cast<unsigned char>(header[2]) & AgentxOctets::kNetworkOrder) != 0);
        const auto word = [&](std::size_t at) {
            return static_cast<std::uint32_t>(message.octets.NumberAt(header, at, 4));
        };
        message.type = static_cast<std::uint8_t>(header[1]);
        message.session = word(4);
        message.transaction = word(8);
        message.packet = word(12);
        const std::uint32_t length = word(16);
        if (header[0] != 1 || length % 4 != 0 || length > kLongest) {
            throw std::runtime_error("the agent sends what is no message of AgentX");
        }
        message.payload = ReadOctets(length);
        return message;
    }
    /// Questions from the agent meanwhile, such as whether the master is there, do not extend the deadline.
    Message ReadBefore(Clock::time_point deadline) {
        Message message = Read();
        if (Clock::now() >= deadline) {
            throw std::runtime_error("the agent does not answer");
        }
        return message;
    }
    Message ReadResponse() {
        const auto deadline = Deadline();
        for (;;) {
            Message message = ReadBefore(deadline);
            if (message.type != kResponse) {
                Answer(message);
            } else if (message.packet == m_packet) {
                return message;
            }
        }
    }
    void Write(Type type, std::uint32_t transaction, std::uint32_t packet, const std::string& payload) {
        SendOctets(kHostOrder.Message({1, type, 0, kSession, transaction, packet}, payload));
    }

    static constexpr std::uint32_t kLongest = 100'000'000;

    const std::string m_address;
    int m_listener = -1;
    int m_agent = -1;
    std::string m_ahead;  // read already
    std::uint32_t m_packet = 0;
    std::uint16_t m_refusal = 0;
    std::size_t m_octetsLeft = kNoCut;
};

}  // namespace agent_test
