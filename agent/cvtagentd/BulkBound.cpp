#include "agent/cvtagentd/BulkBound.h"

#include <algorithm>
#include <memory>
#include <new>

#include "agent/cvtagentd/SnmpHeaders.h"

#include <net-snmp/agent/agent_callbacks.h>

namespace agent {
namespace {

constexpr const char* kRoomName = "cvtagentd.room";

/// Of a message of version 3: what comes before the varbinds.
constexpr long kHeaderOctets = 256;
/// Tags and lengths of a varbind, its name and its value.
constexpr std::size_t kTagOctets = 12;
/// A number, or an IP address.
constexpr std::size_t kNumberOctets = 5;
/// More than the name of any instance of HOST-RESOURCES-MIB.
constexpr std::size_t kNameOctets = 24;

std::size_t Room(const netsnmp_pdu& pdu) {
    const long most = ::netsnmp_ds_get_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX);
    const long message = pdu.msgMaxSize > 0 ? std::min(pdu.msgMaxSize, most) : most;
    return static_cast<std::size_t>(std::max(message - kHeaderOctets, 0L));
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
        const auto fit = static_cast<long>(Room(*pdu) / (BulkBound::kValueOctets + kTagOctets + kNameOctets));
        pdu->max_repetitions = std::min(pdu->max_repetitions, std::max((fit - singles) / columns, 1L));
    }
    return SNMPERR_SUCCESS;
}

std::size_t OctetsOf(const CVT::BObjectIdentifier& name) {
    std::size_t octets = 0;
    for (unsigned int arc : name.Arcs()) {
        for (++octets; arc >= 0x80; arc >>= 7U) {
            ++octets;
        }
    }
    return octets;
}

/// At most.
std::size_t OctetsOf(const CVT::BVarBind& varBind) {
    const std::size_t name = OctetsOf(varBind.name) + kTagOctets;
    switch (varBind.type) {
        case CVT::kOctetString: return name + varBind.octets.Length();
        case CVT::kObjectIdentifier: return name + OctetsOf(varBind.identifier);
        default: return name + kNumberOctets;
    }
}

void DeleteRoom(void* room) { delete static_cast<std::size_t*>(room); }

}  // namespace

void BulkBound::Install() {
    ::snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, &OnRequest, nullptr);
}

BulkBound::BulkBound(const netsnmp_agent_request_info_s& info) {
    const netsnmp_pdu& pdu = *info.asp->pdu;
    if (pdu.version != SNMP_VERSION_3) {
        return;
    }
    netsnmp_agent_request_info& requestInfo = *info.asp->reqinfo;
    m_room = static_cast<std::size_t*>(::netsnmp_agent_get_list_data(&requestInfo, kRoomName));
    if (m_room != nullptr) {
        return;
    }
    auto room = std::make_unique<std::size_t>(Room(pdu));
    netsnmp_data_list* const node = ::netsnmp_create_data_list(kRoomName, room.get(), &DeleteRoom);
    if (node == nullptr) {
        throw std::bad_alloc();
    }
    m_room = room.release();  // the node owns it
    ::netsnmp_agent_add_list_data(&requestInfo, node);
}

bool BulkBound::Takes(const CVT::BVarBind& varBind) const {
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

}  // namespace agent
