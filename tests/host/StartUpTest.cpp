// Start-up made slow or impossible: this program's own sysinfo and pthread_create stand before the C library's.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/sysinfo.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "CVT/TEvent.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/ScratchFolder.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::atomic<bool> s_holdUp = false;
std::atomic<bool> s_noThreads = false;
std::atomic<int> s_sysinfoResult = 0;
unsigned long s_totalRam = 123456;

CVT::TEvent& Entered() {
    static CVT::TEvent event(true);
    return event;
}
CVT::TEvent& GoOn() {
    static CVT::TEvent event(true);
    return event;
}

}  // namespace

extern "C" int sysinfo(struct sysinfo* info) noexcept {
    Entered().Set();
    if (s_holdUp) {
        GoOn().Wait(CVT::kWaitForever);
    }
    if (s_sysinfoResult == 0) {
        std::memset(info, 0, sizeof *info);
        info->totalram = s_totalRam;
        info->mem_unit = 1024;
    }
    return s_sysinfoResult;
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                              void* argument) noexcept {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    return s_noThreads ? EAGAIN : real(thread, attributes, run, argument);
}

namespace {

class StartUp : public testing::Test {
protected:
    static int MemorySize(LoadedModule& module) {
        CVT::BVarBind varBind;
        varBind.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.2.2.0");
        EXPECT_EQ(module.Group().HandlerAt(1)->Get(1, varBind), CVT::noError);
        EXPECT_EQ(varBind.type, CVT::kInteger);
        return varBind.integer;
    }

private:
    const WorkingFolder m_workingFolder;
};

TEST_F(StartUp, InitReturnsAtOnceThoughAGroupIsSlowToComeUp) {
    s_holdUp = true;
    LoadedModule module;
    const auto begin = Clock::now();
    EXPECT_EQ(module.Init(), 1);
    EXPECT_LT(Clock::now() - begin, milliseconds(900));
    EXPECT_EQ(Entered().Wait(10'000), CVT::kWaitSignalled);
    EXPECT_FALSE(module.IsReady());
    EXPECT_FALSE(module.Group().HandlerAt(1)->IsActive());
    EXPECT_EQ(module.Group().HandlerAt(1)->RequestLock().Wait(0), CVT::kWaitTimeout)
        << "a group comes up under its request lock";
    GoOn().Set();
    EXPECT_EQ(module.Close(), 1);
}

TEST_F(StartUp, CloseBeforeReadyWaitsForTheStartUpLookingOnceASecond) {
    s_holdUp = true;
    LoadedModule module;
    module.Init();
    std::atomic<bool> closed = false;
    std::thread closer([&] {
        EXPECT_EQ(module.Close(), 1);
        closed = true;
    });
    std::this_thread::sleep_for(milliseconds(1300));
    EXPECT_FALSE(closed);
    EXPECT_NE(module.Object(), nullptr);
    const auto released = Clock::now();
    GoOn().Set();
    closer.join();
    EXPECT_TRUE(closed);
    EXPECT_TRUE(module.IsReady());
    EXPECT_EQ(module.Object(), nullptr);
    EXPECT_GT(Clock::now() - released, milliseconds(300)) << "it looks once a second, and 300 ms of it are over";
    EXPECT_LT(Clock::now() - released, milliseconds(5000));
}

TEST_F(StartUp, CloseOfASecondStartUpWaitsForThatOneThoughTheFirstMadeTheModuleReady) {
    LoadedModule module;
    module.Init();
    ASSERT_EQ(module.Close(), 1);
    ASSERT_TRUE(module.IsReady());
    Entered().Reset();
    s_holdUp = true;
    module.Init();
    ASSERT_EQ(Entered().Wait(10'000), CVT::kWaitSignalled);
    std::atomic<bool> closed = false;
    std::thread closer([&] {
        EXPECT_EQ(module.Close(), 1);
        closed = true;
    });
    std::this_thread::sleep_for(milliseconds(300));
    EXPECT_FALSE(closed) << "the groups are still coming up";
    GoOn().Set();
    closer.join();
    EXPECT_TRUE(closed);
}

TEST_F(StartUp, ComesUpOnTheCallersThreadWhenTheSystemHasNoThreadToGive) {
    s_noThreads = true;
    LoadedModule module;
    EXPECT_EQ(module.Init(), 1);
    EXPECT_TRUE(module.IsReady());
    EXPECT_TRUE(module.Group().HandlerAt(1)->IsActive());
    EXPECT_EQ(module.Close(), 1);
}

TEST_F(StartUp, TakesTheMemorySizeAsItStandsAndOnce) {
    s_totalRam = 123456;
    LoadedModule module;
    module.Init();
    ASSERT_TRUE(module.WaitUntilActive());
    EXPECT_EQ(MemorySize(module), 123456) << "neither multiplied by mem_unit nor divided";
    s_totalRam = 5;
    EXPECT_EQ(MemorySize(module), 123456);
    module.Close();
}

TEST_F(StartUp, CutsTheMemorySizeToThirtyTwoBits) {
    for (const auto& [total, served] : {std::pair(25'281'978'368UL, static_cast<int>(25'281'978'368UL & 0xFFFFFFFFUL)),
                                        std::pair(2'147'483'648UL, -2'147'483'647 - 1), std::pair(4'294'967'295UL, -1),
                                        std::pair(4'294'967'296UL, 0)}) {
        s_totalRam = total;
        LoadedModule module;
        module.Init();
        ASSERT_TRUE(module.WaitUntilActive());
        EXPECT_EQ(MemorySize(module), served) << total;
        module.Close();
    }
}

TEST_F(StartUp, ComesUpWithAMemorySizeOfZeroWhenTheSystemDoesNotTellIt) {
    s_sysinfoResult = -1;
    LoadedModule module;
    module.Init();
    ASSERT_TRUE(module.WaitUntilActive());
    EXPECT_EQ(MemorySize(module), 0);
    module.Close();
}

}  // namespace
