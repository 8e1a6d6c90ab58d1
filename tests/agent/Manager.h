#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace agent_test {

/// A service manager's end of the socket. A name that begins with "@" lies in the abstract namespace.
class Manager {
public:
    explicit Manager(const std::string& address) : m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un own{};
        own.sun_family = AF_UNIX;
        std::memcpy(own.sun_path, address.data(), address.size());
        if (address[0] == '@') {
            own.sun_path[0] = '\0';
        }
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
        if (::bind(m_socket, reinterpret_cast<const sockaddr*>(&own), length) != 0) {
            throw std::runtime_error("cannot listen on " + address);
        }
    }
    ~Manager() { ::close(m_socket); }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    /// The next message; empty when none comes.
    std::string Next(int patienceMs = 20000) const {
        pollfd readable{m_socket, POLLIN, 0};
        if (::poll(&readable, 1, patienceMs) != 1) {
            return {};
        }
        std::array<char, 4096> buffer{};
        const ssize_t length = ::recv(m_socket, buffer.data(), buffer.size(), 0);
        return {buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
    }

    /// The next message that begins with `text`; empty when none comes.
    std::string NextThat(const std::string& text) const {
        std::string message = Next();
        while (!message.empty() && !message.starts_with(text)) {
            message = Next();
        }
        return message;
    }

private:
    int m_socket;
};

}  // namespace agent_test
