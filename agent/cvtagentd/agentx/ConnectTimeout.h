#pragma once

#include <ctime>

namespace cvtagentd {

/// Keeps the SNMP library from waiting without end for an AgentX master that hangs: connect(2) waits as long as the
/// queue of the master's socket is full, and the library sets no limit.
///
/// While it is on, a signal (SIGALRM) interrupts the thread's system calls every two seconds. It acts only on the
/// thread that made it; set it only where an interruption does no harm.
class ConnectTimeout {
public:
    /// Throws StartError when the system has no timer left.
    ConnectTimeout();
    ~ConnectTimeout();
    ConnectTimeout(const ConnectTimeout&) = delete;
    ConnectTimeout& operator=(const ConnectTimeout&) = delete;

    void Set(bool on);

private:
    timer_t m_timer{};
    bool m_on = false;
};

}  // namespace cvtagentd
