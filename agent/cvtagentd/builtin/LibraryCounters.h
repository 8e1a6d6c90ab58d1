#pragma once

#include "CVT/BMibScalarGroupImpl.h"

namespace cvtagentd {

/// A group of scalars that are counters of the SNMP library: a derived class lists them in its handler table by
/// Counter. The library starts them at 0 with the process. Used by the thread that runs the library.
class LibraryCounters : public CVT::BMibScalarGroupImpl {
public:
    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

protected:
    using CVT::BMibScalarGroupImpl::BMibScalarGroupImpl;

    /// Declares the column that shows this counter, one of the library's STAT_ numbers.
    template <int Statistic>
    static constexpr CVT::BRqHndlrEntry Counter(unsigned int subId, const char* name) {
        return CVT::Column<CVT::kUnsignedValue>(subId, name, CVT::kCounter32, &LibraryCounters::Read<Statistic>);
    }

private:
    static unsigned int Count(int statistic);

    template <int Statistic>
    int Read(unsigned int /*requestId*/, unsigned int& value) {
        value = Count(Statistic);
        return CVT::noError;
    }

    static const CVT::BConstraintEntry s_sonstraintEntries[];
};

}  // namespace cvtagentd
