#pragma once

#include <string>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/data/ObjectNames.h"
#include "agent/cvtwalk/data/Sections.h"
#include "agent/cvtwalk/top/HostState.h"

namespace cvtwalk {

/// Reads the state of the host from what an engine serves of HOST-RESOURCES-MIB. What is not served is absent. Refers
/// to the engine, which must outlive it. Used by one thread.
class HostProbe {
public:
    explicit HostProbe(CVT::BMibEngine& engine) : m_engine(engine), m_names(engine) {}

    /// One request. `secondsReady` is how long the modules have been ready, which distinguishes a load of 0 from one
    /// that is not measured. Reads processes only if wanted: there may be very many.
    HostState Read(double secondsReady, bool withProcesses);

    /// The parts of the state, from what was walked.
    static void ReadSystem(const Section& section, HostState& state);
    static void ReadStorage(const Section& section, HostState& state);
    /// From the joined tables.
    static void ReadProcesses(const Section& section, HostState& state);

private:
    void ReadProcessors(const Sections& sections, HostState& state) const;

    CVT::BMibEngine& m_engine;
    const ObjectNames m_names;
};

}  // namespace cvtwalk
