#pragma once

#include <string>

namespace cvtagentd {

/// Who is at the other end of a stream connection.
struct StreamPeer {
    /// The same for connections that count as one peer's: those from one IPv4 address; from one IPv6 network of 64
    /// bits, since a single host can use any address in it; from one user of this host.
    std::string key;

    /// For the log: "192.0.2.1", "2001:db8::1", "user 1000".
    std::string text;

    /// Returns the peer of a connected socket. A peer that has already gone is "an unknown peer".
    static StreamPeer Of(int socket);
};

}  // namespace cvtagentd
