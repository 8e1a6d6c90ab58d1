#include "agent/cvtagentd/builtin/SnmpMpdStatsGroup.h"

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

const CVT::BRqHndlrEntry SnmpMpdStatsGroup::s_rqhndlrEntries[] = {
    Counter<STAT_SNMPUNKNOWNSECURITYMODELS>(1, "snmpUnknownSecurityModels"),
    Counter<STAT_SNMPINVALIDMSGS>(2, "snmpInvalidMsgs"),
    Counter<STAT_SNMPUNKNOWNPDUHANDLERS>(3, "snmpUnknownPDUHandlers"),
    {},
};

SnmpMpdStatsGroup::SnmpMpdStatsGroup() : LibraryCounters("SNMP-MPD-MIB.snmpMPDStats", "1.3.6.1.6.3.11.2.1") {}

}  // namespace cvtagentd
