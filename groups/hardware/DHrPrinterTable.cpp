#include "groups/hardware/DHrPrinterTable.h"

const CVT::BRqHndlrEntry DHrPrinterTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrPrinterStatus", CVT::kInteger, &DHrPrinterTable::OnGet_HrPrinterStatus),
    CVT::Column<CVT::kOctetStringValue>(2, "hrPrinterDetectedErrorState", CVT::kOctetString,
                                        &DHrPrinterTable::OnGet_HrPrinterDetectedErrorState),
    {},
};

const CVT::BConstraintEntry DHrPrinterTable::s_sonstraintEntries[] = {
    {CVT::kEnumeration, 1, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "other", 1, 0},
    {CVT::kEnumValue, 0, "unknown", 2, 0},
    {CVT::kEnumValue, 0, "idle", 3, 0},
    {CVT::kEnumValue, 0, "printing", 4, 0},
    {CVT::kEnumValue, 0, "warmup", 5, 0},
    {},
};

const char DHrPrinterTable::s_pszNVSection[] = "hrPrinterTable";

DHrPrinterTable::DHrPrinterTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrPrinterTable", "1.3.6.1.2.1.25.3.5") {}

int DHrPrinterTable::OnGet_HrPrinterStatus(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                           int& value) {
    return GetField(index, &Entry::status, value);
}

int DHrPrinterTable::OnGet_HrPrinterDetectedErrorState(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                       CVT::BOctetString& value) {
    return GetField(index, &Entry::detectedErrorState, value);
}
