#include "agent/cvtagentd/snmp/ListenAddress.h"

#include <netdb.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>

#include "agent/cvtagentd/snmp/AddressText.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

constexpr std::string_view kUnix = "unix:";

/// The library's names for the transports to which an address and a port belong, and for the others.
constexpr const char* kInternet[] = {"udp", "tcp", "udp6", "udpv6", "udpipv6", "tcp6", "tcpv6", "tcpipv6", "ipv6"};
constexpr const char* kOthers[] = {"dtlsudp", "dtlsudp6", "tlstcp", "tls", "ssh", "alias", "callback", "std"};

template <std::size_t Size>
bool IsOneOf(const std::string& text, const char* const (&names)[Size]) {
    return std::any_of(std::begin(names), std::end(names),
                       [&](const char* name) { return ::strcasecmp(text.c_str(), name) == 0; });
}

bool IsNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// An internet address in its parts. The library takes an unknown transport for a host's name.
struct Parts {
    std::string transport;  // with the colon; may be empty
    std::string host;       // with the colon that follows it; may be empty
    std::string port;       // empty: 161
};

/// No value for another transport.
std::optional<Parts> Split(const std::string& address) {
    Parts parts;
    std::string rest = address;
    const std::string first = address.substr(0, address.find(':'));
    if (first.size() < address.size() && IsOneOf(first, kInternet)) {
        parts.transport = first + ":";
        rest = address.substr(parts.transport.size());
    } else if (first.size() < address.size() && IsOneOf(first, kOthers)) {
        return std::nullopt;
    }
    if (IsNumber(rest)) {
        parts.port = rest;
        return parts;
    }
    const std::size_t end = rest.starts_with('[') ? rest.find(']') : std::string::npos;
    const std::size_t colon = rest.find(':', end == std::string::npos ? 0 : end);
    const bool isBareIpv6 = end == std::string::npos && colon != rest.rfind(':');
    if (colon == std::string::npos || isBareIpv6) {
        parts.host = (isBareIpv6 ? "[" + rest + "]" : rest) + ":";
        return parts;
    }
    parts.host = rest.substr(0, colon + 1);
    parts.port = rest.substr(colon + 1);
    return parts;
}

bool IsSocket(const std::string& address) { return address.starts_with('/') || address.starts_with(kUnix); }

/// Relative to the working directory.
std::string FileOf(const std::string& address) {
    return address.starts_with('/') ? address : address.substr(kUnix.size());
}

bool IsForIpv4(const std::string& transport) {
    return ::strcasecmp(transport.c_str(), "udp:") == 0 || ::strcasecmp(transport.c_str(), "tcp:") == 0;
}

bool IsForIpv6(const std::string& transport) { return transport.find('6') != std::string::npos; }

bool IsIpv4(const std::string& host) {
    return !host.empty() && host.find_first_not_of("0123456789.") == std::string::npos;
}

}  // namespace

std::string ListenAddress::WhyMalformed(const std::string& address) {
    if (IsSocket(address)) {
        const std::size_t size = FileOf(address).size();
        constexpr std::size_t kLongest = sizeof(sockaddr_un::sun_path) - 1;
        return size > 0 && size <= kLongest
                   ? std::string()
                   : "the name of a socket has 1 to " + std::to_string(kLongest) + " octets; choose another name";
    }
    const std::optional<Parts> parts = Split(address);
    if (!parts) {
        return {};
    }
    if (!parts->port.empty() && !AddressText::IsPort(parts->port)) {
        return "not a valid address; \"" + parts->port + "\" is not a port, which is a number up to 65535";
    }
    const std::string host = parts->host.substr(0, parts->host.rfind(':'));
    const bool isEmpty =
        parts->port.empty() && (host.empty() || (address.ends_with(':') && !AddressText::IsIpv6(host)));
    const bool isOfOtherFamily =
        IsForIpv4(parts->transport) ? AddressText::IsIpv6(host) : IsForIpv6(parts->transport) && IsIpv4(host);
    if (isEmpty || isOfOtherFamily || IsOneOf(address, kInternet) || (!host.empty() && !AddressText::MayBeHost(host))) {
        return Advice(0);
    }
    return {};
}

std::string ListenAddress::WhyNot(const std::string& address, bool& mayPass) {
    mayPass = false;
    if (std::string why = WhyMalformed(address); !why.empty()) {
        return why;
    }
    if (IsSocket(address)) {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::path(FileOf(address)).parent_path();
        if (IsOtherFile(address)) {
            return kNotASocket;
        }
        return folder.empty() || std::filesystem::is_directory(folder, error)
                   ? std::string()
                   : "the folder " + folder.string() + " is missing; create it, or choose another one";
    }
    const std::optional<Parts> parts = Split(address);
    if (!parts) {
        return {};
    }
    const LibraryLog::Collector collector;
    errno = 0;
    netsnmp_transport* const transport =
        ::netsnmp_transport_open_server("snmp", (parts->transport + parts->host + "0").c_str());
    if (transport == nullptr) {
        const int error = collector.Messages().empty() ? errno : collector.Messages().back().systemError;
        const Host host = LookUp(address);
        mayPass = host == Host::kUnknownForNow || (host == Host::kKnown && error != 0);
        return host == Host::kKnown ? Advice(error) : kUnresolved;
    }
    transport->f_close(transport);
    ::netsnmp_transport_free(transport);
    return {};
}

bool ListenAddress::IsOtherFile(const std::string& address) {
    if (!address.starts_with(kUnix)) {
        return false;
    }
    struct stat status {};
    return ::lstat(address.c_str() + kUnix.size(), &status) == 0 && !S_ISSOCK(status.st_mode);
}

ListenAddress::Host ListenAddress::LookUp(const std::string& address) {
    const std::optional<Parts> parts = IsSocket(address) ? std::nullopt : Split(address);
    if (!parts || parts->host.empty()) {
        return Host::kKnown;
    }
    std::string host = parts->host.substr(parts->host.starts_with('[') ? 1 : 0);
    host.resize(host.find_first_of(host.size() < parts->host.size() ? "%]" : "@:"));  // without an interface
    addrinfo hints{};
    hints.ai_family = IsForIpv6(parts->transport) ? AF_INET6 : IsForIpv4(parts->transport) ? AF_INET : AF_UNSPEC;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (error == 0) {
        ::freeaddrinfo(found);
        return Host::kKnown;
    }
    const bool mayPass = error == EAI_AGAIN || error == EAI_SYSTEM || error == EAI_MEMORY;
    return mayPass ? Host::kUnknownForNow : Host::kUnknown;
}

std::string ListenAddress::Advice(int error) {
    switch (error) {
        case 0: return "not a valid address; write it as udp:HOST:PORT, tcp:HOST:PORT, udp6:[HOST]:PORT or unix:FILE";
        case EADDRINUSE: return "the port is in use; stop the program that uses it, or choose another port";
        case EADDRNOTAVAIL: return "this host has no such address; choose one of its own";
        case ENOENT:
        case ENOTDIR:
            return std::generic_category().message(error) + "; create the folder of that socket, or choose another one";
        case EACCES: return "not permitted; choose a port above 1023, or start the agent with more rights";
        default: return std::generic_category().message(error);
    }
}

}  // namespace cvtagentd
