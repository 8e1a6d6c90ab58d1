#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// A UDP port of the loopback address that nobody uses; 0 when there is none.
inline int FreePort() {
    const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    const bool bound = ::bind(probe, any, length) == 0 && ::getsockname(probe, any, &length) == 0;
    ::close(probe);
    return bound ? ntohs(address.sin_port) : 0;
}
