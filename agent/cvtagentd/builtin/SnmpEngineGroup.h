#pragma once

#include "CVT/BMibScalarGroupImpl.h"

namespace cvtagentd {

/// snmpEngine, 1.3.6.1.6.3.10.2.1: the SNMP library's own engine, by which SNMPv3 tells this agent from others. Used by
/// the thread that runs the library.
class SnmpEngineGroup final : public CVT::BMibScalarGroupImpl {
public:
    SnmpEngineGroup();

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetId(unsigned int requestId, CVT::BOctetString& value);
    int GetBoots(unsigned int requestId, int& value);
    int GetTime(unsigned int requestId, int& value);
    int GetMaxMessageSize(unsigned int requestId, int& value);

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

}  // namespace cvtagentd
