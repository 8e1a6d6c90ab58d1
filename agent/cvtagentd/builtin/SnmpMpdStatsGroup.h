#pragma once

#include "agent/cvtagentd/builtin/LibraryCounters.h"

namespace cvtagentd {

/// snmpMPDStats, 1.3.6.1.6.3.11.2.1: messages that the SNMP library drops before it knows whom they are from.
class SnmpMpdStatsGroup final : public LibraryCounters {
public:
    SnmpMpdStatsGroup();

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }

private:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
};

}  // namespace cvtagentd
