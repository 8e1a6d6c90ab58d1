#pragma once

namespace cvtagentd {

/// Waits for packets and signals, and lets the SNMP library serve the packets.
///
/// From its construction on SIGTERM, SIGINT and SIGHUP are blocked in the calling thread, and so in every thread started
/// afterwards, and SIGPIPE is ignored: it comes before the SNMP library and before any module. Used by one thread.
class EventLoop {
public:
    enum class Event { kNone, kReload, kStop };

    static constexpr int kForever = -1;
    static constexpr int kNoDescriptor = -1;

    /// Throws StartError when the system gives no descriptor for signals.
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Serves what comes. Gives a signal's event at once; kNone after about `milliseconds`, or sooner. Of the library's
    /// descriptors, `last` is served only when no other one is ready.
    Event Wait(int milliseconds, int last = kNoDescriptor);

private:
    Event TakeSignal();
    void PauseWhenTableIsFull();

    int m_signals;
    unsigned int m_reads = 0;
    bool m_wasFull = false;  // the table of descriptors, when last looked at
};

}  // namespace cvtagentd
