#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <optional>

namespace cvtagentd {

/// Waits for packets, signals and whatever else it is to watch, and lets the SNMP library serve the packets.
///
/// The constructor blocks SIGTERM, SIGINT and SIGHUP in the calling thread, and so in every thread started afterwards,
/// and ignores SIGPIPE. So it is made before the SNMP library is initialised and before any module is loaded. Used by
/// one thread.
class EventLoop {
public:
    enum class Event { kNone, kReload, kStop };

    /// Returns how long the loop may sleep before the work is due again; no value: until something happens.
    using Work = std::function<std::optional<std::chrono::milliseconds>()>;
    /// Returns one of the library's descriptors, or no value while there is none.
    using Descriptor = std::function<std::optional<int>()>;

    /// Work that the loop does in each turn before it waits, for as long as this object exists. Tasks run in the order
    /// in which they were made. The loop must outlive them.
    class Task {
    public:
        Task(EventLoop& loop, Work work)
            : m_loop(loop), m_place(loop.m_work.insert(loop.m_work.end(), std::move(work))) {}
        ~Task() { m_loop.m_work.erase(m_place); }
        Task(const Task&) = delete;
        Task& operator=(const Task&) = delete;

    private:
        EventLoop& m_loop;
        const std::list<Work>::iterator m_place;
    };

private:
    struct Watched {
        int descriptor;
        std::function<void()> onReadable;
    };

public:
    /// A descriptor of the program's own, which wakes the loop when it is readable, for as long as this object exists.
    /// The loop and the descriptor must outlive it.
    class Watch {
    public:
        /// `onReadable` is called in each turn that finds the descriptor readable, and sees to it that it is not any
        /// more.
        Watch(EventLoop& loop, int descriptor, std::function<void()> onReadable)
            : m_loop(loop), m_place(loop.m_watched.insert(loop.m_watched.end(), {descriptor, std::move(onReadable)})) {}
        ~Watch() { m_loop.m_watched.erase(m_place); }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

    private:
        EventLoop& m_loop;
        const std::list<Watched>::iterator m_place;
    };

    /// Throws StartError when the system has no descriptor for signals.
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// From now on this one of the library's descriptors is served only when no other is ready. An empty function ends
    /// that.
    void ServeLast(Descriptor descriptor) { m_last = std::move(descriptor); }

    /// Runs the tasks, waits, and serves what has arrived. Returns a signal's event at once, and kNone otherwise.
    Event Turn();

private:
    std::optional<std::chrono::milliseconds> RunTasks() const;
    Event Wait(std::optional<std::chrono::milliseconds> longest);
    Event TakeSignal();
    void PauseWhenTableIsFull();

    int m_signals;
    std::list<Work> m_work;
    std::list<Watched> m_watched;
    Descriptor m_last;
    unsigned int m_reads = 0;
    bool m_wasFull = false;  // the table of descriptors, at the last check
};

}  // namespace cvtagentd
