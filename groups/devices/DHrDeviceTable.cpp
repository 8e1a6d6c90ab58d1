#include "groups/devices/DHrDeviceTable.h"

#include "CVT/TextualConventions.h"
#include "groups/devices/Discovery.h"

const CVT::BObjectIdentifier DHrDeviceEntry::s_typeRoot{CVT::BString("1.3.6.1.2.1.25.3.1")};
const CVT::BObjectIdentifier DHrDeviceEntry::s_noId{CVT::BString("0.0")};

const CVT::BRqHndlrEntry DHrDeviceTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrDeviceIndex", CVT::kInteger, &DHrDeviceTable::OnGet_HrDeviceIndex),
    CVT::Column<CVT::kObjectIdentifierValue>(2, "hrDeviceType", CVT::kObjectIdentifier,
                                             &DHrDeviceTable::OnGet_HrDeviceType),
    CVT::Column<CVT::kDisplayStringValue>(3, "hrDeviceDescr", CVT::kOctetString, &DHrDeviceTable::OnGet_HrDeviceDescr),
    CVT::Column<CVT::kObjectIdentifierValue>(4, "hrDeviceID", CVT::kObjectIdentifier,
                                             &DHrDeviceTable::OnGet_HrDeviceID),
    CVT::Column<CVT::kIntValue>(5, "hrDeviceStatus", CVT::kInteger, &DHrDeviceTable::OnGet_HrDeviceStatus),
    CVT::Column<CVT::kUnsignedValue>(6, "hrDeviceErrors", CVT::kCounter32, &DHrDeviceTable::OnGet_HrDeviceErrors),
    {},
};

const CVT::BConstraintEntry DHrDeviceTable::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 1, 2147483647},
    {CVT::kConvention, 3, CVT::cszDisplayString, 0, 64},
    {CVT::kEnumeration, 5, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "unknown", 1, 0},
    {CVT::kEnumValue, 0, "running", 2, 0},
    {CVT::kEnumValue, 0, "warning", 3, 0},
    {CVT::kEnumValue, 0, "testing", 4, 0},
    {CVT::kEnumValue, 0, "down", 5, 0},
    {},
};

const char DHrDeviceTable::s_pszNVSection[] = "hrDeviceTable";

DHrDeviceTable::DHrDeviceTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrDeviceTable", "1.3.6.1.2.1.25.3.2") {}

void DHrDeviceTable::Initialize() {
    vCreateTables();
    SetActive(1);
}

void DHrDeviceTable::vCreateTables() {
    m_areRowsFinal.store(false, std::memory_order_relaxed);
    Discovery(*this).Run();
    m_areRowsFinal.store(true, std::memory_order_release);  // publishes the rows created so far
}

bool DHrDeviceTable::bRowExists(const CVT::BString& description) const {
    return FindRow([&](const Entry& row) { return row.description == description; }) != nullptr;
}

int DHrDeviceTable::FirstPlaceOfType(EDeviceType type) const {
    CVT::BObjectIdentifier wanted = Entry::s_typeRoot;
    wanted.Append(type);
    const unsigned int place = FindPlace([&](const Entry& row) { return row.type == wanted; });
    return place < GetNumRows() ? static_cast<int>(place) + 1 : -1;
}

int DHrDeviceTable::OnGet_HrDeviceIndex(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
    return GetField(index, &Entry::index, value);
}

int DHrDeviceTable::OnGet_HrDeviceType(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                       CVT::BObjectIdentifier& value) {
    return GetField(index, &Entry::type, value);
}

int DHrDeviceTable::OnGet_HrDeviceDescr(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                        CVT::BOctetString& value) {
    return GetField(index, &Entry::description, value);
}

int DHrDeviceTable::OnGet_HrDeviceID(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                     CVT::BObjectIdentifier& value) {
    return GetField(index, &Entry::id, value);
}

int DHrDeviceTable::OnGet_HrDeviceStatus(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/, int& value) {
    return GetField(index, &Entry::status, value);
}

int DHrDeviceTable::OnGet_HrDeviceErrors(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                         unsigned int& value) {
    return GetField(index, &Entry::errors, value);
}
