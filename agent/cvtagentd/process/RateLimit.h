#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace cvtagentd {

/// Keeps messages that anyone can provoke with a packet from filling the log: a few of each kind pass in a minute, the
/// others are counted. Used by one thread.
class RateLimit {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr unsigned int kLinesInAWindow = 3;
    static constexpr std::chrono::seconds kWindow{60};

    struct Held {
        std::string kind;
        unsigned long count;
    };

    /// Whether a message of this kind may be logged; one that may not is counted. A kind's window begins with its first
    /// message and ends when TakeHeld finds it over.
    bool Admit(const std::string& kind, Clock::time_point now);

    /// Ends the windows that are over, and returns what was held back in them.
    std::vector<Held> TakeHeld(Clock::time_point now);

    /// Whether something is held back that TakeHeld will return.
    bool IsHolding() const;

private:
    struct Window {
        Clock::time_point begin;
        unsigned long count = 0;
    };

    std::map<std::string, Window> m_windows;
};

}  // namespace cvtagentd
