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

/// The stream connections (TCP, sockets in the file system) that the SNMP library has accepted, and the limits that keep
/// strangers from using up memory and file descriptors through them. The library itself has none: it collects whatever
/// length a message claims, and waits for the rest as long as it takes.
///
/// A connection is closed when
/// - what it sends is no SNMP message, or claims to be a longer one than StreamFraming::kLongestMessage;
/// - a message is incomplete kMessageTime after its first octet, however steadily the rest drips in;
/// - there are too many: of one peer, in all, or for the descriptors that the process has. Then the newcomer is let in and
///   the longest idle connection goes, of the peer that came too often or else of the peers that hold most. Were the
///   newcomer refused, whoever holds all places without a word could keep everybody else out; this way it takes a peer
///   as many new connections as there are places to push out anybody who has just connected and asks at once.
///
/// Each kind of closing is logged, a few times a minute.
///
/// The library reads and closes through functions of ours, which this puts into a connection's transport. They have no
/// room for an object, so at most one exists at a time. Used by the thread that runs the library, which must live longer.
class Connections {
public:
    /// What a connection may cost is a message that is kept until complete: all of them together take some 10 MB.
    static constexpr std::size_t kMost = 128;

    /// A manager needs one; a host that runs many of them, or some that do not close, gets on with this.
    static constexpr std::size_t kMostOfPeer = 32;

    /// Enough for a message's few packets, also when some are lost and sent again.
    static constexpr std::chrono::seconds kMessageTime{5};

    /// What stays free for the files that are read to answer requests, over UDP too. Of a process that may have few
    /// descriptors, half.
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
        Clock::time_point active;                                        // when a message was complete, or at first
        Clock::time_point begun{};                                       // the message that is incomplete
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
    unsigned int m_alarm = 0;  // the library's, for the message that may be too late first; 0: none is incomplete
};

}  // namespace cvtagentd
