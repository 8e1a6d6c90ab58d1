#include "groups/devices/DHrDiskStorageTable.h"

#include "CVT/TextualConventions.h"
#include "groups/common/DConventions.h"

const CVT::BRqHndlrEntry DHrDiskStorageTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrDiskStorageAccess", CVT::kInteger,
                                &DHrDiskStorageTable::OnGet_HrDiskStorageAccess),
    CVT::Column<CVT::kIntValue>(2, "hrDiskStorageMedia", CVT::kInteger, &DHrDiskStorageTable::OnGet_HrDiskStorageMedia),
    CVT::Column<CVT::kIntValue>(3, "hrDiskStorageRemoveble", CVT::kInteger,
                                &DHrDiskStorageTable::OnGet_HrDiskStorageRemoveble),
    CVT::Column<CVT::kIntValue>(4, "hrDiskStorageCapacity", CVT::kInteger,
                                &DHrDiskStorageTable::OnGet_HrDiskStorageCapacity),
    {},
};

const CVT::BConstraintEntry DHrDiskStorageTable::s_sonstraintEntries[] = {
    {CVT::kEnumeration, 1, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "readWrite", 1, 0},
    {CVT::kEnumValue, 0, "readOnly", 2, 0},
    {CVT::kEnumeration, 2, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "other", 1, 0},
    {CVT::kEnumValue, 0, "unknown", 2, 0},
    {CVT::kEnumValue, 0, "hardDisk", 3, 0},
    {CVT::kEnumValue, 0, "floppyDisk", 4, 0},
    {CVT::kEnumValue, 0, "opticalDiskROM", 5, 0},
    {CVT::kEnumValue, 0, "opticalDiskWORM", 6, 0},
    {CVT::kEnumValue, 0, "opticalDiskRW", 7, 0},
    {CVT::kEnumValue, 0, "ramDisk", 8, 0},
    {CVT::kEnumConvention, 3, CVT::cszTruthValue, 0, 0},
    {CVT::kConvention, 4, DConventions::cszKBytes, 0, 0},
    {},
};

const char DHrDiskStorageTable::s_pszNVSection[] = "hrDiskStorageTable";

DHrDiskStorageTable::DHrDiskStorageTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrDiskStorageTable", "1.3.6.1.2.1.25.3.6") {}

int DHrDiskStorageTable::OnGet_HrDiskStorageAccess(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                   int& value) {
    return GetField(index, &Entry::access, value);
}

int DHrDiskStorageTable::OnGet_HrDiskStorageMedia(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                  int& value) {
    return GetField(index, &Entry::media, value);
}

int DHrDiskStorageTable::OnGet_HrDiskStorageRemoveble(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                      CVT::BTruthValue& value) {
    return GetField(index, &Entry::removable, value);
}

int DHrDiskStorageTable::OnGet_HrDiskStorageCapacity(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                     int& value) {
    return GetField(index, &Entry::capacity, value);
}
