// The shipped library on the very machine that runs the test.

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>

#include "CVT/BMibEngine.h"
#include "tests/host/DeviceJoins.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/Walk.h"

namespace {

constexpr const char* kLoads = "1.3.6.1.2.1.25.3.3.1.2";

class ThisMachine : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_module.IsLoaded());
        ASSERT_EQ(m_module.Init(), 1);
        ASSERT_TRUE(m_module.WaitUntilActive());
        ASSERT_TRUE(m_engine.Add(m_module.Group()));
    }
    void TearDown() override { EXPECT_EQ(m_module.Close(), 1); }

    CVT::BMibEngine m_engine;

private:
    const WorkingFolder m_workingFolder;
    LoadedModule m_module;
};

TEST_F(ThisMachine, HasOneRowForEachDeviceInTheTableForItsKindAndIndexesThatReferToRows) {
    EXPECT_FALSE(DevicesOfType(m_engine, 4).empty()) << "not even the loopback interface";
    ExpectOneRowForEachDevice(m_engine);
    ExpectIndexesThatLeadToRows(m_engine);
}

/// Keeps one processor busy; the thread that creates it uses no other.
class BusyLoop {
public:
    explicit BusyLoop(std::size_t processor)
        : m_thread([this, processor] {
              cpu_set_t one;
              CPU_ZERO(&one);
              CPU_SET(processor, &one);
              m_isPinned = ::sched_setaffinity(0, sizeof one, &one) == 0;
              while (!m_stop) {
              }
          }) {}
    BusyLoop(const BusyLoop&) = delete;
    BusyLoop& operator=(const BusyLoop&) = delete;
    ~BusyLoop() {
        m_stop = true;
        m_thread.join();
    }
    bool IsPinned() const { return m_isPinned; }

private:
    std::atomic<bool> m_stop = false;
    std::atomic<bool> m_isPinned = false;
    std::thread m_thread;
};

TEST_F(ThisMachine, ShowsABusyLoopInTheLoadOfItsProcessorWithinTwoSamples) {
    cpu_set_t allowed;
    ASSERT_EQ(::sched_getaffinity(0, sizeof allowed, &allowed), 0);
    // With some processors unavailable, the lines of the kernel's figures do not match the rows.
    const std::size_t processors = std::thread::hardware_concurrency();
    const std::size_t last = processors - 1;
    if (Walk(m_engine, kLoads).size() != processors || processors == 0 || !CPU_ISSET(last, &allowed)) {
        GTEST_SKIP() << "this machine does not let us use all its processors";
    }
    const BusyLoop loop(last);
    int load = 0;
    // The first sample covers the time since the machine was started. The second covers the loop and comes before a
    // third could.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(40);
    while (load < 90 && std::chrono::steady_clock::now() < end) {
        CVT::TTimer().Sleep(100);
        load = Walk(m_engine, kLoads)[last].integer;
    }
    ASSERT_TRUE(loop.IsPinned());
    EXPECT_GE(load, 90);
    EXPECT_LE(load, 100);
}

}  // namespace
