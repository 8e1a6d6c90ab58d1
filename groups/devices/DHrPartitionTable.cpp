#include "groups/devices/DHrPartitionTable.h"

#include "groups/common/DConventions.h"

const CVT::BRqHndlrEntry DHrPartitionTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrPartitionIndex", CVT::kInteger, &DHrPartitionTable::OnGet_HrPartitionIndex),
    CVT::Column<CVT::kOctetStringValue>(2, "hrPartitionLabel", CVT::kOctetString,
                                        &DHrPartitionTable::OnGet_HrPartitionLabel),
    CVT::Column<CVT::kOctetStringValue>(3, "hrPartitionID", CVT::kOctetString, &DHrPartitionTable::OnGet_HrPartitionID),
    CVT::Column<CVT::kIntValue>(4, "hrPartitionSize", CVT::kInteger, &DHrPartitionTable::OnGet_HrPartitionSize),
    CVT::Column<CVT::kIntValue>(5, "hrPartitionFSIndex", CVT::kInteger, &DHrPartitionTable::OnGet_HrPartitionFSIndex),
    {},
};

const CVT::BConstraintEntry DHrPartitionTable::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 1, 2147483647},
    {CVT::kConvention, 2, DConventions::cszInternationalDisplayString, 0, 128},
    {CVT::kConvention, 4, DConventions::cszKBytes, 0, 0},
    {CVT::kRange, 5, nullptr, 0, 2147483647},
    {},
};

const char DHrPartitionTable::s_pszNVSection[] = "hrPartitionTable";

DHrPartitionTable::DHrPartitionTable(CVT::INonVolatile* store)
    : DTable(store, "HOST-RESOURCES-MIB.hrPartitionTable", "1.3.6.1.2.1.25.3.7") {}

void DHrPartitionTable::Initialize() {
    if (GetNumRows() == 0) {
        CreateDemoRow();
    }
    SetActive(1);
}

bool DHrPartitionTable::bIsInTable(const CVT::BString& label) const {
    return FindRow([&](const Entry& row) { return row.label == label; }) != nullptr;
}

int DHrPartitionTable::OnGet_HrPartitionIndex(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                              int& value) {
    return GetField(index, &Entry::index, value);
}

int DHrPartitionTable::OnGet_HrPartitionLabel(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                              CVT::BOctetString& value) {
    return GetField(index, &Entry::label, value);
}

int DHrPartitionTable::OnGet_HrPartitionID(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                           CVT::BOctetString& value) {
    return GetField(index, &Entry::id, value);
}

int DHrPartitionTable::OnGet_HrPartitionSize(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                             int& value) {
    return GetField(index, &Entry::size, value);
}

int DHrPartitionTable::OnGet_HrPartitionFSIndex(const CVT::BObjectIdentifier& index, unsigned int /*requestId*/,
                                                int& value) {
    return GetField(index, &Entry::fsIndex, value);
}
