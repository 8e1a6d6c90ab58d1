#pragma once

#include <chrono>

#include "CVT/BMibScalarGroupImpl.h"

namespace sample {

/// The scalar group sampleInfo, 1.3.6.1.4.1.32473.1.1: one object of every type that a group can serve.
///
/// Every member function below runs under the group's request lock, which the toolkit takes. The fields therefore need
/// no lock of their own.
class SampleInfo final : public CVT::BMibScalarGroupImpl {
public:
    SampleInfo();

    void Initialize() override;
    void Cleanup() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

private:
    int GetGreeting(unsigned int requestId, CVT::BOctetString& value);
    int SetGreeting(CVT::ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value, void** undo);
    int GetLevel(unsigned int requestId, int& value);
    int SetLevel(CVT::ESnmpSetOpCode phase, unsigned int requestId, const int& value, void** undo);
    int GetChangedAt(unsigned int requestId, CVT::BOctetString& value);
    int SetChangedAt(CVT::ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value, void** undo);
    int GetEnabled(unsigned int requestId, CVT::BTruthValue& value);
    int SetEnabled(CVT::ESnmpSetOpCode phase, unsigned int requestId, const CVT::BTruthValue& value, void** undo);
    int GetRequests(unsigned int requestId, unsigned int& value);
    int GetUptime(unsigned int requestId, unsigned int& value);
    int GetHome(unsigned int requestId, CVT::BObjectIdentifier& value);

    /// Does the work that is due once for each request. Every handler begins with it.
    void Begin(unsigned int requestId);

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    CVT::BOctetString m_greeting;
    int m_level = 0;
    CVT::BOctetString m_changedAt;
    CVT::BTruthValue m_enabled = 1;

    std::chrono::steady_clock::time_point m_started;
    unsigned int m_lastRequest = 0;  // 0 is never a request's identifier
    unsigned int m_requests = 0;
    unsigned int m_uptime = 0;  // hundredths of a second, at the beginning of m_lastRequest
};

}  // namespace sample
