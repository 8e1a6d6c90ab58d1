// Terminate ends a thread where it waits, and leaves everything that it shares in order.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <memory>
#include <thread>

#include "CVT/TTimer.h"
#include "tests/unit/toolkit/FunctionThread.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

/// Whether another thread could take the lock now.
bool IsFree(TMutex& lock) {
    bool free = false;
    std::thread([&]() CVT_NO_THREAD_SAFETY_ANALYSIS {
        free = lock.Wait(0) == kWaitSignalled;
        if (free) {
            lock.Done();
        }
    }).join();
    return free;
}

/// Starts a thread that waits in `wait`, terminates it, and checks that it ended there, once, with its stack unwound.
void ExpectEndsIn(const std::function<void()>& wait) {
    TEvent waiting(true);
    int unwound = 0;
    int ends = 0;
    bool cameBack = false;
    FunctionThread thread([&](FunctionThread&) {
        const std::shared_ptr<int> onStack(&unwound, [](int* count) { ++*count; });
        waiting.Set();
        wait();
        cameBack = true;
    });
    thread.atEnd = [&] { ++ends; };
    EXPECT_TRUE(thread.StartNow());
    EXPECT_EQ(waiting.Wait(60000), 0U);
    thread.Terminate();
    EXPECT_TRUE(thread.Join(0));
    EXPECT_FALSE(cameBack);
    EXPECT_EQ(unwound, 1);
    EXPECT_EQ(ends, 1);
}

TEST(TThreadTerminate, EndsAThreadThatWaitsForAnEvent) {
    for (const unsigned int limit : {600000U, kWaitForever}) {
        TEvent never(true);
        ExpectEndsIn([&] { never.Wait(limit); });
        never.Set();  // the event still works
        EXPECT_EQ(never.Wait(0), 0U);
    }
}

TEST(TThreadTerminate, EndsAThreadThatSleeps) {
    ExpectEndsIn([] { TTimer().Sleep(600000); });
}

TEST(TThreadTerminate, EndsAThreadThatReads) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    ExpectEndsIn([&] {
        char octet = 0;
        while (::read(pipe[0], &octet, 1) != 1) {
        }
    });
    EXPECT_EQ(::close(pipe[0]), 0);
    EXPECT_EQ(::close(pipe[1]), 0);
}

TEST(TThreadTerminate, ReleasesGuardedLocks) {
    TMutex outer(true);
    TMutex inner(false);
    TEvent never(true);
    ExpectEndsIn([&]() CVT_NO_THREAD_SAFETY_ANALYSIS {  // it does not support recursive locks
        const TMutex::Guard first(outer);
        const TMutex::Guard again(outer);
        const TMutex::Guard second(inner);
        never.Wait(kWaitForever);
    });
    EXPECT_TRUE(IsFree(outer));
    EXPECT_TRUE(IsFree(inner));
}

TEST(TThreadTerminate, NeverStopsAThreadThatWaitsForALock) {
    TMutex lock(false);
    TEvent waiting(true);
    bool gotIt = false;
    FunctionThread thread([&](FunctionThread&) {
        waiting.Set();
        {
            const TMutex::Guard guard(lock);
            gotIt = true;
        }
        TTimer().Sleep(600000);
    });
    std::thread terminator;
    {
        const TMutex::Guard guard(lock);
        EXPECT_TRUE(thread.StartNow());
        EXPECT_EQ(waiting.Wait(60000), 0U);
        terminator = std::thread([&] { thread.Terminate(); });
        EXPECT_FALSE(thread.Join(20));
    }
    terminator.join();
    EXPECT_TRUE(thread.Join(0));
    EXPECT_TRUE(gotIt);
    EXPECT_TRUE(IsFree(lock));
}

TEST(TThreadTerminate, LeavesAnotherThreadsGuardAlone) {
    TMutex lock(true);
    TEvent never(true);
    const TMutex::Guard guard(lock);
    ExpectEndsIn([&] { never.Wait(kWaitForever); });
    EXPECT_FALSE(IsFree(lock));
}

TEST(TThreadTerminate, WaitsForAThreadThatComputesUntilItWaits) {
    std::atomic<bool> enough = false;
    std::atomic<bool> computed = false;
    FunctionThread thread([&](FunctionThread&) {
        while (!enough) {
        }
        computed = true;
        TTimer().Sleep(600000);
    });
    EXPECT_TRUE(thread.StartNow());
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        enough = true;
    });
    thread.Terminate();
    EXPECT_TRUE(computed);
    EXPECT_TRUE(thread.Join(0));
    other.join();
}

TEST(TThreadTerminate, DoesNothingBeforeTheStartAndAfterTheEnd) {
    std::atomic<int> runs = 0;
    FunctionThread thread([&](FunctionThread&) { ++runs; });
    thread.Terminate();
    EXPECT_TRUE(thread.StartNow());
    EXPECT_TRUE(thread.Join(kWaitForever));
    EXPECT_EQ(runs, 1);
    thread.Terminate();
    thread.Terminate();
    thread.ResetMembers();
    EXPECT_TRUE(thread.StartNow());
    EXPECT_TRUE(thread.Join(kWaitForever));
    EXPECT_EQ(runs, 2);
}

TEST(TThreadTerminate, LeavesTheThreadReadyForAnotherStart) {
    std::atomic<int> runs = 0;
    FunctionThread thread([&](FunctionThread&) {
        ++runs;
        TTimer().Sleep(600000);
    });
    for (int round = 1; round <= 3; ++round) {
        EXPECT_TRUE(thread.StartNow());
        while (runs < round) {
            std::this_thread::yield();
        }
        thread.Terminate();
        EXPECT_FALSE(thread.StartNow());
        thread.ResetMembers();
    }
    EXPECT_EQ(runs, 3);
}

TEST(TThreadTerminate, EndsAThreadAtAnyMomentOfItsStartAndItsEnd) {
    int ends = 0;
    for (int round = 0; round < 200; ++round) {
        TEvent event(false);
        TMutex lock(true);
        FunctionThread thread([&](FunctionThread&) {
            const TMutex::Guard guard(lock);
            for (int i = 0; i < round % 20; ++i) {
                event.Wait(0);
                TTimer().Sleep(0);
            }
        });
        thread.atEnd = [&] { ++ends; };
        EXPECT_TRUE(thread.StartNow());
        thread.Terminate();
        EXPECT_TRUE(thread.Join(0));
        EXPECT_TRUE(IsFree(lock));
    }
    EXPECT_EQ(ends, 200);
}

TEST(TThreadTerminate, LetsOnThreadEndFinishEvenWhenItWaits) {
    TEvent ending(true);
    TEvent finish(true);
    bool finished = false;
    FunctionThread thread([](FunctionThread&) {});
    thread.atEnd = [&] {
        ending.Set();
        finish.Wait(kWaitForever);
        TTimer().Sleep(1);
        finished = true;
    };
    EXPECT_TRUE(thread.StartNow());
    EXPECT_EQ(ending.Wait(60000), 0U);
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        finish.Set();
    });
    thread.Terminate();
    EXPECT_TRUE(finished);
    other.join();
}

TEST(TThreadTerminate, PassesThroughTheToolkitsGuardAgainstExceptions) {
    SampleTable table("1.3", {SampleTable::Int(1)});
    table.rows = {Oid("1")};
    table.answers.inGet = [] { TTimer().Sleep(600000); };
    ExpectEndsIn([&] {
        BVarBind varBind = Named("1.3");
        EXPECT_EQ(table.GetNext(1, varBind), noError);
    });
    EXPECT_TRUE(IsFree(table.RequestLock()));
    table.answers.inGet = [] {};
    table.inNext = [](unsigned int) { TTimer().Sleep(600000); };
    ExpectEndsIn([&] {
        BVarBind varBind = Named("1.3");
        EXPECT_EQ(table.GetNext(1, varBind), noError);
    });
    EXPECT_TRUE(IsFree(table.RequestLock()));
}

TEST(TThreadTerminate, EndsAThreadThatJoinsAnother) {
    TEvent go(true);
    FunctionThread inner([&](FunctionThread&) { go.Wait(kWaitForever); });
    EXPECT_TRUE(inner.StartNow());
    ExpectEndsIn([&] { inner.Join(kWaitForever); });
    EXPECT_FALSE(inner.Join(0));
    go.Set();
    EXPECT_TRUE(inner.Join(60000));
}

}  // namespace
}  // namespace CVT::test
