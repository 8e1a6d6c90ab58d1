#pragma once

#include "agent/cvtagentd/builtin/LibraryCounters.h"

namespace cvtagentd {

/// The snmp group, 1.3.6.1.2.1.11: the messages that the agent has received and sent. Besides the counters of RFC 3418
/// it has the older ones of RFC 1213, which managers still draw.
///
/// snmpEnableAuthenTraps can be written; what is written holds until the configuration is read again.
class SnmpGroup final : public LibraryCounters {
public:
    SnmpGroup();

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetEnableAuthenTraps(unsigned int requestId, int& value);
    int SetEnableAuthenTraps(CVT::ESnmpSetOpCode phase, unsigned int requestId, const int& value, void** undo);

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    bool m_before = false;  // what a SET under way may have to restore; there is one at a time
};

}  // namespace cvtagentd
