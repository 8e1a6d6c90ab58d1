#include "agent/cvtagentd/Endpoints.h"

#include <fcntl.h>
#include <sys/socket.h>

#include "CVT/SnmpTypes.h"
#include "agent/cvtagentd/SnmpHeaders.h"

namespace agent {
namespace {

void Refuse(snmp_session& session, snmp_pdu& message) {
    snmp_pdu* const response = ::snmp_clone_pdu(&message);
    if (response == nullptr) {
        return;
    }
    response->command = SNMP_MSG_RESPONSE;
    response->errstat = message.version == SNMP_VERSION_1 ? CVT::genErr : CVT::resourceUnavailable;
    response->errindex = 1;
    if (::snmp_send(&session, response) == 0) {
        ::snmp_free_pdu(response);
    }
}

}  // namespace

Endpoints::~Endpoints() {
    for (snmp_session* const session : m_sessions) {
        ::snmp_close(session);
    }
}

bool Endpoints::Open(const std::string& address) {
    netsnmp_transport* transport = ::netsnmp_transport_open_server("snmp", address.c_str());
    if (transport == nullptr) {
        return false;
    }
    snmp_session session;
    ::snmp_sess_init(&session);
    session.version = SNMP_DEFAULT_VERSION;
    session.callback = &Endpoints::OnMessage;
    session.callback_magic = this;
    session.isAuthoritative = SNMP_SESS_AUTHORITATIVE;
    session.flags = static_cast<u_long>(::netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_FLAGS));
    if (transport->f_open != nullptr) {
        transport = transport->f_open(transport);
    }
    snmp_session* const opened = transport == nullptr ? nullptr
                                                      : ::snmp_add(&session, transport, &::netsnmp_agent_check_packet,
                                                                   &::netsnmp_agent_check_parse);
    if (opened == nullptr) {  // it has freed the transport
        return false;
    }
    m_sessions.push_back(opened);
    return true;
}

/// The sessions of connections that were accepted come here too. The library's own handler takes no magic.
int Endpoints::OnMessage(int operation, snmp_session* session, int requestId, snmp_pdu* message, void* self) {
    if (operation == NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE && static_cast<Endpoints*>(self)->Refuses(*message)) {
        Refuse(*session, *message);
        return 1;
    }
    return ::handle_snmp_packet(operation, session, requestId, message, nullptr);
}

/// A sender that is not known is the library's affair.
bool Endpoints::Refuses(snmp_pdu& message) const {
    return message.command == SNMP_MSG_SET && m_isBusy && m_isBusy() && ::check_access(&message) == 0;
}

}  // namespace agent
