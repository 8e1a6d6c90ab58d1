#include "groups/hardware/DHrNetworkTable.h"

#include "groups/common/DConventions.h"

const CVT::BRqHndlrEntry DHrNetworkTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrNetworkIfIndex", CVT::kInteger, &DHrNetworkTable::OnGet_HrNetworkIfIndex),
    {},
};

const CVT::BConstraintEntry DHrNetworkTable::s_sonstraintEntries[] = {
    {CVT::kConvention, 1, DConventions::cszInterfaceIndexOrZero, 0, 0},
    {},
};

const char DHrNetworkTable::s_pszNVSection[] = "hrNetworkTable";

DHrNetworkTable::DHrNetworkTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrNetworkTable", "1.3.6.1.2.1.25.3.4") {}

int DHrNetworkTable::OnGet_HrNetworkIfIndex(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                            int& value) {
    return GetField(index, &Entry::ifIndex, value);
}
