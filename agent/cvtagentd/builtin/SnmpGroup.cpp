#include "agent/cvtagentd/builtin/SnmpGroup.h"

#include "agent/cvtagentd/builtin/SystemConfig.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

namespace {

// snmpEnableAuthenTraps
constexpr int kEnabled = 1;
constexpr int kDisabled = 2;

}  // namespace

const CVT::BRqHndlrEntry SnmpGroup::s_rqhndlrEntries[] = {
    Counter<STAT_SNMPINPKTS>(1, "snmpInPkts"),
    Counter<STAT_SNMPOUTPKTS>(2, "snmpOutPkts"),
    Counter<STAT_SNMPINBADVERSIONS>(3, "snmpInBadVersions"),
    Counter<STAT_SNMPINBADCOMMUNITYNAMES>(4, "snmpInBadCommunityNames"),
    Counter<STAT_SNMPINBADCOMMUNITYUSES>(5, "snmpInBadCommunityUses"),
    Counter<STAT_SNMPINASNPARSEERRS>(6, "snmpInASNParseErrs"),
    Counter<STAT_SNMPINTOOBIGS>(8, "snmpInTooBigs"),
    Counter<STAT_SNMPINNOSUCHNAMES>(9, "snmpInNoSuchNames"),
    Counter<STAT_SNMPINBADVALUES>(10, "snmpInBadValues"),
    Counter<STAT_SNMPINREADONLYS>(11, "snmpInReadOnlys"),
    Counter<STAT_SNMPINGENERRS>(12, "snmpInGenErrs"),
    Counter<STAT_SNMPINTOTALREQVARS>(13, "snmpInTotalReqVars"),
    Counter<STAT_SNMPINTOTALSETVARS>(14, "snmpInTotalSetVars"),
    Counter<STAT_SNMPINGETREQUESTS>(15, "snmpInGetRequests"),
    Counter<STAT_SNMPINGETNEXTS>(16, "snmpInGetNexts"),
    Counter<STAT_SNMPINSETREQUESTS>(17, "snmpInSetRequests"),
    Counter<STAT_SNMPINGETRESPONSES>(18, "snmpInGetResponses"),
    Counter<STAT_SNMPINTRAPS>(19, "snmpInTraps"),
    Counter<STAT_SNMPOUTTOOBIGS>(20, "snmpOutTooBigs"),
    Counter<STAT_SNMPOUTNOSUCHNAMES>(21, "snmpOutNoSuchNames"),
    Counter<STAT_SNMPOUTBADVALUES>(22, "snmpOutBadValues"),
    Counter<STAT_SNMPOUTGENERRS>(24, "snmpOutGenErrs"),
    Counter<STAT_SNMPOUTGETREQUESTS>(25, "snmpOutGetRequests"),
    Counter<STAT_SNMPOUTGETNEXTS>(26, "snmpOutGetNexts"),
    Counter<STAT_SNMPOUTSETREQUESTS>(27, "snmpOutSetRequests"),
    Counter<STAT_SNMPOUTGETRESPONSES>(28, "snmpOutGetResponses"),
    Counter<STAT_SNMPOUTTRAPS>(29, "snmpOutTraps"),
    CVT::Column<CVT::kIntValue>(30, "snmpEnableAuthenTraps", CVT::kInteger, &SnmpGroup::GetEnableAuthenTraps,
                                &SnmpGroup::SetEnableAuthenTraps),
    Counter<STAT_SNMPSILENTDROPS>(31, "snmpSilentDrops"),
    Counter<STAT_SNMPPROXYDROPS>(32, "snmpProxyDrops"),
    {},
};

const CVT::BConstraintEntry SnmpGroup::s_sonstraintEntries[] = {
    {CVT::kEnumeration, 30, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "enabled", kEnabled, 0},
    {CVT::kEnumValue, 0, "disabled", kDisabled, 0},
    {},
};

SnmpGroup::SnmpGroup() : LibraryCounters("SNMPv2-MIB.snmp", "1.3.6.1.2.1.11") {}

int SnmpGroup::GetEnableAuthenTraps(unsigned int /*requestId*/, int& value) {
    value = SystemConfig::Get().authenTraps ? kEnabled : kDisabled;
    return CVT::noError;
}

int SnmpGroup::SetEnableAuthenTraps(CVT::ESnmpSetOpCode phase, unsigned int /*requestId*/, const int& value,
                                    void** /*undo*/) {
    switch (phase) {
        case CVT::ESnmpSetOpCode::CheckAndSave: m_before = SystemConfig::Get().authenTraps; break;
        case CVT::ESnmpSetOpCode::Commit: SystemConfig::SetAuthenTraps(value == kEnabled); break;
        case CVT::ESnmpSetOpCode::Undo: SystemConfig::SetAuthenTraps(m_before); break;
        case CVT::ESnmpSetOpCode::Release: break;
    }
    return CVT::noError;
}

}  // namespace cvtagentd
