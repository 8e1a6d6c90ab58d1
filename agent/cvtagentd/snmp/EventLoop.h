#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>

struct timeval;

namespace cvtagentd {

class DescriptorSet;

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
            : m_loop(loop), m_place(loop.m_watched.insert(loop.m_watched.end(), {descriptor, std::move(onReadable)})) {
            m_loop.ForgetPolled();
        }
        ~Watch() {
            m_loop.m_watched.erase(m_place);
            m_loop.ForgetPolled();
        }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

    private:
        EventLoop& m_loop;
        const std::list<Watched>::iterator m_place;
    };

    /// A promise that what the library waits for when this object is made stays open for as long as the object exists,
    /// such as the sockets that the agent listens on. While the library waits for nothing else, the loop polls with
    /// epoll(7), whose set of descriptors it then keeps from turn to turn. Otherwise, as with connections over TCP, it
    /// uses select(2), because a descriptor that is closed and opened again with the same number would be missed. The
    /// loop must outlive it; at most one at a time.
    class Steady {
    public:
        explicit Steady(EventLoop& loop);
        ~Steady();
        Steady(const Steady&) = delete;
        Steady& operator=(const Steady&) = delete;

    private:
        EventLoop& m_loop;
    };

    /// Throws StartError when the system has no descriptor for signals.
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Runs the tasks, waits, and serves what has arrived. Returns a signal's event at once, and kNone otherwise.
    Event Turn();

private:
    std::optional<std::chrono::milliseconds> RunTasks() const;
    Event Wait(std::optional<std::chrono::milliseconds> longest);
    Event TakeSignal();
    void PauseWhenTableIsFull();
    int Select(DescriptorSet& descriptors, int count, timeval* timeout);
    int Poll(DescriptorSet& descriptors, const timeval* timeout);
    bool HasPolled();
    void ForgetPolled();

    int m_signals;
    std::list<Work> m_work;
    std::list<Watched> m_watched;
    std::unique_ptr<DescriptorSet> m_steady;  // null: nothing has been promised
    int m_polled = -1;                        // the epoll of m_steady, signals and watches; -1: to be made
    unsigned int m_reads = 0;
    bool m_wasFull = false;  // the table of descriptors, at the last check
};

}  // namespace cvtagentd
