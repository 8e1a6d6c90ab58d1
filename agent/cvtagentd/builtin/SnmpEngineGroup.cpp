#include "agent/cvtagentd/builtin/SnmpEngineGroup.h"

#include <array>
#include <limits>
#include <string_view>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

using CVT::Column;

namespace {

constexpr int kMaxEngineIdLength = 32;
constexpr int kMaxInt = std::numeric_limits<int>::max();

}  // namespace

const CVT::BRqHndlrEntry SnmpEngineGroup::s_rqhndlrEntries[] = {
    Column<CVT::kOctetStringValue>(1, "snmpEngineID", CVT::kOctetString, &SnmpEngineGroup::GetId),
    Column<CVT::kIntValue>(2, "snmpEngineBoots", CVT::kInteger, &SnmpEngineGroup::GetBoots),
    Column<CVT::kIntValue>(3, "snmpEngineTime", CVT::kInteger, &SnmpEngineGroup::GetTime),
    Column<CVT::kIntValue>(4, "snmpEngineMaxMessageSize", CVT::kInteger, &SnmpEngineGroup::GetMaxMessageSize),
    {},
};

const CVT::BConstraintEntry SnmpEngineGroup::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 5, kMaxEngineIdLength},
    {CVT::kRange, 2, nullptr, 1, kMaxInt},
    {CVT::kRange, 3, nullptr, 0, kMaxInt},
    {CVT::kRange, 4, nullptr, 484, kMaxInt},
    {},
};

SnmpEngineGroup::SnmpEngineGroup() : CVT::BMibScalarGroupImpl("SNMP-FRAMEWORK-MIB.snmpEngine", "1.3.6.1.6.3.10.2.1") {}

int SnmpEngineGroup::GetId(unsigned int /*requestId*/, CVT::BOctetString& value) {
    std::array<unsigned char, kMaxEngineIdLength> id{};
    const std::size_t length = ::snmpv3_get_engineID(id.data(), id.size());
    value.Assign(std::string_view(reinterpret_cast<const char*>(id.data()), length));
    return CVT::noError;
}

int SnmpEngineGroup::GetBoots(unsigned int /*requestId*/, int& value) {
    value = static_cast<int>(::snmpv3_local_snmpEngineBoots());
    return CVT::noError;
}

int SnmpEngineGroup::GetTime(unsigned int /*requestId*/, int& value) {
    value = static_cast<int>(::snmpv3_local_snmpEngineTime());
    return CVT::noError;
}

int SnmpEngineGroup::GetMaxMessageSize(unsigned int /*requestId*/, int& value) {
    value = ::netsnmp_ds_get_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX);
    return CVT::noError;
}

}  // namespace cvtagentd
