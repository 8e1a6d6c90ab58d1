#include "agent/cvtagentd/builtin/SystemGroup.h"

#include <sys/utsname.h>

#include "CVT/TextualConventions.h"
#include "agent/cvtagentd/builtin/SysOrTable.h"
#include "agent/cvtagentd/builtin/SystemConfig.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

using CVT::Column;

namespace {

/// "Linux" comes first: managers look for it.
std::string KernelDescription() {
    utsname names{};
    ::uname(&names);
    std::string text;
    for (const char* const part : {names.sysname, names.nodename, names.release, names.version, names.machine}) {
        text += (text.empty() ? "" : " ") + std::string(part);
    }
    text.resize(std::min<std::size_t>(text.size(), SystemConfig::kMaxOctets));
    return text;
}

}  // namespace

const CVT::BRqHndlrEntry SystemGroup::s_rqhndlrEntries[] = {
    Column<CVT::kDisplayStringValue>(1, "sysDescr", CVT::kOctetString, &SystemGroup::GetDescr),
    Column<CVT::kObjectIdentifierValue>(2, "sysObjectID", CVT::kObjectIdentifier, &SystemGroup::GetObjectId),
    Column<CVT::kUnsignedValue>(3, "sysUpTime", CVT::kTimeTicks, &SystemGroup::GetUpTime),
    Column<CVT::kDisplayStringValue>(4, "sysContact", CVT::kOctetString, &SystemGroup::GetContact),
    Column<CVT::kDisplayStringValue>(5, "sysName", CVT::kOctetString, &SystemGroup::GetSysName),
    Column<CVT::kDisplayStringValue>(6, "sysLocation", CVT::kOctetString, &SystemGroup::GetLocation),
    Column<CVT::kIntValue>(7, "sysServices", CVT::kInteger, &SystemGroup::GetServices),
    Column<CVT::kUnsignedValue>(8, "sysORLastChange", CVT::kTimeTicks, &SystemGroup::GetOrLastChange),
    {},
};

const CVT::BConstraintEntry SystemGroup::s_sonstraintEntries[] = {
    {CVT::kConvention, 1, CVT::cszDisplayString, 0, SystemConfig::kMaxOctets},
    {CVT::kConvention, 4, CVT::cszDisplayString, 0, SystemConfig::kMaxOctets},
    {CVT::kConvention, 5, CVT::cszDisplayString, 0, SystemConfig::kMaxOctets},
    {CVT::kConvention, 6, CVT::cszDisplayString, 0, SystemConfig::kMaxOctets},
    {CVT::kRange, 7, nullptr, 0, 127},
    {},
};

SystemGroup::SystemGroup() : CVT::BMibScalarGroupImpl("SNMPv2-MIB.system", "1.3.6.1.2.1.1") {}

int SystemGroup::GetDescr(unsigned int /*requestId*/, CVT::BOctetString& value) {
    const std::string& configured = SystemConfig::Get().descr;
    value.Assign(configured.empty() ? KernelDescription() : configured);
    return CVT::noError;
}

/// Managers choose their templates by it, so a site can name another kind of host.
int SystemGroup::GetObjectId(unsigned int /*requestId*/, CVT::BObjectIdentifier& value) {
    value.AssignFromDottedDecimalStr(SystemConfig::Get().objectId.c_str());
    return CVT::noError;
}

/// The library's uptime, which its notifications and the entries of sysORTable use, too. It is monotonic.
int SystemGroup::GetUpTime(unsigned int /*requestId*/, unsigned int& value) {
    value = static_cast<unsigned int>(::netsnmp_get_agent_uptime());  // wraps after 497 days, as TimeTicks do
    return CVT::noError;
}

int SystemGroup::GetContact(unsigned int /*requestId*/, CVT::BOctetString& value) {
    value.Assign(SystemConfig::Get().contact);
    return CVT::noError;
}

/// The host may be renamed while the agent runs.
int SystemGroup::GetSysName(unsigned int /*requestId*/, CVT::BOctetString& value) {
    utsname names{};
    ::uname(&names);
    const std::string& configured = SystemConfig::Get().name;
    value.Assign(configured.empty() ? names.nodename : configured);
    return CVT::noError;
}

int SystemGroup::GetLocation(unsigned int /*requestId*/, CVT::BOctetString& value) {
    value.Assign(SystemConfig::Get().location);
    return CVT::noError;
}

int SystemGroup::GetServices(unsigned int /*requestId*/, int& value) {
    value = SystemConfig::Get().services;
    return CVT::noError;
}

int SystemGroup::GetOrLastChange(unsigned int /*requestId*/, unsigned int& value) {
    value = SysOrTable::LastChange();
    return CVT::noError;
}

}  // namespace cvtagentd
