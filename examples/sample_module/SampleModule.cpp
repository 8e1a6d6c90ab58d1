#include "SampleModule.h"

namespace sample {
namespace {

// The module's own textual conventions; a constraint entry refers to one by its label.
constexpr CVT::BConstraintEntry kConventions[] = {
    {CVT::kRange, 0, SampleNoteTable::s_textConvention, 1, 64},
    {},
};

}  // namespace

SampleModule::SampleModule() : CVT::BMibImplGroup("SampleModule") {}

unsigned int SampleModule::Init() {
    InitDefVals();
    for (CVT::BMibImpl* const group : m_groups) {
        const CVT::TMutex::Guard guard(group->RequestLock());
        group->Initialize();
    }
    return 1;
}

unsigned int SampleModule::Cleanup() {
    for (CVT::BMibImpl* const group : m_groups) {
        const CVT::TMutex::Guard guard(group->RequestLock());
        group->Cleanup();
    }
    return 1;
}

CVT::BMibImpl* SampleModule::HandlerAt(int place) {
    return place >= 0 && place < NumHandlers() ? m_groups[static_cast<std::size_t>(place)] : nullptr;
}

const CVT::BConstraintEntry* SampleModule::GetTCConstraintMap() const { return kConventions; }

void SampleModule::InitDefVals() {
    m_defVals.displayString.Assign("note");
    m_defVals.objectIdentifier.AssignFromDottedDecimalStr("0.0");
}

}  // namespace sample
