#pragma once

#include "groups/common/DGroup.h"

/// The scalars of hrSWInstalled: when the list of installed software last changed, and when it was last updated. This
/// system keeps no such list, so both are 0.
class DHrSWInstalled final : public DScalarGroup {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrSWInstalled(CVT::INonVolatile* store);

    void Initialize() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    int OnGet_HrSWInstalledLastChange(unsigned int requestId, unsigned int& value);
    int OnGet_HrSWInstalledLastUpdateTime(unsigned int requestId, unsigned int& value);

private:
    unsigned int m_lastChange = 0;      // hundredths of a second of sysUpTime
    unsigned int m_lastUpdateTime = 0;  // likewise
};
