#pragma once

#include <vector>

#include "agent/cvtwalk/data/Section.h"

namespace cvtwalk {

/// What the walks found: a section for each run of instances of one group, in the order of the walk.
class Sections {
public:
    void Add(const CVT::BVarBind& instance, const ServedObject& object);

    /// Marks values that are served before the module has measured them. Until its first measurement is due, an object
    /// that is known to be measured at intervals counts as not measured while all its values are 0.
    void MarkUnmeasured(double secondsReady);
    /// Joins each pair of tables that belong together (KnownObjects::Joins) into one section, row by row, where both
    /// are present.
    void Join();
    static constexpr long long kWholeUse = 1'000'000;
    /// Adds to tables of amounts the share in use, as a derived column in millionths (kWholeUse).
    void DeriveUse();

    std::vector<Section>& All() { return m_sections; }
    const std::vector<Section>& All() const { return m_sections; }

private:
    std::vector<Section> m_sections;
};

}  // namespace cvtwalk
