// The work of each turn of the loop, and how long the loop sleeps.

#include "agent/cvtagentd/snmp/EventLoop.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <optional>
#include <string>

namespace cvtagentd {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(EventLoop, RunsItsTasksInTheOrderOfTheirCreation) {
    EventLoop loop;
    std::string order;
    const auto task = [&](char name) {
        return [&order, name] {
            order += name;
            return std::optional(milliseconds::zero());
        };
    };
    const EventLoop::Task first(loop, task('a'));
    const EventLoop::Task second(loop, task('b'));
    loop.Turn();
    loop.Turn();
    EXPECT_EQ(order, "abab");
}

TEST(EventLoop, NoLongerRunsADestroyedTask) {
    EventLoop loop;
    int runs = 0;
    const EventLoop::Task other(loop, [] { return std::optional(milliseconds::zero()); });
    {
        const EventLoop::Task task(loop, [&] {
            ++runs;
            return std::optional<milliseconds>();
        });
        loop.Turn();
    }
    loop.Turn();
    EXPECT_EQ(runs, 1);
}

TEST(EventLoop, SleepsUntilTheEarliestTaskIsDue) {
    EventLoop loop;
    const EventLoop::Task patient(loop, [] { return std::optional(milliseconds(3'600'000)); });
    const EventLoop::Task impatient(loop, [] { return std::optional(milliseconds(30)); });
    const EventLoop::Task indifferent(loop, [] { return std::optional<milliseconds>(); });
    const auto begin = steady_clock::now();
    EXPECT_EQ(loop.Turn(), EventLoop::Event::kNone);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(29));
}

TEST(EventLoop, ReturnsASignalOnceEvenWhenNoTaskIsDue) {
    EventLoop loop;
    ::kill(::getpid(), SIGHUP);
    EXPECT_EQ(loop.Turn(), EventLoop::Event::kReload);
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(loop.Turn(), EventLoop::Event::kStop);
    const EventLoop::Task awake(loop, [] { return std::optional(milliseconds::zero()); });
    EXPECT_EQ(loop.Turn(), EventLoop::Event::kNone);
}

/// A pipe that the loop watches. What arrives is taken out and counted.
class WatchedPipe {
public:
    explicit WatchedPipe(EventLoop& loop) { Open(loop); }
    WatchedPipe(const WatchedPipe&) = delete;
    WatchedPipe& operator=(const WatchedPipe&) = delete;
    ~WatchedPipe() { Close(); }

    /// Closes the pipe and opens another, most likely with the same descriptors.
    void Replace(EventLoop& loop) {
        Close();
        Open(loop);
    }
    void Write() const { EXPECT_EQ(::write(m_ends[1], "x", 1), 1); }
    int Taken() const { return m_taken; }

private:
    void Open(EventLoop& loop) {
        EXPECT_EQ(::pipe(m_ends.data()), 0);
        m_watch.emplace(loop, m_ends[0], [this] {
            char octet = 0;
            m_taken += ::read(m_ends[0], &octet, 1) == 1 ? 1 : 0;
        });
    }
    void Close() {
        m_watch.reset();
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }

    std::array<int, 2> m_ends{};
    int m_taken = 0;
    std::optional<EventLoop::Watch> m_watch;
};

TEST(EventLoop, ServesWhatItWatchesWhileTheLibrarysDescriptorsAreSteady) {
    EventLoop loop;
    const EventLoop::Task awake(loop, [] { return std::optional(milliseconds::zero()); });
    WatchedPipe before(loop);
    const EventLoop::Steady steady(loop);
    loop.Turn();
    WatchedPipe after(loop);
    before.Write();
    after.Write();
    loop.Turn();
    EXPECT_EQ(before.Taken(), 1);
    EXPECT_EQ(after.Taken(), 1);
}

TEST(EventLoop, NoticesAWatchedDescriptorThatIsClosedAndOpenedAgain) {
    EventLoop loop;
    const EventLoop::Task awake(loop, [] { return std::optional(milliseconds::zero()); });
    const EventLoop::Steady steady(loop);
    WatchedPipe pipe(loop);
    for (int times = 1; times <= 3; ++times) {
        loop.Turn();
        pipe.Replace(loop);
        pipe.Write();
        loop.Turn();
        EXPECT_EQ(pipe.Taken(), times);
    }
}

TEST(EventLoop, SleepsAndReturnsSignalsWhileTheLibrarysDescriptorsAreSteady) {
    EventLoop loop;
    const EventLoop::Steady steady(loop);
    {
        const EventLoop::Task impatient(loop, [] { return std::optional(milliseconds(30)); });
        const auto begin = steady_clock::now();
        EXPECT_EQ(loop.Turn(), EventLoop::Event::kNone);
        EXPECT_GE(steady_clock::now() - begin, milliseconds(29));
    }
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(loop.Turn(), EventLoop::Event::kStop);
}

TEST(EventLoop, ReturnsSignalsWhenNoDescriptorIsLeftToWaitWith) {
    EventLoop loop;
    const EventLoop::Task awake(loop, [] { return std::optional(milliseconds::zero()); });
    const EventLoop::Steady steady(loop);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    ::kill(::getpid(), SIGHUP);
    const EventLoop::Event event = loop.Turn();
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(event, EventLoop::Event::kReload);
}

TEST(EventLoop, WorksAsBeforeWhenTheDescriptorsAreNoLongerSteady) {
    EventLoop loop;
    const EventLoop::Task awake(loop, [] { return std::optional(milliseconds::zero()); });
    WatchedPipe pipe(loop);
    {
        const EventLoop::Steady steady(loop);
        loop.Turn();
    }
    pipe.Write();
    loop.Turn();
    EXPECT_EQ(pipe.Taken(), 1);
}

}  // namespace
}  // namespace cvtagentd
