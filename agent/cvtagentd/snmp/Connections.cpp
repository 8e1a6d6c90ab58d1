#include "agent/cvtagentd/snmp/Connections.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

Connections* s_connections = nullptr;

/// The library's timers and this clock may differ by some microseconds.
constexpr std::chrono::milliseconds kShortestAlarm{10};

void Warn(const std::string& kind, const std::string& text) {
    LibraryLog::WriteLimited(LogLevel::kWarning, kind, kind + ' ' + text);
}

/// Whether the rest of a message is already in the socket: then this process was slow, not the sender.
bool HasArrived(int socket, std::size_t octets) {
    int waiting = 0;
    return ::ioctl(socket, FIONREAD, &waiting) == 0 && waiting > 0 && static_cast<std::size_t>(waiting) >= octets;
}

/// Relies on the kernel's rule that a new descriptor gets the lowest free number. `any` is any open descriptor.
bool AreSpareDescriptorsTaken(int any) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return false;
    }
    const int lowest = ::fcntl(any, F_DUPFD_CLOEXEC, 0);
    if (lowest < 0) {
        return true;
    }
    ::close(lowest);
    const auto spare = std::min<rlim_t>(Connections::kSpareDescriptors, limit.rlim_cur / 2);
    return static_cast<rlim_t>(lowest) >= limit.rlim_cur - spare;
}

}  // namespace

Connections::Connections() { s_connections = this; }

Connections::~Connections() {
    for (const auto& [transport, connection] : m_all) {
        transport->f_recv = connection.receive;
        transport->f_close = connection.close;
    }
    ::snmp_alarm_unregister(m_alarm);
    s_connections = nullptr;
}

void Connections::Add(netsnmp_transport& transport) {
    const StreamPeer peer = StreamPeer::Of(transport.sock);
    m_all.insert_or_assign(&transport, Connection{peer, transport.f_recv, transport.f_close, Clock::now()});
    transport.f_recv = &Connections::Receive;
    transport.f_close = &Connections::Close;
    MakeRoom(transport, peer);
}

void Connections::MakeRoom(const netsnmp_transport& newcomer, const StreamPeer& peer) {
    Counts counts;
    std::size_t all = 0;
    for (const auto& [transport, connection] : m_all) {
        if (!connection.isClosing) {
            ++counts[connection.peer.key];
            ++all;
        }
    }
    if (const std::size_t own = counts[peer.key]; own > kMostOfPeer) {
        Warn("too many connections from", peer.text + ": closed the longest idle of its " +
                                              std::to_string(kMostOfPeer) +
                                              "; its clients should close theirs, or use one for all requests");
        CloseLongestIdle({{peer.key, own}});
    } else if (all > kMost) {
        Warn("too many connections in all:", "closed an idle one for a new one from " + peer.text);
        CloseLongestIdle(counts);
    } else if (AreSpareDescriptorsTaken(newcomer.sock)) {
        Warn("too few file descriptors for connections:",
             "closed an idle one for a new one from " + peer.text +
                 "; raise the limit (ulimit -n, or LimitNOFILE= of the service)");
        CloseLongestIdle(counts);
    }
}

/// The peers that hold the most connections, with that number.
void Connections::CloseLongestIdle(const Counts& counts) {
    std::size_t most = 0;
    for (const auto& [peer, count] : counts) {
        most = std::max(most, count);
    }
    Map::value_type* longest = nullptr;
    for (Map::value_type& entry : m_all) {
        const Connection& connection = entry.second;
        const auto count = counts.find(connection.peer.key);
        if (!connection.isClosing && count != counts.end() && count->second == most &&
            (longest == nullptr || connection.active < longest->second.active)) {
            longest = &entry;
        }
    }
    if (longest != nullptr) {
        BeginClosing(*longest);
    }
}

/// The library may be iterating over its connections. The shutdown makes this one readable, and the library then closes
/// it.
void Connections::BeginClosing(Map::value_type& entry) {
    entry.second.isClosing = true;
    ::shutdown(entry.first->sock, SHUT_RDWR);
}

/// The library closes a connection that cannot be read.
int Connections::Receive(netsnmp_transport* transport, void* buffer, int size, void** opaque, int* opaqueLength) {
    constexpr int kUnreadable = -1;
    const auto found = s_connections->m_all.find(transport);
    if (found == s_connections->m_all.end() || found->second.isClosing) {
        return kUnreadable;
    }
    Connection& connection = found->second;
    const int length = connection.receive(transport, buffer, size, opaque, opaqueLength);
    if (length <= 0) {
        return length;
    }
    const std::string_view octets(static_cast<const char*>(buffer), static_cast<std::size_t>(length));
    return s_connections->Follow(connection, octets) ? length : kUnreadable;
}

bool Connections::Follow(Connection& connection, std::string_view octets) {
    const bool wasInMessage = connection.framing.IsInMessage();
    const std::size_t complete = connection.framing.NumComplete();
    switch (connection.framing.Take(octets)) {
        case StreamFraming::Verdict::kNoMessage:
            Warn("no SNMP message came from", connection.peer.text + ": closed its connection");
            return false;
        case StreamFraming::Verdict::kTooLong:
            Warn("too long a message came from", connection.peer.text + ": closed its connection; at most " +
                                                     std::to_string(StreamFraming::kLongestMessage) +
                                                     " octets are taken");
            return false;
        case StreamFraming::Verdict::kGood: break;
    }
    const Clock::time_point now = Clock::now();
    const bool hasCompleted = connection.framing.NumComplete() != complete;
    if (hasCompleted) {
        connection.active = now;
    }
    if (connection.framing.IsInMessage() && (hasCompleted || !wasInMessage)) {
        connection.begun = now;
        if (m_alarm == 0) {
            SetAlarm(kMessageTime);
        }
    }
    return true;
}

int Connections::Close(netsnmp_transport* transport) {
    const auto found = s_connections->m_all.find(transport);
    if (found == s_connections->m_all.end()) {
        return -1;
    }
    transport->f_recv = found->second.receive;
    transport->f_close = found->second.close;
    s_connections->m_all.erase(found);
    return transport->f_close(transport);
}

void Connections::SetAlarm(Clock::duration wait) {
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(wait).count();
    const timeval time{microseconds / 1000000, microseconds % 1000000};
    m_alarm = ::snmp_alarm_register_hr(time, 0, &Connections::OnAlarm, this);
}

void Connections::OnAlarm(unsigned int /*id*/, void* self) {
    auto& connections = *static_cast<Connections*>(self);
    connections.m_alarm = 0;
    connections.CloseUnfinished();
}

void Connections::CloseUnfinished() {
    const Clock::time_point now = Clock::now();
    std::optional<Clock::time_point> next;
    for (Map::value_type& entry : m_all) {
        const Connection& connection = entry.second;
        if (connection.isClosing || !connection.framing.IsInMessage()) {
            continue;
        }
        const Clock::time_point end = connection.begun + kMessageTime;
        if (end <= now && !HasArrived(entry.first->sock, connection.framing.Missing())) {
            Warn("an incomplete message came from",
                 connection.peer.text + ": closed its connection after " + std::to_string(kMessageTime.count()) + " s");
            BeginClosing(entry);
        } else if (!next || end < *next) {
            next = end;
        }
    }
    if (next) {
        SetAlarm(std::max<Clock::duration>(*next - now, kShortestAlarm));
    }
}

}  // namespace cvtagentd
