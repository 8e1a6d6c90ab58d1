#include "groups/software/DHrSWRun.h"

const CVT::BRqHndlrEntry DHrSWRun::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrSWOSIndex", CVT::kInteger, &DHrSWRun::OnGet_HrSWOSIndex),
    {},
};

const CVT::BConstraintEntry DHrSWRun::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 1, 2147483647},
    {},
};

const char DHrSWRun::s_pszNVSection[] = "hrSWRun";

DHrSWRun::DHrSWRun(CVT::INonVolatile* store) : DScalarGroup(store, "HOST-RESOURCES-MIB.hrSWRun", "1.3.6.1.2.1.25.4") {}

void DHrSWRun::Initialize() {
    m_osIndex = 1;
    SetActive(1);
}

int DHrSWRun::OnGet_HrSWOSIndex(unsigned int /*requestId*/, int& value) {
    value = static_cast<int>(m_osIndex);
    return CVT::noError;
}
