#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace agent_test {

/// A socket that sends raw octets to an agent: over UDP or TCP to a port of the loopback address, or to a Unix socket.
class SnmpSocket {
public:
    enum class Kind { kUdp, kTcp, kUnix };

    SnmpSocket(Kind kind, int port) : m_isStream(kind == Kind::kTcp) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<in_port_t>(port));
        Connect(AF_INET, &address, sizeof address);
    }
    explicit SnmpSocket(const std::string& file) : m_isStream(true) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, file.data(), file.size());
        Connect(AF_UNIX, &address, static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + file.size() + 1));
    }
    ~SnmpSocket() { ::close(m_socket); }
    SnmpSocket(const SnmpSocket&) = delete;
    SnmpSocket& operator=(const SnmpSocket&) = delete;

    bool IsOpen() const { return m_isOpen; }
    bool Send(std::string_view message) const {
        return ::send(m_socket, message.data(), message.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(message.size());
    }
    /// The next message; empty when no complete message comes.
    std::string Receive(int patienceMs = 20000) {
        while (!IsWhole()) {
            pollfd ready{m_socket, POLLIN, 0};
            std::string piece(1 << 16, '\0');
            const ssize_t got =
                ::poll(&ready, 1, patienceMs) == 1 ? ::recv(m_socket, piece.data(), piece.size(), 0) : 0;
            if (got <= 0) {
                return {};
            }
            m_octets.append(piece, 0, static_cast<std::size_t>(got));
            if (!m_isStream) {
                m_length = m_octets.size();
                break;
            }
        }
        std::string message = m_octets.substr(0, m_length);
        m_octets.erase(0, m_length);
        return message;
    }
    std::string Ask(std::string_view message, int patienceMs = 20000) {
        return Send(message) ? Receive(patienceMs) : std::string();
    }

private:
    void Connect(int family, const void* address, socklen_t length) {
        constexpr int kRoom = 1 << 22;
        m_socket = ::socket(family, (m_isStream ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC, 0);
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVBUF, &kRoom, sizeof kRoom);
        m_isOpen = ::connect(m_socket, static_cast<const sockaddr*>(address), length) == 0;
    }
    /// Whether m_octets begins with a whole message, of m_length octets.
    bool IsWhole() {
        if (m_octets.size() < 2) {
            return false;
        }
        const auto at = [this](std::size_t i) {
            return static_cast<std::size_t>(static_cast<unsigned char>(m_octets[i]));
        };
        std::size_t head = 2;
        m_length = at(1);
        if (m_length >= 0x80) {
            head += m_length & 0x7FU;
            m_length = 0;
            if (m_octets.size() < head) {
                return false;
            }
            for (std::size_t i = 2; i < head; ++i) {
                m_length = m_length << 8U | at(i);
            }
        }
        m_length += head;
        return m_octets.size() >= m_length;
    }

    const bool m_isStream;
    int m_socket = -1;
    bool m_isOpen = false;
    std::string m_octets;      // read and not yet returned
    std::size_t m_length = 0;  // of the first message in them
};

}  // namespace agent_test
