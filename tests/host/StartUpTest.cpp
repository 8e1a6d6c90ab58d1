// Start-up made slow or impossible: this program's own sysinfo, fopen and pthread_create stand before the C library's.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/sysinfo.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>
#include <thread>

#include "CVT/BMibEngine.h"
#include "CVT/BRequest.h"
#include "CVT/TEvent.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/Walk.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::atomic<bool> s_holdUp = false;
std::atomic<bool> s_noThreads = false;
std::atomic<int> s_sysinfoResult = 0;
unsigned long s_totalRam = 123456;
/// The file whose opening throws, as if out of memory; null when none does.
std::atomic<const char*> s_throwAt = nullptr;

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

extern "C" std::FILE* fopen(const char* path, const char* mode) {
    using Open = std::FILE* (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "fopen"));
    if (s_throwAt != nullptr && std::strcmp(path, s_throwAt) == 0) {
        throw std::bad_alloc();
    }
    return real(path, mode);
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
    static int Scalar(LoadedModule& module, int place, const char* instance) {
        CVT::BVarBind varBind;
        varBind.name.AssignFromDottedDecimalStr(instance);
        EXPECT_EQ(module.Group().HandlerAt(place)->Get(1, varBind), CVT::noError);
        EXPECT_EQ(varBind.type, CVT::kInteger);
        return varBind.integer;
    }
    static int MemorySize(LoadedModule& module) { return Scalar(module, 1, "1.3.6.1.2.1.25.2.2.0"); }
    static int SoftwareIndex(LoadedModule& module) { return Scalar(module, 10, "1.3.6.1.2.1.25.4.1.0"); }

private:
    const WorkingFolder m_workingFolder;
};

TEST_F(StartUp, InitReturnsAtOnceEvenWhenAGroupIsSlowToComeUp) {
    s_holdUp = true;
    LoadedModule module;
    EXPECT_EQ(module.Init(), 1) << "the group waits until it is told to go on";
    EXPECT_EQ(Entered().Wait(10'000), CVT::kWaitSignalled);
    EXPECT_FALSE(module.IsReady());
    EXPECT_FALSE(module.Group().HandlerAt(1)->IsActive());
    EXPECT_EQ(module.Group().HandlerAt(1)->RequestLock().Wait(0), CVT::kWaitTimeout)
        << "a group comes up under its request lock";
    GoOn().Set();
    EXPECT_EQ(module.Close(), 1);
}

TEST_F(StartUp, RequestsDuringStartUpSeeTheConstructedFieldsAndWaitOnlyForTheSlowGroup) {
    s_holdUp = true;
    LoadedModule module;
    module.Init();
    ASSERT_EQ(Entered().Wait(10'000), CVT::kWaitSignalled);
    for (int place = 2; place < module.Group().NumHandlers(); ++place) {
        CVT::BMibImpl& group = *module.Group().HandlerAt(place);
        CVT::BVarBind first;
        first.name = group.Oid();
        const bool isEmpty = place <= 9 || place == 14;  // the processes need no start-up
        EXPECT_EQ(group.GetNext(CVT::BRequest().Id(), first), isEmpty ? CVT::noSuchName : CVT::noError)
            << group.Name().c_str();
        EXPECT_FALSE(group.IsActive());
    }
    EXPECT_EQ(SoftwareIndex(module), 0) << "1 once it is up";
    std::atomic<bool> answered = false;
    std::thread asker([&] {
        EXPECT_EQ(MemorySize(module), 123456);
        answered = true;
    });
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_FALSE(answered);
    GoOn().Set();
    asker.join();
    ASSERT_TRUE(module.WaitUntilActive());
    EXPECT_EQ(SoftwareIndex(module), 1);
    EXPECT_EQ(module.Close(), 1);
}

TEST_F(StartUp, AGroupThatThrowsStaysInactiveAndTheOthersComeUp) {
    for (const auto& [file, throwing] : {std::pair("/etc/mtab", 2), {"/proc/cpuinfo", 3}}) {
        s_throwAt = file;
        LoadedModule module;
        ASSERT_EQ(module.Init(), 1);
        while (!module.IsReady()) {
            CVT::TTimer().Sleep(1);
        }
        for (int place = 0; place < module.Group().NumHandlers(); ++place) {
            EXPECT_EQ(module.Group().HandlerAt(place)->IsActive(), place != throwing) << place;
        }
        CVT::BMibEngine engine;
        ASSERT_TRUE(engine.Add(module.Group()));
        EXPECT_FALSE(Walk(engine, "1.3.6.1.2.1.25.1").empty());
        EXPECT_FALSE(Walk(engine, "1.3.6.1.2.1.25.4.2.1.1").empty());
        EXPECT_TRUE(Walk(engine, throwing == 2 ? "1.3.6.1.2.1.25.2.3" : "1.3.6.1.2.1.25.3.2").empty());
        engine.Remove(module.Group());
        EXPECT_EQ(module.Close(), 1);
    }
}

TEST_F(StartUp, CloseBeforeReadyWaitsForTheStartUpAndLooksOnceASecond) {
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
    EXPECT_GT(Clock::now() - released, milliseconds(300))
        << "it looks once a second, and 300 ms of that second are over";
    EXPECT_LT(Clock::now() - released, milliseconds(5000));
}

TEST_F(StartUp, CloseWaitsForASecondStartUpEvenThoughTheFirstSetReady) {
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

TEST_F(StartUp, ComesUpOnTheCallersThreadWhenNoThreadCanBeCreated) {
    s_noThreads = true;
    LoadedModule module;
    EXPECT_EQ(module.Init(), 1);
    EXPECT_TRUE(module.IsReady());
    EXPECT_TRUE(module.Group().HandlerAt(1)->IsActive());
    EXPECT_EQ(module.Close(), 1);
}

TEST_F(StartUp, TakesTheMemorySizeUnscaledAndOnlyOnce) {
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

TEST_F(StartUp, ComesUpWithAMemorySizeOfZeroWhenSysinfoFails) {
    s_sysinfoResult = -1;
    LoadedModule module;
    module.Init();
    ASSERT_TRUE(module.WaitUntilActive());
    EXPECT_EQ(MemorySize(module), 0);
    module.Close();
}

}  // namespace
