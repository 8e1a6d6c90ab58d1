#pragma once

#include "groups/common/DGroup.h"

/// The scalars of hrStorage: hrMemorySize, the size of the host's memory.
class DHrStorage final : public DScalarGroup {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrStorage(CVT::INonVolatile* store);

    /// Takes the memory size, once and for all: the field `totalram` of sysinfo(2) cut to 32 bits, in units of the
    /// field `mem_unit`, which is one byte on today's hosts.
    void Initialize() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// 0 before Initialize. Always returns noError.
    int OnGet_HrMemorySize(unsigned int requestId, int& value);

private:
    unsigned int m_memorySize = 0;
};
