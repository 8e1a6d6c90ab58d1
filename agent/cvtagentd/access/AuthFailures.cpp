#include "agent/cvtagentd/access/AuthFailures.h"

#include <set>
#include <string>

#include "agent/cvtagentd/access/Communities.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/Refusals.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/agent/agent_callbacks.h>

namespace cvtagentd {
namespace {

std::set<std::string> s_communities;

void LogCommunity(const snmp_pdu& message) {
    const std::string community(reinterpret_cast<const char*>(message.community), message.community_len);
    if (s_communities.count(community) == 0) {
        Refusals::Log(message, "unknown community");
    } else {
        Refusals::Log(message, "community not granted to that address", "allow the address as its SOURCE");
    }
}

int OnCheck(int /*majorId*/, int /*minorId*/, void* parameters, void* /*unused*/) {
    const auto& check = *static_cast<const view_parameters*>(parameters);
    switch (check.errorcode) {
        case VACM_NOSECNAME: LogCommunity(*check.pdu); break;
        case VACM_NOGROUP: Refusals::Log(*check.pdu, "no access granted", "add rouser or rwuser"); break;
        case VACM_NOACCESS:
            Refusals::Log(*check.pdu, "security level too low", "the configuration demands auth or priv");
            break;
        case VACM_NOSUCHCONTEXT: Refusals::Log(*check.pdu, "unknown context"); break;
        default: break;
    }
    return SNMP_ERR_NOERROR;
}

}  // namespace

void AuthFailures::Watch() {
    // Registered after the check itself, whose result it reads.
    ::netsnmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, &OnCheck, nullptr,
                                NETSNMP_CALLBACK_LOWEST_PRIORITY);
    LibraryLog::Demote("Authentication failed for ");
    LibraryLog::Demote("security service 3 error parsing ScopedPDU");
}

void AuthFailures::LearnCommunities(const std::string& file) { s_communities = Communities::In(file); }

}  // namespace cvtagentd
