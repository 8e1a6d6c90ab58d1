#include "groups/storage/DHrFSTable.h"

#include <string_view>

#include "CVT/TextualConventions.h"
#include "groups/common/DConventions.h"
#include "groups/common/DateAndTime.h"
#include "groups/common/SetPhases.h"

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kNeverBackedUp = "\0\1\1\0\0\0\0\0"sv;

}  // namespace

const CVT::BRqHndlrEntry DHrFSTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrFSIndex", CVT::kInteger, &DHrFSTable::OnGet_HrFSIndex),
    CVT::Column<CVT::kOctetStringValue>(2, "hrFSMountPoint", CVT::kOctetString, &DHrFSTable::OnGet_HrFSMountPoint),
    CVT::Column<CVT::kOctetStringValue>(3, "hrFSRemoteMountPoint", CVT::kOctetString,
                                        &DHrFSTable::OnGet_HrFSRemoteMountPoint),
    CVT::Column<CVT::kObjectIdentifierValue>(4, "hrFSType", CVT::kObjectIdentifier, &DHrFSTable::OnGet_HrFSType),
    CVT::Column<CVT::kIntValue>(5, "hrFSAccess", CVT::kInteger, &DHrFSTable::OnGet_HrFSAccess),
    CVT::Column<CVT::kIntValue>(6, "hrFSBootable", CVT::kInteger, &DHrFSTable::OnGet_HrFSBootable),
    CVT::Column<CVT::kIntValue>(7, "hrFSStorageIndex", CVT::kInteger, &DHrFSTable::OnGet_HrFSStorageIndex),
    CVT::Column<CVT::kOctetStringValue>(8, "hrFSLastFullBackupDate", CVT::kOctetString,
                                        &DHrFSTable::OnGet_HrFSLastFullBackupDate,
                                        &DHrFSTable::OnSet_HrFSLastFullBackupDate),
    CVT::Column<CVT::kOctetStringValue>(9, "hrFSLastPartialBackupDate", CVT::kOctetString,
                                        &DHrFSTable::OnGet_HrFSLastPartialBackupDate,
                                        &DHrFSTable::OnSet_HrFSLastPartialBackupDate),
    {},
};

const CVT::BConstraintEntry DHrFSTable::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 1, 2147483647},
    {CVT::kConvention, 2, DConventions::cszInternationalDisplayString, 0, 128},
    {CVT::kConvention, 3, DConventions::cszInternationalDisplayString, 0, 128},
    {CVT::kEnumeration, 5, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "readWrite", 1, 0},
    {CVT::kEnumValue, 0, "readOnly", 2, 0},
    {CVT::kEnumConvention, 6, CVT::cszTruthValue, 0, 0},
    {CVT::kRange, 7, nullptr, 0, 2147483647},
    {CVT::kConvention, 8, CVT::cszDateAndTime, 0, 0},
    {CVT::kConvention, 9, CVT::cszDateAndTime, 0, 0},
    {},
};

const char DHrFSTable::s_pszNVSection[] = "hrFSTable";

DHrFSEntry::DHrFSEntry() : lastFullBackupDate(kNeverBackedUp), lastPartialBackupDate(kNeverBackedUp) {
    type.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.3.9");
}

DHrFSTable::DHrFSTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrFSTable", "1.3.6.1.2.1.25.3.8") {}

bool DHrFSTable::bIsInTable(const CVT::BString& mountPoint) const {
    return FindRow([&](const Entry& row) { return row.mountPoint == mountPoint; }) != nullptr;
}

int DHrFSTable::OnGet_HrFSIndex(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
    return GetField(index, &Entry::index, value);
}

int DHrFSTable::OnGet_HrFSMountPoint(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                     CVT::BOctetString& value) {
    return GetField(index, &Entry::mountPoint, value);
}

int DHrFSTable::OnGet_HrFSRemoteMountPoint(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                           CVT::BOctetString& value) {
    return GetField(index, &Entry::remoteMountPoint, value);
}

int DHrFSTable::OnGet_HrFSType(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                               CVT::BObjectIdentifier& value) {
    return GetField(index, &Entry::type, value);
}

int DHrFSTable::OnGet_HrFSAccess(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
    return GetField(index, &Entry::access, value);
}

int DHrFSTable::OnGet_HrFSBootable(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
    return GetField(index, &Entry::bootable, value);
}

int DHrFSTable::OnGet_HrFSStorageIndex(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
    return GetField(index, &Entry::storageIndex, value);
}

int DHrFSTable::OnGet_HrFSLastFullBackupDate(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                             CVT::BOctetString& value) {
    return GetField(index, &Entry::lastFullBackupDate, value);
}

int DHrFSTable::OnGet_HrFSLastPartialBackupDate(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                CVT::BOctetString& value) {
    return GetField(index, &Entry::lastPartialBackupDate, value);
}

int DHrFSTable::OnSet_HrFSLastFullBackupDate(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                                             unsigned int /*requestId*/, const CVT::BOctetString& value, void** undo) {
    return SetDate(&Entry::lastFullBackupDate, index, phase, value, undo);
}

int DHrFSTable::OnSet_HrFSLastPartialBackupDate(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                                                unsigned int /*requestId*/, const CVT::BOctetString& value,
                                                void** undo) {
    return SetDate(&Entry::lastPartialBackupDate, index, phase, value, undo);
}

int DHrFSTable::SetDate(CVT::BOctetString Entry::*field, const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                        const CVT::BOctetString& value, void** undo) {
    if (phase == CVT::ESnmpSetOpCode::CheckAndSave && !TestSetEx_TCDateAndTime(value)) {
        return CVT::wrongValue;
    }
    return i32SetPhase(phase, FieldOf(index, field), value, undo);
}
