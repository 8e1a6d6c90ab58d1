#include "agent/cvtagentd/snmp/StreamPeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

namespace cvtagentd {
namespace {

/// The network prefix that a single host may own as a whole.
constexpr std::size_t kNetworkOctets = 8;

std::string TextOf(int family, const void* address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    return ::inet_ntop(family, address, text.data(), text.size()) == nullptr ? "" : text.data();
}

StreamPeer OfUser(int socket) {
    ucred peer{};
    socklen_t length = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) {
        return {"", "an unknown peer"};
    }
    const std::string text = "user " + std::to_string(peer.uid);
    return {text, text};
}

}  // namespace

StreamPeer StreamPeer::Of(int socket) {
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    if (::getpeername(socket, reinterpret_cast<sockaddr*>(&storage), &length) != 0) {
        return {"", "an unknown peer"};
    }
    switch (storage.ss_family) {
        case AF_INET: {
            sockaddr_in address{};
            std::memcpy(&address, &storage, sizeof address);
            const std::string text = TextOf(AF_INET, &address.sin_addr);
            return {text, text};
        }
        case AF_INET6: {
            sockaddr_in6 address{};
            std::memcpy(&address, &storage, sizeof address);
            in6_addr network{};
            std::memcpy(&network, &address.sin6_addr, kNetworkOctets);
            return {TextOf(AF_INET6, &network), TextOf(AF_INET6, &address.sin6_addr)};
        }
        case AF_UNIX: return OfUser(socket);
        default: return {"", "an unknown peer"};
    }
}

}  // namespace cvtagentd
