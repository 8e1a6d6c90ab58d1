#include "agent/cvtagentd/builtin/UsmStatsGroup.h"

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

const CVT::BRqHndlrEntry UsmStatsGroup::s_rqhndlrEntries[] = {
    Counter<STAT_USMSTATSUNSUPPORTEDSECLEVELS>(1, "usmStatsUnsupportedSecLevels"),
    Counter<STAT_USMSTATSNOTINTIMEWINDOWS>(2, "usmStatsNotInTimeWindows"),
    Counter<STAT_USMSTATSUNKNOWNUSERNAMES>(3, "usmStatsUnknownUserNames"),
    Counter<STAT_USMSTATSUNKNOWNENGINEIDS>(4, "usmStatsUnknownEngineIDs"),
    Counter<STAT_USMSTATSWRONGDIGESTS>(5, "usmStatsWrongDigests"),
    Counter<STAT_USMSTATSDECRYPTIONERRORS>(6, "usmStatsDecryptionErrors"),
    {},
};

UsmStatsGroup::UsmStatsGroup() : LibraryCounters("SNMP-USER-BASED-SM-MIB.usmStats", "1.3.6.1.6.3.15.1.1") {}

}  // namespace cvtagentd
