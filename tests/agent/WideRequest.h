#pragma once

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace agent_test {

/// One version 2c request with any number of varbinds; the distribution's clients send 128 at most. The constructor
/// sends it to the agent.
class WideRequest {
public:
    enum Kind : unsigned char { kGet = 0xA0, kGetNext = 0xA1, kGetBulk = 0xA5 };

    struct Response {
        int error = -1;
        std::vector<std::string> names;
    };

    /// `repetitions`: for a GETBULK.
    WideRequest(int port, const std::string& community, Kind kind, const std::vector<std::string>& names,
                unsigned char repetitions = 0)
        : m_socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        std::string varBinds;
        for (const std::string& name : names) {
            varBinds += Field(0x30, Field(0x06, Encoded(name)) + Field(0x05, ""));
        }
        const std::string numbers = Number(1) + Number(0) + Number(repetitions);
        const std::string pdu = Field(kind, numbers + Field(0x30, varBinds));
        const std::string message = Field(0x30, Number(1) + Field(0x04, community) + pdu);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::send(m_socket, message.data(), message.size(), 0), static_cast<ssize_t>(message.size()));
    }
    ~WideRequest() { ::close(m_socket); }
    WideRequest(const WideRequest&) = delete;
    WideRequest& operator=(const WideRequest&) = delete;

    bool IsAnswered() const {
        pollfd readable{m_socket, POLLIN, 0};
        return ::poll(&readable, 1, 0) == 1;
    }

    /// Waits for the answer, for a minute at most. Called once.
    Response Answer() const {
        pollfd readable{m_socket, POLLIN, 0};
        std::string buffer(65536, '\0');
        if (::poll(&readable, 1, 60000) != 1) {
            ADD_FAILURE() << "no answer";
            return {};
        }
        const ssize_t length = ::recv(m_socket, buffer.data(), buffer.size(), 0);
        std::string_view message =
            std::string_view(buffer).substr(0, length > 0 ? static_cast<std::size_t>(length) : 0);
        std::string_view body = Take(message);
        Take(body);  // version
        Take(body);  // community
        std::string_view pdu = Take(body);
        Take(pdu);  // identifier
        const std::string_view error = Take(pdu);
        Take(pdu);  // error-index
        std::string_view list = Take(pdu);
        Response response;
        response.error = error.empty() ? -1 : static_cast<unsigned char>(error.back());
        while (!list.empty()) {
            std::string_view varBind = Take(list);
            response.names.push_back(Decoded(Take(varBind)));
        }
        return response;
    }

private:
    static std::string Field(unsigned char tag, const std::string& content) {
        const std::size_t length = content.size();
        std::string field(1, static_cast<char>(tag));
        if (length >= 0x80) {
            field += '\x82';
            field += static_cast<char>(length >> 8U);
        }
        return (field += static_cast<char>(length & 0xFFU)) + content;
    }
    static std::string Number(unsigned char value) { return Field(0x02, std::string(1, static_cast<char>(value))); }
    static std::string Encoded(const std::string& name) {
        std::istringstream arcs(name);
        std::string content;
        char dot = 0;
        unsigned int first = 0;
        unsigned int second = 0;
        arcs >> dot >> first >> dot >> second;
        content += static_cast<char>(first * 40 + second);
        for (unsigned int arc = 0; arcs >> dot >> arc;) {
            std::string groups(1, static_cast<char>(arc & 0x7FU));
            while ((arc >>= 7U) != 0) {
                groups.insert(groups.begin(), static_cast<char>(0x80U | (arc & 0x7FU)));
            }
            content += groups;
        }
        return content;
    }

    /// Removes the field that `from` begins with, and returns its content.
    static std::string_view Take(std::string_view& from) {
        if (from.size() < 2) {
            return from = {};
        }
        const auto octet = [&](std::size_t at) {
            return static_cast<std::size_t>(static_cast<unsigned char>(from[at]));
        };
        std::size_t header = 2;
        std::size_t length = octet(1);
        if (length >= 0x80) {
            header += length & 0x7FU;
            if (from.size() < header) {
                return from = {};
            }
            length = 0;
            for (std::size_t at = 2; at < header; ++at) {
                length = length << 8U | octet(at);
            }
        }
        const std::string_view content = from.substr(header, length);
        from.remove_prefix(std::min(from.size(), header + length));
        return content;
    }
    static std::string Decoded(std::string_view content) {
        std::string name;
        unsigned int arc = 0;
        for (const char each : content) {
            const auto octet = static_cast<unsigned char>(each);
            arc = arc << 7U | (octet & 0x7FU);
            if (octet < 0x80) {
                name += name.empty() ? "." + std::to_string(arc / 40) + "." + std::to_string(arc % 40)
                                     : "." + std::to_string(arc);
                arc = 0;
            }
        }
        return name;
    }

    const int m_socket;
};

}  // namespace agent_test
