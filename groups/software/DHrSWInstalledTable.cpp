#include "groups/software/DHrSWInstalledTable.h"

#include "CVT/TextualConventions.h"
#include "groups/common/DConventions.h"

const CVT::BRqHndlrEntry DHrSWInstalledTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrSWInstalledIndex", CVT::kInteger, &DHrSWInstalledTable::OnGet_HrSWInstalledIndex),
    CVT::Column<CVT::kOctetStringValue>(2, "hrSWInstalledName", CVT::kOctetString,
                                        &DHrSWInstalledTable::OnGet_HrSWInstalledName),
    CVT::Column<CVT::kIntValue>(4, "hrSWInstalledType", CVT::kInteger, &DHrSWInstalledTable::OnGet_HrSWInstalledType),
    CVT::Column<CVT::kOctetStringValue>(5, "hrSWInstalledDate", CVT::kOctetString,
                                        &DHrSWInstalledTable::OnGet_HrSWInstalledDate),
    {},
};

const CVT::BConstraintEntry DHrSWInstalledTable::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 1, 2147483647},
    {CVT::kConvention, 2, DConventions::cszInternationalDisplayString, 0, 64},
    {CVT::kEnumeration, 4, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "unknown", 1, 0},
    {CVT::kEnumValue, 0, "operatingSystem", 2, 0},
    {CVT::kEnumValue, 0, "deviceDriver", 3, 0},
    {CVT::kEnumValue, 0, "application", 4, 0},
    {CVT::kConvention, 5, CVT::cszDateAndTime, 0, 0},
    {},
};

const char DHrSWInstalledTable::s_pszNVSection[] = "hrSWInstalledTable";

DHrSWInstalledTable::DHrSWInstalledTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrSWInstalledTable", "1.3.6.1.2.1.25.6.3") {}

DHrSWInstalledTable::Entry* DHrSWInstalledTable::pFindEntry(const char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    const CVT::BString wanted(name);
    return FindRow([&](const Entry& row) { return row.name == wanted; });
}

bool DHrSWInstalledTable::vUpdate(CVT::TEvent& /*stop*/) { return true; }

void DHrSWInstalledTable::vClearTable() { DeleteAllRows(); }

int DHrSWInstalledTable::OnGet_HrSWInstalledIndex(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                  int& value) {
    return GetField(index, &Entry::index, value);
}

int DHrSWInstalledTable::OnGet_HrSWInstalledName(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                 CVT::BOctetString& value) {
    return GetField(index, &Entry::name, value);
}

int DHrSWInstalledTable::OnGet_HrSWInstalledType(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                 int& value) {
    return GetField(index, &Entry::type, value);
}

int DHrSWInstalledTable::OnGet_HrSWInstalledDate(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                 CVT::BOctetString& value) {
    return GetField(index, &Entry::date, value);
}
