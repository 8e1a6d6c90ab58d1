#pragma once

#include <sys/socket.h>

#include <string>

namespace cvtagentd {

/// Where an AgentX master listens: a socket's path ("/PATH" or "unix:PATH"), or "tcp:[HOST:]PORT" ("tcp6:" for IPv6). A
/// host may be a name. Without one, the local host is meant. A plain value.
class MasterAddress {
public:
    static constexpr const char* kDefault = "/var/agentx/master";

    /// Empty: kDefault.
    explicit MasterAddress(std::string text) : m_text(text.empty() ? kDefault : std::move(text)) {}

    const std::string& Text() const { return m_text; }

    /// Why this is no address, whatever the host, and what to do; empty when it may be one.
    std::string WhyMalformed() const;

    /// Finds the socket address, which is kept once it has been found. Returns false when the text is no address, or
    /// its host is not known. A name of a host is looked up, which may take seconds: nothing is served without the
    /// master.
    bool Find();
    /// After Find has returned true.
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
    socklen_t Length() const { return m_length; }

private:
    /// AF_UNSPEC: of no kind that there is.
    int Family() const;
    std::string AfterKind() const;
    bool FindPath(const std::string& path);
    bool FindHost(const std::string& text, int family);

    std::string m_text;
    sockaddr_storage m_address{};
    socklen_t m_length = 0;  // 0: not found yet
};

}  // namespace cvtagentd
