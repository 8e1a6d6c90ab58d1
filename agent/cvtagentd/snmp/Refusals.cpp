#include "agent/cvtagentd/snmp/Refusals.h"

#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/MessageOrigin.h"
#include "agent/cvtagentd/snmp/RequestTrace.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

bool s_isRehearsal = false;

}  // namespace

Refusals::Rehearsal::Rehearsal() {
    s_isRehearsal = true;
    m_counts.reserve(NETSNMP_STAT_MAX_STATS);
    for (int statistic = 0; statistic < NETSNMP_STAT_MAX_STATS; ++statistic) {
        m_counts.push_back(::snmp_get_statistic(statistic));
    }
}

Refusals::Rehearsal::~Rehearsal() {
    for (int statistic = 0; statistic < NETSNMP_STAT_MAX_STATS; ++statistic) {
        const unsigned int counted = ::snmp_get_statistic(statistic) - m_counts[static_cast<std::size_t>(statistic)];
        if (counted != 0) {
            ::snmp_increment_statistic_by(statistic, -static_cast<int>(counted));
        }
    }
    s_isRehearsal = false;
}

void Refusals::Log(const snmp_pdu& message, const std::string& cause, const std::string& advice) {
    if (s_isRehearsal) {
        return;
    }
    const std::string kind = "refused, " + cause;
    std::string text = kind + ": " + MessageOrigin::VersionOf(message) + " from " + MessageOrigin::AddressOf(message);
    if (const std::string user = MessageOrigin::UserOf(message); !user.empty()) {
        text += ", user " + user;
    }
    if (!advice.empty()) {
        text += " (" + advice + ")";
    }
    if (RequestTrace::IsOn()) {
        cvtagentd::Log::Warning(text);
    } else {
        LibraryLog::WriteLimited(LogLevel::kWarning, kind, text);
    }
}

/// The library checks, in this order, the engine, the user, the level, the digest, the time and the cipher. A cipher
/// other than DES turns a wrong key into random octets, which then are no PDU.
void Refusals::AfterParse(const snmp_pdu& message, int result) {
    if (result == 0 || message.version != SNMP_VERSION_3) {
        return;
    }
    const bool isDiscovery = message.securityEngineIDLen == 0;
    switch (result) {
        case SNMPERR_USM_UNKNOWNENGINEID:
            if (!isDiscovery) {
                Log(message, "unknown engine identifier",
                    "it was meant for another agent, or for this one before its "
                    "state was lost");
            }
            return;
        case SNMPERR_USM_UNKNOWNSECURITYNAME: Log(message, "unknown user"); return;
        case SNMPERR_USM_UNSUPPORTEDSECURITYLEVEL:
            Log(message, "no key for that security level", "the user was created without it");
            return;
        case SNMPERR_USM_AUTHENTICATIONFAILURE: Log(message, "wrong authentication pass phrase or protocol"); return;
        case SNMPERR_USM_NOTINTIMEWINDOW:
            Log(message, "outside the time window",
                "after a restart of the agent managers adapt by themselves; otherwise the message was held up or "
                "recorded");
            return;
        default: break;
    }
    if (message.securityLevel == SNMP_SEC_LEVEL_AUTHPRIV && message.securityNameLen > 0 && !isDiscovery) {
        Log(message, "wrong privacy pass phrase or protocol");
    }
}

}  // namespace cvtagentd
