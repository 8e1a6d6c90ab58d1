#include "agent/cvtagentd/requests/ResponseBudget.h"

#include <algorithm>

#include "agent/cvtagentd/snmp/MessageSize.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/agent/agent_callbacks.h>

namespace cvtagentd {
namespace {

std::size_t Room(const netsnmp_pdu& pdu) {
    const std::size_t limit = MessageSize::Limit(pdu);
    return limit - std::min(limit, MessageSize::WithoutVarBinds(pdu));
}

/// The library calls it to find out whether a request that has just come may be served at all.
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
        const auto fit = static_cast<long>(Room(*pdu) / ResponseBudget::kLeastVarBind);
        pdu->max_repetitions = std::min(pdu->max_repetitions, std::max((fit - singles) / columns, 1L));
    }
    return SNMPERR_SUCCESS;
}

}  // namespace

void ResponseBudget::Install() {
    ::snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, &OnRequest, nullptr);
}

}  // namespace cvtagentd
