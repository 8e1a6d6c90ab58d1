#pragma once

#include <array>

namespace cvtwalk {

/// Turns SIGINT, SIGTERM and SIGHUP into a wish to end, so that a program that runs until then can close its modules.
/// Commands that a module runs have the signals' own effect. Make it before any thread is started; one at a time.
class Interrupts {
public:
    Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;
    ~Interrupts();

    /// Waits so long, or until somebody wishes the program to end: then, and ever after, true at once.
    bool Wait(int milliseconds) const;
    /// Becomes readable when somebody does; owned by this.
    int Descriptor() const { return m_pipe[0]; }

private:
    std::array<int, 2> m_pipe{-1, -1};
};

}  // namespace cvtwalk
