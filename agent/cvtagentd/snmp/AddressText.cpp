#include "agent/cvtagentd/snmp/AddressText.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <string>

namespace cvtagentd {
namespace {

constexpr int kHighestPort = 65535;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Octets beyond ASCII are left to the resolver.
bool MayBeInName(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-' || c == '_' ||
           static_cast<unsigned char>(c) > 0x7F;
}

bool IsIpv6Address(std::string_view text) {
    const std::string address(text.substr(0, text.find('%')));
    in6_addr parsed{};
    return ::inet_pton(AF_INET6, address.c_str(), &parsed) == 1;
}

}  // namespace

bool AddressText::IsPort(std::string_view text) {
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, port);
    return !text.empty() && IsDigit(text.front()) && parsed.ec == std::errc() && parsed.ptr == end &&
           port <= kHighestPort;
}

bool AddressText::MayBeHost(std::string_view text) {
    const std::string_view host = text.substr(0, text.find('@'));
    if (host.starts_with('[')) {
        const std::string_view inner = host.substr(1, host.find(']') - 1);
        return host.ends_with(']') && inner.size() + 2 == host.size() && (IsIpv6Address(inner) || MayBeHost(inner));
    }
    const auto isOfNumber = [](char c) { return IsDigit(c) || c == '.'; };
    if (std::all_of(host.begin(), host.end(), isOfNumber)) {
        in_addr parsed{};
        return ::inet_aton(std::string(host).c_str(), &parsed) != 0;
    }
    return host.front() != '-' && std::all_of(host.begin(), host.end(), &MayBeInName);
}

bool AddressText::IsIpv6(std::string_view host) { return host.starts_with('[') && host.find(':') != host.npos; }

}  // namespace cvtagentd
