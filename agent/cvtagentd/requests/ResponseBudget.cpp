#include "agent/cvtagentd/requests/ResponseBudget.h"

#include <algorithm>
#include <memory>

#include "agent/cvtagentd/snmp/RequestData.h"

#include <net-snmp/agent/agent_callbacks.h>

namespace cvtagentd {
namespace {

constexpr RequestData<std::size_t> kRoomData("cvtagentd.room");

/// What a UDP message over IPv4 can hold: for a configuration that takes the bound away (sendMessageMaxSize).
constexpr long kDatagramOctets = 65507;
/// Of a message of version 3 without the names in it: what comes before the varbinds, the longest digest, and a block of
/// padding.
constexpr long kHeaderOctets = 156;
/// More than the name of any instance of HOST-RESOURCES-MIB, and the tags and lengths of a varbind.
constexpr std::size_t kNameOctets = 36;

std::size_t Room(const netsnmp_pdu& pdu) {
    const long configured = ::netsnmp_ds_get_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX);
    long message = configured > 0 ? configured : kDatagramOctets;
    if (pdu.msgMaxSize > 0) {
        message = std::min(message, pdu.msgMaxSize);
    }
    const auto names = pdu.securityEngineIDLen + pdu.securityNameLen + pdu.contextEngineIDLen + pdu.contextNameLen;
    return static_cast<std::size_t>(std::max(message - kHeaderOctets - static_cast<long>(names), 0L));
}

/// The library asks so whether a request that has just come may be served at all.
int OnRequest(int /*major*/, int /*minor*/, void* serverArgument, void* /*clientArgument*/) {
    netsnmp_pdu* const pdu = static_cast<view_parameters*>(serverArgument)->pdu;
    if (pdu == nullptr || pdu->command != SNMP_MSG_GETBULK || pdu->version != SNMP_VERSION_3) {
        return SNMPERR_SUCCESS;
    }
    const long singles = std::max(pdu->non_repeaters, 0L);
    long columns = -singles;
    for (const variable_list* varBind = pdu->variables; varBind != nullptr; varBind = varBind->next_variable) {
        ++columns;
    }
    if (columns > 0) {
        const auto fit = static_cast<long>(Room(*pdu) / (ResponseBudget::kValueOctets + kNameOctets));
        pdu->max_repetitions = std::min(pdu->max_repetitions, std::max((fit - singles) / columns, 1L));
    }
    return SNMPERR_SUCCESS;
}

/// With tag and length.
std::size_t FieldOctets(std::size_t content) { return content + (content < 0x80 ? 2 : content < 0x100 ? 3 : 4); }

std::size_t ContentOf(const CVT::BObjectIdentifier& name) {
    std::size_t octets = 0;
    for (unsigned int arc : name.Arcs()) {
        for (++octets; arc >= 0x80; arc >>= 7U) {
            ++octets;
        }
    }
    return octets > 2 ? octets - 1 : octets;  // the first two arcs share an octet
}

/// At most: a number is seldom that long.
std::size_t ContentOf(const CVT::BVarBind& varBind) {
    switch (varBind.type) {
        case CVT::kOctetString: return varBind.octets.Length();
        case CVT::kObjectIdentifier: return ContentOf(varBind.identifier);
        default: return varBind.number < 0x800000 ? 3 : 5;
    }
}

std::size_t OctetsOf(const CVT::BVarBind& varBind) {
    return FieldOctets(FieldOctets(ContentOf(varBind.name)) + FieldOctets(ContentOf(varBind)));
}

}  // namespace

void ResponseBudget::Install() {
    ::snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, &OnRequest, nullptr);
}

ResponseBudget::ResponseBudget(const netsnmp_agent_request_info_s& info) {
    const netsnmp_pdu& pdu = *info.asp->pdu;
    if (pdu.version != SNMP_VERSION_3) {
        return;
    }
    netsnmp_agent_request_info& requestInfo = *info.asp->reqinfo;
    m_room = kRoomData.Find(requestInfo);
    if (m_room == nullptr) {
        m_room = &kRoomData.Attach(requestInfo, std::make_unique<std::size_t>(Room(pdu)));
    }
}

bool ResponseBudget::Takes(const CVT::BVarBind& varBind) const {
    if (m_room == nullptr) {
        return true;
    }
    const std::size_t octets = OctetsOf(varBind);
    if (octets > *m_room) {
        return false;
    }
    *m_room -= octets;
    return true;
}

}  // namespace cvtagentd
