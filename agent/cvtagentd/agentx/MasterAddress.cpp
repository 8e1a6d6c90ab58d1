#include "agent/cvtagentd/agentx/MasterAddress.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace cvtagentd {
namespace {

constexpr const char* kDefaultPort = "705";

}  // namespace

bool MasterAddress::Find() {
    if (m_length != 0) {
        return true;
    }
    const std::size_t colon = m_text.find(':');
    const std::string kind = m_text.substr(0, colon);
    if (m_text.front() == '/' || colon == std::string::npos) {
        return FindPath(m_text);
    }
    const std::string rest = m_text.substr(colon + 1);
    if (kind == "unix" || kind == "local") {
        return FindPath(rest);
    }
    if (kind == "tcp") {
        return FindHost(rest, AF_INET);
    }
    return (kind == "tcp6" || kind == "tcpv6" || kind == "tcpipv6") && FindHost(rest, AF_INET6);
}

bool MasterAddress::FindPath(const std::string& path) {
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return false;
    }
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    std::memcpy(&m_address, &address, sizeof address);
    m_length = sizeof address;
    return true;
}

/// "HOST:PORT", "[HOST]:PORT", "PORT" or "HOST".
bool MasterAddress::FindHost(const std::string& host, int family) {
    const std::size_t bracket = host.rfind(']');
    const std::size_t colon = host.rfind(':');
    const bool hasPort = colon != std::string::npos && (bracket == std::string::npos || colon > bracket);
    const bool isPort =
        !host.empty() && std::all_of(host.begin(), host.end(), [](char c) { return c >= '0' && c <= '9'; });
    std::string name = isPort ? "" : host.substr(0, hasPort ? colon : std::string::npos);
    const std::string port = isPort ? host : hasPort ? host.substr(colon + 1) : kDefaultPort;
    if (name.size() >= 2 && name.front() == '[' && name.back() == ']') {
        name = name.substr(1, name.size() - 2);
    }
    addrinfo hints{};
    hints.ai_family = family;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* first = nullptr;
    if (::getaddrinfo(name.empty() ? nullptr : name.c_str(), port.c_str(), &hints, &first) != 0) {
        return false;
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> found(first, &::freeaddrinfo);
    std::memcpy(&m_address, found->ai_addr, found->ai_addrlen);
    m_length = found->ai_addrlen;
    return true;
}

}  // namespace cvtagentd
