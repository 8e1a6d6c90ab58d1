#pragma once

#include <chrono>
#include <string>

#include "CVT/BMibEngine.h"
#include "agent/cvtwalk/program/Interrupts.h"
#include "agent/cvtwalk/top/HostProbe.h"
#include "agent/cvtwalk/top/Terminal.h"
#include "agent/cvtwalk/top/TopModel.h"

namespace cvtwalk {

/// The live screen in a terminal: reads the host at intervals, draws, and handles keys, until the user leaves. Refers
/// to its arguments, which must outlive it. Used by one thread.
class TopProgram {
public:
    using Clock = std::chrono::steady_clock;

    /// `ready` is when the modules became ready.
    TopProgram(CVT::BMibEngine& engine, Terminal& terminal, unsigned int intervalSeconds, bool utf8,
               Clock::time_point ready)
        : m_probe(engine), m_terminal(terminal), m_interval(intervalSeconds), m_utf8(utf8), m_ready(ready) {}

    void Run(const Interrupts& interrupts);

private:
    double Now() const;
    void Read();
    void Draw();
    bool TakeKeys();
    /// Waits for a key, an interrupt, or the given time. Returns false when a stop is requested.
    bool WaitUntil(double time, const Interrupts& interrupts) const;

    HostProbe m_probe;
    TopModel m_model;
    Terminal& m_terminal;
    const double m_interval;
    const bool m_utf8;
    const Clock::time_point m_ready;
};

}  // namespace cvtwalk
