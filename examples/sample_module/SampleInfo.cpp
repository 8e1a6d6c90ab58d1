#include "SampleInfo.h"

#include "CVT/TextualConventions.h"
#include "SampleDate.h"
#include "SetField.h"

namespace sample {

using CVT::Column;
using CVT::ESnmpSetOpCode;

// The declaration of the group: sub-identifier, name, type on the wire, and the functions that read and write it, in
// ascending order of sub-identifiers. The template argument is the C++ type in which the functions exchange the value.
const CVT::BRqHndlrEntry SampleInfo::s_rqhndlrEntries[] = {
    // clang-format off
    Column<CVT::kDisplayStringValue>(1, "sampleGreeting", CVT::kOctetString, &SampleInfo::GetGreeting, &SampleInfo::SetGreeting),
    Column<CVT::kIntValue>(2, "sampleLevel", CVT::kInteger, &SampleInfo::GetLevel, &SampleInfo::SetLevel),
    Column<CVT::kOctetStringValue>(3, "sampleChangedAt", CVT::kOctetString, &SampleInfo::GetChangedAt, &SampleInfo::SetChangedAt),
    Column<CVT::kIntValue>(4, "sampleEnabled", CVT::kInteger, &SampleInfo::GetEnabled, &SampleInfo::SetEnabled),
    Column<CVT::kUnsignedValue>(5, "sampleRequests", CVT::kCounter32, &SampleInfo::GetRequests),
    Column<CVT::kUnsignedValue>(6, "sampleUptime", CVT::kTimeTicks, &SampleInfo::GetUptime),
    Column<CVT::kObjectIdentifierValue>(7, "sampleHome", CVT::kObjectIdentifier, &SampleInfo::GetHome),
    {},
    // clang-format on
};

// What the toolkit checks of an offered value before it calls a set function, and how a display shows the values.
const CVT::BConstraintEntry SampleInfo::s_sonstraintEntries[] = {
    {CVT::kConvention, 1, CVT::cszDisplayString, 0, 32},  // a DisplayString of at most 32 octets
    {CVT::kRange, 2, nullptr, 0, 100},
    {CVT::kConvention, 3, CVT::cszDateAndTime, 0, 0},
    {CVT::kEnumConvention, 4, CVT::cszTruthValue, 0, 0},
    {},
};

SampleInfo::SampleInfo() : CVT::BMibScalarGroupImpl("SAMPLE-MIB.sampleInfo", "1.3.6.1.4.1.32473.1.1") {}

// Called once, on the module's start-up thread. A group may take its time here, because the agent does not wait for it.
void SampleInfo::Initialize() {
    m_greeting.Assign("Hello from the sample module");
    m_level = 50;
    m_changedAt = DateOfNow();
    m_started = std::chrono::steady_clock::now();
    SetActive(1);
}

void SampleInfo::Cleanup() { SetActive(0); }

// One request may ask for many instances, and every call for it has the same identifier. Values that must be consistent
// across instances are taken when a new identifier first appears, and only then.
void SampleInfo::Begin(unsigned int requestId) {
    if (requestId == m_lastRequest) {
        return;
    }
    m_lastRequest = requestId;
    ++m_requests;
    using Hundredths = std::chrono::duration<unsigned long long, std::centi>;
    const auto uptime = std::chrono::duration_cast<Hundredths>(std::chrono::steady_clock::now() - m_started);
    m_uptime = static_cast<unsigned int>(uptime.count());  // wraps after 497 days, like TimeTicks
}

int SampleInfo::GetGreeting(unsigned int requestId, CVT::BOctetString& value) {
    Begin(requestId);
    value = m_greeting;
    return CVT::noError;
}

int SampleInfo::SetGreeting(ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value, void** undo) {
    Begin(requestId);
    return SetField(phase, value, m_greeting, undo);
}

int SampleInfo::GetLevel(unsigned int requestId, int& value) {
    Begin(requestId);
    value = m_level;
    return CVT::noError;
}

int SampleInfo::SetLevel(ESnmpSetOpCode phase, unsigned int requestId, const int& value, void** undo) {
    Begin(requestId);
    return SetField(phase, value, m_level, undo);
}

int SampleInfo::GetChangedAt(unsigned int requestId, CVT::BOctetString& value) {
    Begin(requestId);
    value = m_changedAt;
    return CVT::noError;
}

// The toolkit has checked the length, 8 to 11 octets. Only the group can tell whether they are a date.
int SampleInfo::SetChangedAt(ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value,
                             void** undo) {
    Begin(requestId);
    if (phase == ESnmpSetOpCode::CheckAndSave && !IsDate(value)) {
        return CVT::wrongValue;
    }
    return SetField(phase, value, m_changedAt, undo);
}

int SampleInfo::GetEnabled(unsigned int requestId, CVT::BTruthValue& value) {
    Begin(requestId);
    value = m_enabled;
    return CVT::noError;
}

int SampleInfo::SetEnabled(ESnmpSetOpCode phase, unsigned int requestId, const CVT::BTruthValue& value, void** undo) {
    Begin(requestId);
    return SetField(phase, value, m_enabled, undo);
}

int SampleInfo::GetRequests(unsigned int requestId, unsigned int& value) {
    Begin(requestId);
    value = m_requests;
    return CVT::noError;
}

int SampleInfo::GetUptime(unsigned int requestId, unsigned int& value) {
    Begin(requestId);
    value = m_uptime;
    return CVT::noError;
}

int SampleInfo::GetHome(unsigned int requestId, CVT::BObjectIdentifier& value) {
    Begin(requestId);
    value.AssignFromDottedDecimalStr("1.3.6.1.4.1.32473.1");
    return CVT::noError;
}

}  // namespace sample
