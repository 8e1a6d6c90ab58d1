#include "agent/cvtagentd/agentx/MasterAddress.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/un.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "agent/cvtagentd/snmp/AddressText.h"

namespace cvtagentd {
namespace {

constexpr const char* kDefaultPort = "705";
constexpr const char* kForms = "not a valid address; write it as /PATH, unix:/PATH or tcp:HOST:PORT";
constexpr std::size_t kLongestPath = sizeof(sockaddr_un::sun_path) - 1;

/// The parts of "HOST:PORT", "[HOST]:PORT", "PORT" or "HOST".
struct HostAndPort {
    std::string host;  // empty: this host
    std::string port;
};

HostAndPort Split(const std::string& text) {
    if (std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return {"", text.empty() ? kDefaultPort : text};
    }
    const std::size_t bracket = text.rfind(']');
    const std::size_t colon = text.rfind(':');
    const bool hasPort = colon != std::string::npos && (bracket == std::string::npos || colon > bracket);
    return {text.substr(0, hasPort ? colon : std::string::npos), hasPort ? text.substr(colon + 1) : kDefaultPort};
}

}  // namespace

void SocketAddress::Set(const void* address, socklen_t size) {
    std::memcpy(&storage, address, size);
    length = size;
}

MasterAddress::MasterAddress(std::string text) : m_text(text.empty() ? kDefault : std::move(text)) {
    if (!WhyMalformed().empty()) {
        return;
    }
    if (Family() == AF_UNIX) {
        ReadPath(AfterKind());
    } else {
        ReadHost(AfterKind(), Family());
    }
}

int MasterAddress::Family() const {
    const std::size_t colon = m_text.find(':');
    const std::string kind = m_text.substr(0, colon);
    if (m_text.front() == '/' || colon == std::string::npos || kind == "unix" || kind == "local") {
        return AF_UNIX;
    }
    if (kind == "tcp") {
        return AF_INET;
    }
    return kind == "tcp6" || kind == "tcpv6" || kind == "tcpipv6" ? AF_INET6 : AF_UNSPEC;
}

std::string MasterAddress::AfterKind() const {
    return m_text.front() == '/' ? m_text : m_text.substr(m_text.find(':') + 1);
}

std::string MasterAddress::WhyMalformed() const {
    const std::string rest = AfterKind();
    switch (Family()) {
        case AF_UNSPEC: return kForms;
        case AF_UNIX:
            if (rest.find_first_not_of("0123456789.") == std::string::npos && rest == m_text) {
                return kForms;  // a port or an address rather than a file
            }
            return !rest.empty() && rest.size() <= kLongestPath
                       ? std::string()
                       : "the name of a socket has 1 to " + std::to_string(kLongestPath) +
                             " octets; choose another name";
        default: break;
    }
    const auto [host, port] = Split(rest);
    if (!AddressText::IsPort(port) || port.find_first_not_of('0') == std::string::npos) {
        return "not a valid address; \"" + port + "\" is not a port, which is a number from 1 to 65535";
    }
    const bool isWrongFamily = Family() == AF_INET && AddressText::IsIpv6(host);
    return (host.empty() || AddressText::MayBeHost(host)) && !isWrongFamily ? std::string() : kForms;
}

void MasterAddress::ReadPath(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, kLongestPath);
    m_known.Set(&address, sizeof address);
}

void MasterAddress::ReadHost(const std::string& text, int family) {
    auto [name, port] = Split(text);
    if (name.starts_with('[')) {
        name = name.substr(1, name.size() - 2);
    }
    addrinfo hints{};
    hints.ai_family = family;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;  // so that no name server is asked
    addrinfo* first = nullptr;
    if (::getaddrinfo(name.empty() ? nullptr : name.c_str(), port.c_str(), &hints, &first) != 0) {
        m_host = {name, port, family};
        return;
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> found(first, &::freeaddrinfo);
    m_known.Set(found->ai_addr, found->ai_addrlen);
}

}  // namespace cvtagentd
