#include "groups/storage/DHrStorage.h"

#include <sys/sysinfo.h>

#include "groups/common/DConventions.h"

const CVT::BRqHndlrEntry DHrStorage::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(2, "hrMemorySize", CVT::kInteger, &DHrStorage::OnGet_HrMemorySize),
    {},
};

const CVT::BConstraintEntry DHrStorage::s_sonstraintEntries[] = {
    {CVT::kConvention, 2, DConventions::cszKBytes, 0, 0},
    {},
};

const char DHrStorage::s_pszNVSection[] = "hrStorage";

DHrStorage::DHrStorage(CVT::INonVolatile* store)
    : DScalarGroup(store, "HOST-RESOURCES-MIB.hrStorage", "1.3.6.1.2.1.25.2") {}

void DHrStorage::Initialize() {
    struct sysinfo host {};
    ::sysinfo(&host);
    m_memorySize = static_cast<unsigned int>(host.totalram);
    SetActive(1);
}

int DHrStorage::OnGet_HrMemorySize(unsigned int /*requestId*/, int& value) {
    value = static_cast<int>(m_memorySize);
    return CVT::noError;
}
