#pragma once

#include <array>

namespace cvtwalk {

/// Turns SIGINT, SIGTERM and SIGHUP into a request to stop, so that the program can close its modules first. Commands
/// that a module runs keep the signals' default effect. Create it before any thread starts; only one may exist at a
/// time.
class Interrupts {
public:
    Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;
    ~Interrupts();

    /// Waits for that long, or until a stop is requested. Once it is requested, returns true at once.
    bool Wait(int milliseconds) const;
    /// Becomes readable when a stop is requested. Owned by this object.
    int Descriptor() const { return m_pipe[0]; }

private:
    std::array<int, 2> m_pipe{-1, -1};
};

}  // namespace cvtwalk
