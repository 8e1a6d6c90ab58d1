#include "agent/cvtagentd/snmp/EventLoop.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>

#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/snmp/DescriptorSet.h"

namespace cvtagentd {
namespace {

constexpr unsigned int kReadsToALook = 16;
constexpr int kPauseMs = 10;

}  // namespace

EventLoop::EventLoop() {
    ::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaddset(&signals, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signals = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_signals < 0) {
        throw StartError("no file descriptor is left; raise the limit (ulimit -n)");
    }
}

EventLoop::~EventLoop() {
    ForgetPolled();
    ::close(m_signals);
}

EventLoop::Steady::Steady(EventLoop& loop) : m_loop(loop) {
    int count = 0;
    int block = 1;
    timeval unused{};
    loop.m_steady = std::make_unique<DescriptorSet>();
    ::snmp_select_info2(&count, loop.m_steady->Get(), &unused, &block);
}

EventLoop::Steady::~Steady() {
    m_loop.m_steady.reset();
    m_loop.ForgetPolled();
}

void EventLoop::ForgetPolled() {
    if (m_polled >= 0) {
        ::close(m_polled);
        m_polled = -1;
    }
}

/// Whether there is an epoll of all that the loop waits for while the library waits for m_steady.
bool EventLoop::HasPolled() {
    if (m_polled >= 0) {
        return true;
    }
    m_polled = ::epoll_create1(EPOLL_CLOEXEC);
    bool isComplete = m_polled >= 0;
    const auto add = [&](int descriptor) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        isComplete = isComplete && ::epoll_ctl(m_polled, EPOLL_CTL_ADD, descriptor, &event) == 0;
    };
    add(m_signals);
    for (const Watched& watched : m_watched) {
        add(watched.descriptor);
    }
    for (int descriptor = 0; descriptor < m_steady->End(); ++descriptor) {
        if (m_steady->Has(descriptor)) {
            add(descriptor);
        }
    }
    if (!isComplete) {  // no descriptor is left, for example
        ForgetPolled();
    }
    return isComplete;
}

/// Returns how many are ready, and leaves those in the set, like Select. A timeout is rounded up to milliseconds.
int EventLoop::Poll(DescriptorSet& descriptors, const timeval* timeout) {
    constexpr int kMost = 16;  // at a time; the others come first in the next turn
    std::array<epoll_event, kMost> events{};
    int milliseconds = -1;
    if (timeout != nullptr) {
        constexpr long kLongestSeconds = 1'000'000;
        milliseconds =
            static_cast<int>(std::min<long>(timeout->tv_sec, kLongestSeconds) * 1000 + (timeout->tv_usec + 999) / 1000);
    }
    const int ready = ::epoll_wait(m_polled, events.data(), kMost, milliseconds);
    descriptors.Clear();
    for (int i = 0; i < ready; ++i) {
        descriptors.Insert(events[static_cast<std::size_t>(i)].data.fd);
    }
    return ready;
}

/// `descriptors`: those of the library, of which none is `count` or higher.
int EventLoop::Select(DescriptorSet& descriptors, int count, timeval* timeout) {
    descriptors.Insert(m_signals);
    count = std::max(count, m_signals + 1);
    for (const Watched& watched : m_watched) {
        descriptors.Insert(watched.descriptor);
        count = std::max(count, watched.descriptor + 1);
    }
    return ::netsnmp_large_fd_set_select(count, descriptors.Get(), nullptr, nullptr, timeout);
}

EventLoop::Event EventLoop::TakeSignal() {
    signalfd_siginfo info{};
    if (::read(m_signals, &info, sizeof info) != sizeof info) {
        return Event::kNone;
    }
    return info.ssi_signo == SIGHUP ? Event::kReload : Event::kStop;
}

/// A connection that cannot be accepted because no descriptor is left keeps its socket readable. Without a pause, this
/// loop would use a whole processor.
void EventLoop::PauseWhenTableIsFull() {
    if (++m_reads % kReadsToALook != 0) {
        return;
    }
    const int spare = ::fcntl(m_signals, F_DUPFD_CLOEXEC, 0);
    if (spare >= 0) {
        ::close(spare);
        m_wasFull = false;
        return;
    }
    if (!m_wasFull) {
        Log::Error(
            "no file descriptor is free: connections wait and requests may be refused; raise the limit "
            "(ulimit -n, or LimitNOFILE= of the service)");
        m_wasFull = true;
    }
    ::poll(nullptr, 0, kPauseMs);
}

EventLoop::Event EventLoop::Turn() { return Wait(RunTasks()); }

std::optional<std::chrono::milliseconds> EventLoop::RunTasks() const {
    std::optional<std::chrono::milliseconds> longest;
    for (const Work& work : m_work) {
        const auto due = work();
        if (due && (!longest || *due < *longest)) {
            longest = due;
        }
    }
    return longest;
}

/// `longest`: the longest that the loop may sleep; no value means no limit.
EventLoop::Event EventLoop::Wait(std::optional<std::chrono::milliseconds> longest) {
    DescriptorSet descriptors;
    int count = 0;
    int block = 1;  // stays so when the library waits for nothing but packets
    timeval librarys{};
    ::snmp_select_info2(&count, descriptors.Get(), &librarys, &block);

    const auto milliseconds = longest.value_or(std::chrono::milliseconds::zero()).count();
    timeval own{static_cast<time_t>(milliseconds / 1000), static_cast<suseconds_t>((milliseconds % 1000) * 1000)};
    timeval* timeout = longest ? &own : nullptr;
    if (block == 0 && (timeout == nullptr || timercmp(&librarys, &own, <))) {
        timeout = &librarys;
    }
    const bool isSteady = m_steady != nullptr && descriptors.Equals(*m_steady) && HasPolled();
    const int ready = isSteady ? Poll(descriptors, timeout) : Select(descriptors, count, timeout);
    if (ready > 0) {
        if (descriptors.Has(m_signals)) {
            if (const Event event = TakeSignal(); event != Event::kNone) {
                return event;
            }
            descriptors.Remove(m_signals);
        }
        for (const Watched& watched : m_watched) {
            if (descriptors.Has(watched.descriptor)) {
                watched.onReadable();
                descriptors.Remove(watched.descriptor);
            }
        }
        ::snmp_read2(descriptors.Get());
        PauseWhenTableIsFull();
    } else if (ready == 0) {
        ::snmp_timeout();
    }
    ::run_alarms();
    ::netsnmp_check_outstanding_agent_requests();
    return Event::kNone;
}

}  // namespace cvtagentd
