#include "CVT/TMutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

namespace CVT {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Locks here are taken and released in ways that the compiler's analysis cannot follow.

unsigned int Take(TMutex& lock, unsigned int limit) CVT_NO_THREAD_SAFETY_ANALYSIS { return lock.Wait(limit); }
void GiveBack(TMutex& lock) CVT_NO_THREAD_SAFETY_ANALYSIS { lock.Done(); }

/// The result of a wait for the lock on another thread, which releases the lock if it got it.
unsigned int TakeElsewhere(TMutex& lock, unsigned int limit) {
    unsigned int result = 99;
    std::thread([&] {
        result = Take(lock, limit);
        if (result == kWaitSignalled) {
            GiveBack(lock);
        }
    }).join();
    return result;
}

TEST(TMutex, IsTakenByAWaitOfAnyLength) {
    TMutex lock(false);
    for (const unsigned int limit : {0U, 1U, 5000U, kWaitForever}) {
        EXPECT_EQ(Take(lock, limit), 0U) << limit;
        GiveBack(lock);
    }
}

TEST(TMutex, IsOnlyTriedByAWaitOfZero) {
    TMutex lock(true);
    EXPECT_EQ(Take(lock, 0), 0U);
    EXPECT_EQ(TakeElsewhere(lock, 0), 0x102U);
    GiveBack(lock);
    EXPECT_EQ(TakeElsewhere(lock, 0), 0U);
}

TEST(TMutex, MayBeTakenAgainByItsHolderWhenRecursive) {
    TMutex lock(true);
    EXPECT_EQ(Take(lock, kWaitForever), 0U);
    EXPECT_EQ(Take(lock, 0), 0U);
    EXPECT_EQ(Take(lock, 5000), 0U);
    GiveBack(lock);
    GiveBack(lock);
    EXPECT_EQ(TakeElsewhere(lock, 0), 0x102U);
    GiveBack(lock);
    EXPECT_EQ(TakeElsewhere(lock, 0), 0U);
}

TEST(TMutex, CanBeTakenAgainByAThreadThatHasReleasedIt) {
    TMutex lock(true);
    EXPECT_EQ(Take(lock, 0), 0U);
    GiveBack(lock);
    EXPECT_EQ(Take(lock, 0), 0U);
    EXPECT_EQ(TakeElsewhere(lock, 0), 0x102U);
    GiveBack(lock);
}

TEST(TMutex, IsRefusedToItsHolderWhenNotRecursive) {
    TMutex lock(false);
    EXPECT_EQ(Take(lock, 0), 0U);
    EXPECT_EQ(Take(lock, 0), 0x102U);
    EXPECT_EQ(Take(lock, 10), 0x102U);
    GiveBack(lock);
    EXPECT_EQ(TakeElsewhere(lock, 0), 0U);
}

TEST(TMutex, DoesNotTimeOutEarly) {
    TMutex lock(true);
    const TMutex::Guard guard(lock);
    const auto start = Clock::now();
    EXPECT_EQ(TakeElsewhere(lock, 30), 0x102U);
    EXPECT_GE(Clock::now() - start, milliseconds(30));
}

TEST(TMutex, IsTakenByAWaiterOnceItIsReleased) {
    for (const unsigned int limit : {60000U, kWaitForever}) {
        TMutex lock(true);
        EXPECT_EQ(Take(lock, 0), 0U);
        unsigned int result = 99;
        std::thread waiter([&] { result = TakeElsewhere(lock, limit); });
        std::this_thread::sleep_for(milliseconds(20));
        GiveBack(lock);
        waiter.join();
        EXPECT_EQ(result, 0U) << limit;
    }
}

TEST(TMutex, ExcludesOtherThreadsUntilItsHolderHasReleasedItAsOftenAsTaken) {
    TMutex lock(true);
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                const TMutex::Guard guard(lock);
                EXPECT_EQ(Take(lock, kWaitForever), 0U);
                GiveBack(lock);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 8000);
}

TEST(TMutex, ExcludesOtherThreads) {
    TMutex lock(false);
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                const TMutex::Guard guard(lock);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 8000);
}

}  // namespace
}  // namespace CVT
