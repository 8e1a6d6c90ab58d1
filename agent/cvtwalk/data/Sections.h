#pragma once

#include <vector>

#include "agent/cvtwalk/data/Section.h"

namespace cvtwalk {

/// What walks found, a section for each stretch of instances of one group, in the order in which they came.
class Sections {
public:
    void Add(const CVT::BVarBind& instance, const ServedObject& object);

    /// Marks what a module serves before it has measured as such: of the objects that are known to be measured at
    /// intervals, the zeros, as long as the modules have been ready for less than `seconds` need be.
    void MarkUnmeasured(double secondsReady);
    /// Makes one section of the two tables that are one for people (KnownObjects::Joins), row by row, wherever both
    /// are.
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
