#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "agent/cvtagentd/snmp/StreamFraming.h"
#include "agent/cvtagentd/snmp/StreamPeer.h"

struct netsnmp_transport_s;

namespace cvtagentd {

/// The stream connections (TCP, Unix sockets) that the SNMP library has accepted, and the limits that keep clients from
/// using up memory and file descriptors through them. The library itself has no limits: it collects as much as a
/// message claims to be, and waits for the rest without end.
///
/// A connection is closed when
/// - what it sends is not an SNMP message, or claims to be longer than StreamFraming::kLongestMessage;
/// - a message is incomplete kMessageTime after its first octet, however steadily the rest drips in;
/// - there are too many: of one peer, in all, or for the descriptors that the process has. Then the new one is
///   accepted, and the one that has been idle longest is closed: one of the same peer if that has too many, otherwise
///   one of the peers that hold most. If the new one were refused instead, a peer that holds all places and sends
///   nothing could keep all others out. This way a peer needs as many new connections as there are places to push out
///   a client that has just connected and asks at once.
///
/// Each kind of closing is logged, a few times a minute.
///
/// The library reads and closes through functions of this class, which it puts into a connection's transport. They take
/// no context argument, so at most one object exists at a time. Used by the thread that runs the library. The library
/// must outlive this object.
class Connections {
public:
    /// A connection may cost one message, which is kept until it is complete: some 10 MB for all connections together.
    static constexpr std::size_t kMost = 128;

    /// A manager needs one connection. This is enough for a host that runs many managers, or some that do not close.
    static constexpr std::size_t kMostOfPeer = 32;

    /// Enough for a message's few packets, even when some are lost and sent again.
    static constexpr std::chrono::seconds kMessageTime{5};

    /// Descriptors that stay free for the files that are read to answer requests, over UDP too. Half of all descriptors
    /// where the process may have few.
    static constexpr std::size_t kSpareDescriptors = 64;

    Connections();
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    /// Watches a connection that has just been accepted, until the library closes it.
    void Add(netsnmp_transport_s& transport);

private:
    using Clock = std::chrono::steady_clock;

    struct Connection {
        StreamPeer peer;
        int (*receive)(netsnmp_transport_s*, void*, int, void**, int*);  // the library's
        int (*close)(netsnmp_transport_s*);                              // the library's
        Clock::time_point active;   // when a message was last complete, or on accept
        Clock::time_point begun{};  // when the incomplete message began
        StreamFraming framing{};
        bool isClosing = false;
    };
    using Map = std::map<netsnmp_transport_s*, Connection>;
    using Counts = std::map<std::string, std::size_t>;  // by StreamPeer::key

    static int Receive(netsnmp_transport_s* transport, void* buffer, int size, void** opaque, int* opaqueLength);
    static int Close(netsnmp_transport_s* transport);
    static void OnAlarm(unsigned int id, void* self);

    bool Follow(Connection& connection, std::string_view octets);
    void CloseUnfinished();
    void SetAlarm(Clock::duration wait);
    void MakeRoom(const netsnmp_transport_s& newcomer, const StreamPeer& peer);
    void CloseLongestIdle(const Counts& counts);
    static void BeginClosing(Map::value_type& entry);

    Map m_all;
    unsigned int m_alarm = 0;  // the library's, for the oldest incomplete message; 0: none is incomplete
};

}  // namespace cvtagentd
