#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <string_view>

namespace agent_test {

/// A stream client that obeys no rule except the protocol's.
class StreamClient {
public:
    /// Over TCP to the loopback address; `from` may be another address of 127.0.0.0/8.
    explicit StreamClient(int port, const std::string& from = "127.0.0.1") : m_socket(Socket(AF_INET)) {
        const sockaddr_in source = Address(from, 0);
        m_isOpen = ::bind(m_socket, reinterpret_cast<const sockaddr*>(&source), sizeof source) == 0;
        const sockaddr_in address = Address("127.0.0.1", port);
        Connect(&address, sizeof address);
    }
    static StreamClient OverTcp6(int port) {
        sockaddr_in6 address{};
        address.sin6_family = AF_INET6;
        address.sin6_addr = in6addr_loopback;
        address.sin6_port = htons(static_cast<in_port_t>(port));
        return {AF_INET6, &address, sizeof address};
    }
    static StreamClient OverFile(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        return {AF_UNIX, &address, sizeof address};
    }
    ~StreamClient() { ::close(m_socket); }
    StreamClient(StreamClient&& other) noexcept : m_socket(other.m_socket), m_isOpen(other.m_isOpen) {
        other.m_socket = -1;
    }
    StreamClient& operator=(StreamClient&&) = delete;

    bool IsOpen() const { return m_isOpen; }
    bool Send(std::string_view message) const {
        return ::send(m_socket, message.data(), message.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(message.size());
    }
    /// What arrives until nothing more does for half a second.
    std::string ReadAll() const {
        std::string all;
        while (ReadSome(all, 500)) {
        }
        return all;
    }
    /// What arrives until there are `count` messages, or nothing arrives for 20 seconds.
    std::string ReadMessages(int count) const {
        std::string all;
        while (CountMessages(all) != count && ReadSome(all, 20000)) {
        }
        return all;
    }
    /// Sends a message, and tells whether exactly one is the answer.
    bool IsAnswered(std::string_view message) const { return Send(message) && CountMessages(ReadMessages(1)) == 1; }

    /// Waits until the agent closes the connection; false when it does not.
    bool IsClosed(int patienceMs) const {
        pollfd closed{m_socket, POLLIN | POLLRDHUP, 0};
        char octet = 0;
        return ::poll(&closed, 1, patienceMs) > 0 && ::recv(m_socket, &octet, 1, MSG_PEEK | MSG_DONTWAIT) <= 0;
    }

    /// How many complete messages there are; -1 when octets are left over.
    static int CountMessages(std::string_view octets) {
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

private:
    StreamClient(sa_family_t family, const void* address, socklen_t length) : m_socket(Socket(family)), m_isOpen(true) {
        Connect(address, length);
    }
    static int Socket(sa_family_t family) { return ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0); }
    void Connect(const void* address, socklen_t length) {
        m_isOpen = m_isOpen && ::connect(m_socket, static_cast<const sockaddr*>(address), length) == 0;
    }
    static sockaddr_in Address(const std::string& host, int port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        ::inet_pton(AF_INET, host.c_str(), &address.sin_addr);
        address.sin_port = htons(static_cast<in_port_t>(port));
        return address;
    }
    bool ReadSome(std::string& all, int patienceMs) const {
        std::string piece(1 << 16, '\0');
        pollfd ready{m_socket, POLLIN, 0};
        if (::poll(&ready, 1, patienceMs) <= 0) {
            return false;
        }
        const ssize_t got = ::recv(m_socket, piece.data(), piece.size(), 0);
        all.append(piece, 0, got > 0 ? static_cast<std::size_t>(got) : 0);
        return got > 0;
    }

    int m_socket;
    bool m_isOpen = false;
};

}  // namespace agent_test
