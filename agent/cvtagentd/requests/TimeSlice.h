#pragma once

#include <chrono>

namespace cvtagentd {

/// How long the agent may work on one request before others get their turn. Used by one thread.
class TimeSlice {
public:
    using Clock = std::chrono::steady_clock;

    /// Never over.
    TimeSlice() = default;
    /// Begins now.
    explicit TimeSlice(Clock::duration length) : m_end(Clock::now() + length) {}

    /// Call it after each small step of work: it reads the clock only now and then.
    bool IsOver() { return ++m_steps % kStepsToALook == 0 ? HasPassed() : m_hasPassed; }
    /// Reads the clock.
    bool HasPassed() {
        m_hasPassed = m_hasPassed || Clock::now() >= m_end;
        return m_hasPassed;
    }

private:
    static constexpr unsigned int kStepsToALook = 8;

    Clock::time_point m_end = Clock::time_point::max();
    unsigned int m_steps = 0;
    bool m_hasPassed = false;
};

}  // namespace cvtagentd
