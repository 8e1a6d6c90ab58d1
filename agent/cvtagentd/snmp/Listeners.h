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
/// The SNMP library holds a SET until no request is put back any more, and every other request until that SET is through.
/// So that nobody is held up, a SET that comes meanwhile is refused here, with resourceUnavailable.
///
/// Nor is anybody held up by a client that sends over a stream and does not read: its messages are dropped until it does.
/// Connections has the limits for whoever takes up streams.
///
/// Used by the thread that runs the library, which must live longer. The object stays where it is.
class Listeners {
public:
    Listeners() = default;
    Listeners(const Listeners&) = delete;
    Listeners& operator=(const Listeners&) = delete;
    ~Listeners();

    /// Answers on this address, in the library's notation, from now on. Throws StartError.
    void Listen(const std::string& address);

    /// `isBusy` tells whether a request is put back; empty: none ever is.
    void RefuseSetsWhile(std::function<bool()> isBusy) { m_isBusy = std::move(isBusy); }

private:
    /// False when it cannot be listened on; errno may say why.
    bool Open(const std::string& address);
    static int OnMessage(int operation, snmp_session* session, int requestId, snmp_pdu* message, void* self);
    bool Refuses(snmp_pdu& message) const;

    std::function<bool()> m_isBusy;
    Connections m_connections;
    std::vector<snmp_session*> m_sessions;  // the library's
};

}  // namespace cvtagentd
