#pragma once

#include <array>

#include "CVT/BMibDefVal.h"
#include "CVT/BMibImplGroup.h"
#include "SampleInfo.h"
#include "SampleNoteTable.h"

namespace sample {

/// The module: its groups, and what they share. A host gets it from CVxExtAgentInit and knows it as a
/// CVT::BMibImplGroup. Code that takes the request locks of several groups at once takes them in the order of
/// HandlerAt.
class SampleModule final : public CVT::BMibImplGroup {
public:
    SampleModule();

    unsigned int Init() override;
    unsigned int Cleanup() override;
    int NumHandlers() override { return static_cast<int>(m_groups.size()); }
    CVT::BMibImpl* HandlerAt(int place) override;
    const CVT::BConstraintEntry* GetTCConstraintMap() const override;
    void InitDefVals() override;

private:
    SampleInfo m_info;
    SampleNoteTable m_notes;
    const std::array<CVT::BMibImpl*, 2> m_groups{&m_info, &m_notes};
    CVT::BMibDefVal m_defVals;
};

}  // namespace sample
