#include "agent/cvtagentd/snmp/MessageOrigin.h"

#include <netdb.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

/// With IPv4 the library keeps a pair of addresses, with IPv6 only the sender's.
std::optional<sockaddr_storage> MessageOrigin::PeerIn(const void* data, int length) {
    sockaddr_storage peer{};
    if (data != nullptr && length == static_cast<int>(sizeof(netsnmp_indexed_addr_pair))) {
        const auto& pair = *static_cast<const netsnmp_indexed_addr_pair*>(data);
        std::memcpy(&peer, &pair.remote_addr, sizeof pair.remote_addr);
    } else if (data != nullptr && length == static_cast<int>(sizeof(sockaddr_in6))) {
        std::memcpy(&peer, data, sizeof(sockaddr_in6));
    }
    return peer.ss_family == AF_INET || peer.ss_family == AF_INET6 ? std::optional(peer) : std::nullopt;
}

std::optional<sockaddr_storage> MessageOrigin::PeerOf(const snmp_pdu& message) {
    return PeerIn(message.transport_data, message.transport_data_length);
}

std::string MessageOrigin::AddressOf(const snmp_pdu& message) {
    const std::optional<sockaddr_storage> peer = PeerOf(message);
    if (!peer) {
        return "this host";
    }
    const socklen_t length = peer->ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    std::array<char, NI_MAXHOST> host{};
    const int failed = ::getnameinfo(reinterpret_cast<const sockaddr*>(&*peer), length, host.data(), host.size(),
                                     nullptr, 0, NI_NUMERICHOST);
    return failed == 0 ? host.data() : "an unknown address";
}

const char* MessageOrigin::VersionOf(const snmp_pdu& message) {
    switch (message.version) {
        case SNMP_VERSION_1: return "SNMPv1";
        case SNMP_VERSION_2c: return "SNMPv2c";
        case SNMP_VERSION_3: return "SNMPv3";
        default: return "an unknown version";
    }
}

std::string MessageOrigin::UserOf(const snmp_pdu& message) {
    std::string user = message.version != SNMP_VERSION_3 || message.securityName == nullptr
                           ? std::string()
                           : std::string(message.securityName, message.securityNameLen);
    std::replace_if(
        user.begin(), user.end(), [](char c) { return c <= ' ' || c > '~' || c == '(' || c == ','; }, '?');
    return user;
}

}  // namespace cvtagentd
