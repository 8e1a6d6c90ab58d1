#include "agent/cvtagentd/snmp/Listeners.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "CVT/SnmpTypes.h"
#include "agent/cvtagentd/process/Descriptors.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/snmp/DescriptorSet.h"
#include "agent/cvtagentd/snmp/HostAccess.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/ListenAddress.h"
#include "agent/cvtagentd/snmp/MessageOrigin.h"
#include "agent/cvtagentd/snmp/Refusals.h"
#include "agent/cvtagentd/snmp/RequestTrace.h"
#include "agent/cvtagentd/snmp/ResponseBuilder.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

netsnmp_transport* TransportOf(snmp_session& session) {
    void* const internal = ::snmp_sess_pointer(&session);
    return internal == nullptr ? nullptr : ::snmp_sess_transport(internal);
}

/// Enlarges the send buffer for clients that do not read at once; closes the connection in programs that a module
/// starts.
void SetUpConnection(int socket) {
    constexpr int kRoom = 1 << 20;  // the kernel may grant less
    ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &kRoom, sizeof kRoom);
}

/// The library's queue of connections to accept holds five. A client that connects faster than we accept would make
/// others wait a second or more for another try.
void LengthenQueue(const netsnmp_transport& transport) {
    constexpr int kWaiting = 1024;
    if ((transport.flags & NETSNMP_TRANSPORT_FLAG_LISTEN) != 0) {
        ::listen(transport.sock, kWaiting);
    }
}

/// Whether the client on a stream has left so much unread that its next message has to be dropped: a quarter of the
/// send buffer is taken. A response, which takes more room in the kernel than its octets, fits into the rest.
bool MayHaveToWait(int socket) {
    int unread = 0;
    int room = 0;
    socklen_t length = sizeof room;
    return ::ioctl(socket, SIOCOUTQ, &unread) == 0 &&
           ::getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &room, &length) == 0 && unread > room / 4;
}

/// Asks hosts.allow and hosts.deny about the source. If the verdict is cached, the library need not read the files;
/// only counting the packet is left to do.
bool AdmitsHost(snmp_session* session, netsnmp_transport* transport, void* opaque, int length) {
    static HostAccess s_access;
    const auto ask = [&] { return ::netsnmp_agent_check_packet(session, transport, opaque, length) != 0; };
    const auto peer = MessageOrigin::PeerIn(opaque, length);
    const auto source = peer ? HostAccess::Address::Of(reinterpret_cast<const sockaddr&>(*peer)) : std::nullopt;
    if (!source) {
        return ask();
    }
    const auto now = HostAccess::Clock::now();
    if (const auto verdict = s_access.Verdict(*source, now); verdict) {
        ::snmp_increment_statistic(STAT_SNMPINPKTS);
        return *verdict;
    }
    const bool isAdmitted = ask();
    s_access.Remember(*source, isAdmitted, now);
    return isAdmitted;
}

/// Every message comes here first, even one that the library answers by itself. A message that is not taken is dropped.
int CheckPacket(snmp_session* session, netsnmp_transport* transport, void* opaque, int length) {
    const bool isStream = (transport->flags & NETSNMP_TRANSPORT_FLAG_STREAM) != 0;
    if (isStream && MayHaveToWait(transport->sock)) {
        return 0;
    }
    return AdmitsHost(session, transport, opaque, length) ? 1 : 0;
}

/// Every message that has been parsed comes here, and those that could not be. Returns 0 for one to drop.
int CheckParse(snmp_session* session, snmp_pdu* message, int result) {
    Refusals::AfterParse(*message, result);
    return ::netsnmp_agent_check_parse(session, message, result);
}

/// Whether a version 3 message names a context that exists: of this engine, or of none. The name must hold no null
/// octet, since for the library a name ends at the first one.
bool IsForUs(const snmp_pdu& message) {
    if (message.version != SNMP_VERSION_3) {
        return true;
    }
    if (message.contextNameLen > 0 && std::memchr(message.contextName, '\0', message.contextNameLen) != nullptr) {
        return false;
    }
    if (message.contextEngineIDLen == 0) {
        return true;
    }
    std::array<u_char, 2UL * MAX_ENGINEID_LENGTH> own{};
    return ::snmpv3_get_engineID(own.data(), own.size()) == message.contextEngineIDLen &&
           std::memcmp(own.data(), message.contextEngineID, message.contextEngineIDLen) == 0;
}

void Refuse(snmp_session& session, snmp_pdu& message) {
    snmp_pdu* const response = ::snmp_clone_pdu(&message);
    if (response == nullptr) {
        return;
    }
    response->command = SNMP_MSG_RESPONSE;
    response->errstat = message.version == SNMP_VERSION_1 ? CVT::genErr : CVT::resourceUnavailable;
    response->errindex = 1;
    for (const int statistic : {STAT_SNMPINSETREQUESTS, STAT_SNMPOUTPKTS, STAT_SNMPOUTGETRESPONSES}) {
        ::snmp_increment_statistic(statistic);  // the library counts what it answers itself
    }
    if (::snmp_send(&session, response) == 0) {
        ::snmp_free_pdu(response);
    }
}

}  // namespace

Listeners::~Listeners() {
    for (snmp_session* const session : m_sessions) {
        ::snmp_close(session);
    }
}

void Listeners::Listen(const std::string& address) {
    if (ListenAddress::IsOtherFile(address)) {  // the library would delete it
        throw ConfigError("cannot listen on " + address + ": " + ListenAddress::kNotASocket);
    }
    if (const std::string why = ListenAddress::WhyMalformed(address); !why.empty()) {
        throw ConfigError("cannot listen on " + address + ": " + why);
    }
    const LibraryLog::Collector collector;
    errno = 0;
    if (!Open(address)) {
        const int error = collector.Messages().empty() ? errno : collector.Messages().back().systemError;
        if (ListenAddress::LookUp(address) != ListenAddress::Host::kKnown) {
            throw StartError("cannot listen on " + address + ": " + ListenAddress::kUnresolved);
        }
        const std::string text = "cannot listen on " + address + ": " + ListenAddress::Advice(error);
        if (error == 0) {
            throw ConfigError(text);
        }
        FailToStart(text, error);
    }
    Descriptors::KeepFromChildren();  // programs that a module starts must not keep the agent's sockets open
}

bool Listeners::Open(const std::string& address) {
    netsnmp_transport* transport = ::netsnmp_transport_open_server("snmp", address.c_str());
    if (transport == nullptr) {
        return false;
    }
    snmp_session session;
    ::snmp_sess_init(&session);
    session.version = SNMP_DEFAULT_VERSION;
    session.callback = &Listeners::OnMessage;
    session.callback_magic = this;
    session.isAuthoritative = SNMP_SESS_AUTHORITATIVE;
    session.flags = static_cast<u_long>(::netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_FLAGS));
    if (transport->f_open != nullptr) {
        transport = transport->f_open(transport);
    }
    snmp_session* const opened = transport == nullptr
                                     ? nullptr
                                     : ::snmp_add_full(&session, transport, &CheckPacket, nullptr, &CheckParse, nullptr,
                                                       &ResponseBuilder::Build, nullptr, nullptr);
    if (opened == nullptr) {  // it has freed the transport
        return false;
    }
    m_sessions.push_back(opened);
    LengthenQueue(*transport);
    return true;
}

/// Also called for the sessions of accepted connections. The library's own handler ignores this argument.
int Listeners::OnMessage(int operation, snmp_session* session, int requestId, snmp_pdu* message, void* self) {
    if (operation == NETSNMP_CALLBACK_OP_CONNECT) {
        if (netsnmp_transport* const transport = TransportOf(*session); transport != nullptr) {
            SetUpConnection(transport->sock);
            static_cast<Listeners*>(self)->m_connections.Add(*transport);
        }
    }
    if (operation == NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE) {
        if (!IsForUs(*message)) {
            Refusals::Log(*message, "unknown context");
            return 1;
        }
        ResponseBuilder::Expect(*message);
        RequestTrace::Begin(*message);
        if (static_cast<Listeners*>(self)->Refuses(*message)) {
            Refuse(*session, *message);
            return 1;
        }
    }
    return ::handle_snmp_packet(operation, session, requestId, message, nullptr);
}

/// A sender without access is left to the library, which makes the same check again.
bool Listeners::Refuses(snmp_pdu& message) const {
    if (message.command != SNMP_MSG_SET || !m_isBusy || !m_isBusy()) {
        return false;
    }
    const Refusals::Rehearsal rehearsal;
    return ::check_access(&message) == 0;
}

}  // namespace cvtagentd
