#include "agent/cvtagentd/access/AuthFailures.h"

#include <netdb.h>
#include <sys/socket.h>

#include <array>
#include <string>

#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/agent/agent_callbacks.h>

namespace cvtagentd {
namespace {

/// Where a packet came from. Any address that is not an internet address is a socket on this host.
std::string Origin(const netsnmp_pdu& pdu) {
    if (pdu.transport_data == nullptr || pdu.transport_data_length != sizeof(netsnmp_indexed_addr_pair)) {
        return "this host";
    }
    const auto& addresses = *static_cast<const netsnmp_indexed_addr_pair*>(pdu.transport_data);
    const sockaddr& remote = addresses.remote_addr.sa;
    const socklen_t length = remote.sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    std::array<char, NI_MAXHOST> host{};
    const int failed = ::getnameinfo(&remote, length, host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
    return failed == 0 ? host.data() : "an unknown address";
}

int OnCheck(int /*majorId*/, int /*minorId*/, void* parameters, void* /*unused*/) {
    const auto& check = *static_cast<const view_parameters*>(parameters);
    const bool hasCommunity = check.pdu->version == SNMP_VERSION_1 || check.pdu->version == SNMP_VERSION_2c;
    if (hasCommunity && check.errorcode == VACM_NOSECNAME) {
        LibraryLog::WriteLimited(LogLevel::kWarning, "Authentication failure",
                                 "Authentication failure: wrong community from " + Origin(*check.pdu));
    }
    return SNMP_ERR_NOERROR;
}

}  // namespace

void AuthFailures::Watch() {
    // Registered after the check itself, whose result it reads.
    ::netsnmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, &OnCheck, nullptr,
                                NETSNMP_CALLBACK_LOWEST_PRIORITY);
}

}  // namespace cvtagentd
