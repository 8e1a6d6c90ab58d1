#pragma once

#include "CVT/BMibScalarGroupImpl.h"

namespace cvtagentd {

/// The scalars of the system group, 1.3.6.1.2.1.1: what every manager asks for first. Texts come from SystemConfig, the
/// time from the SNMP library. Read-only. Used by the thread that runs the library.
class SystemGroup final : public CVT::BMibScalarGroupImpl {
public:
    SystemGroup();

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetDescr(unsigned int requestId, CVT::BOctetString& value);
    int GetObjectId(unsigned int requestId, CVT::BObjectIdentifier& value);
    int GetUpTime(unsigned int requestId, unsigned int& value);
    int GetContact(unsigned int requestId, CVT::BOctetString& value);
    int GetSysName(unsigned int requestId, CVT::BOctetString& value);
    int GetLocation(unsigned int requestId, CVT::BOctetString& value);
    int GetServices(unsigned int requestId, int& value);
    int GetOrLastChange(unsigned int requestId, unsigned int& value);

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

}  // namespace cvtagentd
