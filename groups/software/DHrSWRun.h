#pragma once

#include "groups/common/DGroup.h"

/// The scalar of hrSWRun: hrSWOSIndex, the index of the operating system among the running software.
class DHrSWRun final : public DScalarGroup {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrSWRun(CVT::INonVolatile* store);

    void Initialize() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// 1 once the group is up: the process that hrSWRunTable reports as operatingSystem. Always returns noError; scans
    /// nothing.
    int OnGet_HrSWOSIndex(unsigned int requestId, int& value);

private:
    unsigned int m_osIndex = 0;
};
