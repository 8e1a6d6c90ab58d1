#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/cvtagentd/snmp/Connections.h"

struct snmp_session;
struct snmp_pdu;

namespace cvtagentd {

/// The addresses that the agent answers on.
///
/// The SNMP library holds a SET until no delegated request is left, and every other request until that SET is done. So
/// that no client is held up, a SET that arrives meanwhile is refused here, with resourceUnavailable.
///
/// Nor is any client held up by one that sends over a stream and does not read: its messages are dropped until it does.
/// Connections limits the number of streams and how they are used.
///
/// Used by the thread that runs the library. The library must outlive this object, which must not move.
class Listeners {
public:
    Listeners() = default;
    Listeners(const Listeners&) = delete;
    Listeners& operator=(const Listeners&) = delete;
    ~Listeners();

    /// Starts to answer on this address, written in the library's notation. Throws StartError.
    void Listen(const std::string& address);

    /// `isBusy` tells whether a delegated request is pending; empty: none ever is.
    void RefuseSetsWhile(std::function<bool()> isBusy) { m_isBusy = std::move(isBusy); }

private:
    /// Returns false when the agent cannot listen on the address; errno may say why.
    bool Open(const std::string& address);
    static int OnMessage(int operation, snmp_session* session, int requestId, snmp_pdu* message, void* self);
    bool Refuses(snmp_pdu& message) const;

    std::function<bool()> m_isBusy;
    Connections m_connections;
    std::vector<snmp_session*> m_sessions;  // the library's
};

}  // namespace cvtagentd
