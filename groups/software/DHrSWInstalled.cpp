#include "groups/software/DHrSWInstalled.h"

const CVT::BRqHndlrEntry DHrSWInstalled::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kUnsignedValue>(1, "hrSWInstalledLastChange", CVT::kTimeTicks,
                                     &DHrSWInstalled::OnGet_HrSWInstalledLastChange),
    CVT::Column<CVT::kUnsignedValue>(2, "hrSWInstalledLastUpdateTime", CVT::kTimeTicks,
                                     &DHrSWInstalled::OnGet_HrSWInstalledLastUpdateTime),
    {},
};

const CVT::BConstraintEntry DHrSWInstalled::s_sonstraintEntries[] = {{}};

const char DHrSWInstalled::s_pszNVSection[] = "hrSWInstalled";

DHrSWInstalled::DHrSWInstalled(CVT::INonVolatile* store)
    : DScalarGroup(store, "HOST-RESOURCES-MIB.hrSWInstalled", "1.3.6.1.2.1.25.6") {}

void DHrSWInstalled::Initialize() {
    m_lastChange = 0;
    m_lastUpdateTime = 0;
    SetActive(1);
}

int DHrSWInstalled::OnGet_HrSWInstalledLastChange(unsigned int /*requestId*/, unsigned int& value) {
    value = m_lastChange;
    return CVT::noError;
}

int DHrSWInstalled::OnGet_HrSWInstalledLastUpdateTime(unsigned int /*requestId*/, unsigned int& value) {
    value = m_lastUpdateTime;
    return CVT::noError;
}
