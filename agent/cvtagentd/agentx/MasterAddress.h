#pragma once

#include <sys/socket.h>

#include <string>

namespace cvtagentd {

/// An address that connect(2) takes. A plain value.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t length = 0;

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }
    /// Copies `size` octets, at most those of `storage`.
    void Set(const void* address, socklen_t size);
};

/// Where an AgentX master listens: a socket's path ("/PATH" or "unix:PATH"), or "tcp:[HOST:]PORT" ("tcp6:" for IPv6). A
/// host may be a name. Without one, the local host is meant. A plain value.
class MasterAddress {
public:
    static constexpr const char* kDefault = "/var/agentx/master";

    /// A host whose name must be looked up before each attempt to connect (HostLookup): its address may change.
    struct Host {
        std::string name;
        std::string port;
        int family = 0;
    };

    /// Empty: kDefault. Looks nothing up.
    explicit MasterAddress(std::string text);

    const std::string& Text() const { return m_text; }

    /// Why the text cannot be an address on any host, and what to do; empty when it may be one.
    std::string WhyMalformed() const;

    bool IsValid() const { return m_known.length != 0 || !m_host.name.empty(); }
    /// Null when there is nothing to look up.
    const Host* HostToLookUp() const { return m_host.name.empty() ? nullptr : &m_host; }
    /// Only for a valid address without a host to look up.
    const SocketAddress& Known() const { return m_known; }

private:
    /// AF_UNSPEC: the text begins with an unknown kind.
    int Family() const;
    std::string AfterKind() const;
    void ReadPath(const std::string& path);
    void ReadHost(const std::string& text, int family);

    std::string m_text;
    SocketAddress m_known;
    Host m_host;
};

}  // namespace cvtagentd
