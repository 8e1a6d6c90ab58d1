#include "CVT/TEvent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace CVT {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

TEST(TEvent, StartsUnsignalledRegardlessOfTheSecondFlag) {
    for (const bool manual : {false, true}) {
        for (const bool initially : {false, true}) {
            TEvent event(manual, initially);
            EXPECT_EQ(event.Wait(0), 0x102U);
        }
    }
}

TEST(TEvent, StaysSignalledUntilResetWhenManual) {
    TEvent event(true);
    event.Set();
    EXPECT_EQ(event.Wait(0), 0U);
    EXPECT_EQ(event.Wait(0), 0U);
    EXPECT_EQ(event.Wait(kWaitForever), 0U);
    event.Reset();
    EXPECT_EQ(event.Wait(0), 0x102U);
}

TEST(TEvent, IsUsedUpByOneWaitWhenNotManual) {
    TEvent event(false);
    event.Set();
    event.Set();
    EXPECT_EQ(event.Wait(1000), 0U);
    EXPECT_EQ(event.Wait(0), 0x102U);
    event.Set();
    event.Reset();
    EXPECT_EQ(event.Wait(0), 0x102U);
}

TEST(TEvent, DoesNotTimeOutEarly) {
    TEvent event(true);
    const auto start = Clock::now();
    EXPECT_EQ(event.Wait(30), 0x102U);
    EXPECT_GE(Clock::now() - start, milliseconds(30));
}

TEST(TEvent, WakesAWaiter) {
    for (const unsigned int limit : {60000U, kWaitForever}) {
        for (const bool manual : {false, true}) {
            TEvent event(manual);
            unsigned int result = 99;
            std::thread waiter([&] { result = event.Wait(limit); });
            std::this_thread::sleep_for(milliseconds(10));
            event.Set();
            waiter.join();
            EXPECT_EQ(result, 0U);
        }
    }
}

TEST(TEvent, LetsEveryWaiterThroughWhenManual) {
    TEvent event(true);
    std::atomic<int> through = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] { through += event.Wait(60000) == 0 ? 1 : 0; });
    }
    event.Set();
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(through, 4);
}

TEST(TEvent, LetsOneWaiterThroughForEachSignalWhenNotManual) {
    TEvent event(false);
    TEvent passed(false);
    std::atomic<int> through = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&] {
            if (event.Wait(60000) == 0) {
                ++through;
                passed.Set();
            }
        });
    }
    for (int i = 1; i <= 4; ++i) {
        event.Set();
        EXPECT_EQ(passed.Wait(60000), 0U);
        EXPECT_EQ(through, i);
    }
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(event.Wait(0), 0x102U);
}

TEST(TEvent, MayBeDestroyedByTheWaiterThatItWakes) {
    int destroyed = 0;
    for (int round = 0; round < 300; ++round) {
        auto event = std::make_unique<TEvent>(true);
        TEvent* const signalled = event.get();
        std::thread setter([signalled] { signalled->Set(); });
        if (event->Wait(60000) == 0) {
            event.reset();
            ++destroyed;
        }
        setter.join();
    }
    EXPECT_EQ(destroyed, 300);
}

}  // namespace
}  // namespace CVT
