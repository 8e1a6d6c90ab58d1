#include "bench/support/BareAgent.h"

#include <cstdlib>
#include <vector>

#include "agent/cvtagentd/SnmpHeaders.h"

namespace bench {
namespace {

const oid kEntry[] = {1, 3, 6, 1, 4, 1, 32473, 9, 1};

std::vector<long> theValues;

/// How many rows lie up to a name.
std::size_t RowsBefore(const variable_list& name) {
    const std::size_t column = OID_LENGTH(kEntry);
    if (name.name_length <= column + 1 || ::snmp_oidtree_compare(name.name, column, kEntry, column) != 0) {
        return 0;
    }
    return name.name[column + 1];
}

void Fill(netsnmp_request_info& request) {
    std::size_t row = RowsBefore(*request.requestvb);
    oid name[OID_LENGTH(kEntry) + 2];
    std::copy(std::begin(kEntry), std::end(kEntry), name);
    name[OID_LENGTH(kEntry)] = 1;
    while (row < theValues.size()) {
        name[OID_LENGTH(kEntry) + 1] = row + 1;
        ::snmp_set_var_objid(request.requestvb, name, OID_LENGTH(name));
        ::snmp_set_var_typed_integer(request.requestvb, ASN_INTEGER, theValues[row]);
        if (request.repeat <= 0) {
            return;
        }
        ++row;
        --request.repeat;
        request.requestvb = request.requestvb->next_variable;
    }
    name[OID_LENGTH(kEntry) + 1] = row;
    ::snmp_set_var_objid(request.requestvb, name, OID_LENGTH(name));
}

int OnRequests(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
               netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
    for (netsnmp_request_info* request = requests; request != nullptr; request = request->next) {
        if (request->processed == 0 && info->mode == MODE_GETBULK) {
            Fill(*request);
        }
    }
    return SNMP_ERR_NOERROR;
}

}  // namespace

void RunBareAgent(const char* address, unsigned int rows) {
    for (std::size_t row = 1; row <= rows; ++row) {
        theValues.push_back(static_cast<long>(row));
    }
    ::setenv("MIBS", "", 1);
    ::setenv("SNMPCONFPATH", "/dev/null", 1);
    ::setenv("SNMP_PERSISTENT_DIR", "/dev/null", 1);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_LOAD_HOST_FILES, 1);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1);
    char access[] = "rocommunity public 127.0.0.1";
    ::netsnmp_config_remember(access);
    ::init_agent("bareagent");
    ::init_snmp("bareagent");
    netsnmp_handler_registration* const registration = ::netsnmp_create_handler_registration(
        "bare", &OnRequests, kEntry, OID_LENGTH(kEntry), HANDLER_CAN_RONLY | HANDLER_CAN_GETBULK);
    if (::netsnmp_register_handler(registration) != MIB_REGISTERED_OK || ::netsnmp_agent_listen_on(address) <= 0) {
        return;
    }
    for (;;) {
        ::agent_check_and_process(1);
    }
}

}  // namespace bench
