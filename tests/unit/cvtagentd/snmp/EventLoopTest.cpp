// The work of each turn of the loop, and how long the loop sleeps.

#include "agent/cvtagentd/snmp/EventLoop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
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

}  // namespace
}  // namespace cvtagentd
