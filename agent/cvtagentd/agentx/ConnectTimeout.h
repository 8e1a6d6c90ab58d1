#pragma once

#include <ctime>

namespace cvtagentd {

/// Keeps the SNMP library from waiting without end for an AgentX master that hangs: the system lets connect(2) wait as long
/// as the queue of the master's socket is full, and nothing in the library limits that.
///
/// While it is on, a signal (SIGALRM) interrupts every two seconds whatever the thread waits for in the system. Only for
/// the thread that made it, and only where that does no harm.
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
