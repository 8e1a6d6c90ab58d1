#include "CVT/TThread.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include "tests/support/Sanitizers.h"
#include "tests/unit/toolkit/FunctionThread.h"

namespace CVT::test {
namespace {

TEST(TThread, RunsOnAThreadOfItsOwn) {
    std::thread::id worker;
    FunctionThread thread([&](FunctionThread&) { worker = std::this_thread::get_id(); });
    EXPECT_TRUE(thread.StartNow());
    EXPECT_TRUE(thread.Join(kWaitForever));
    EXPECT_NE(worker, std::thread::id());
    EXPECT_NE(worker, std::this_thread::get_id());
}

TEST(TThread, RunsOnAStackOfTheGivenSize) {
    bool filled = false;
    FunctionThread thread([&](FunctionThread&) {
        volatile char block[4 * 1024 * 1024];
        block[0] = 1;
        block[sizeof block - 1] = 1;
        filled = block[0] == block[sizeof block - 1];
    });
    EXPECT_TRUE(thread.Start(16 * 1024 * 1024, 0));
    EXPECT_TRUE(thread.Join(kWaitForever));
    EXPECT_TRUE(filled);
}

TEST(TThread, IsJoinedOnlyOnceItHasEnded) {
    TEvent go(true);
    FunctionThread thread([&](FunctionThread&) { go.Wait(kWaitForever); });
    EXPECT_TRUE(thread.Join(0));
    EXPECT_TRUE(thread.StartNow());
    EXPECT_FALSE(thread.Join(0));
    EXPECT_FALSE(thread.Join(10));
    go.Set();
    EXPECT_TRUE(thread.Join(60000));
    EXPECT_TRUE(thread.Join(0));
}

TEST(TThread, EndsWhenAskedToStop) {
    FunctionThread thread([](FunctionThread& self) {
        while (!self.StopRequested()) {
            std::this_thread::yield();
        }
    });
    EXPECT_TRUE(thread.StartNow());
    EXPECT_FALSE(thread.StopRequested());
    EXPECT_TRUE(thread.Stop(60000));
    EXPECT_TRUE(thread.StopRequested());
}

TEST(TThread, ReportsThatItDidNotStopInTime) {
    TEvent go(true);
    FunctionThread thread([&](FunctionThread&) { go.Wait(kWaitForever); });
    EXPECT_TRUE(thread.StartNow());
    EXPECT_FALSE(thread.Stop(10));
    EXPECT_TRUE(thread.StopRequested());
    go.Set();
    EXPECT_TRUE(thread.Join(60000));
}

TEST(TThread, StartsAgainOnlyAfterResetMembers) {
    std::atomic<int> runs = 0;
    FunctionThread thread([&](FunctionThread&) { ++runs; });
    EXPECT_TRUE(thread.StartNow());
    EXPECT_FALSE(thread.StartNow());
    EXPECT_TRUE(thread.Stop(kWaitForever));
    EXPECT_FALSE(thread.StartNow());
    thread.ResetMembers();
    EXPECT_FALSE(thread.StopRequested());
    EXPECT_TRUE(thread.StartNow());
    EXPECT_TRUE(thread.Join(kWaitForever));
    EXPECT_EQ(runs, 2);
}

TEST(TThread, CannotBeResetWhileItMayStillRun) {
    TEvent go(true);
    FunctionThread thread([&](FunctionThread&) { go.Wait(kWaitForever); });
    EXPECT_TRUE(thread.StartNow());
    EXPECT_FALSE(thread.Stop(0));
    thread.ResetMembers();
    EXPECT_TRUE(thread.StopRequested());
    EXPECT_FALSE(thread.StartNow());
    go.Set();
    EXPECT_TRUE(thread.Join(60000));
}

TEST(TThread, CanBeJoinedByTwoWaitersAtOnce) {
    int joined = 0;
    for (int round = 0; round < 50; ++round) {
        FunctionThread thread([](FunctionThread&) {});
        EXPECT_TRUE(thread.StartNow());
        bool other = false;
        std::thread waiter([&] { other = thread.Join(60000); });
        joined += thread.Join(60000) ? 1 : 0;
        waiter.join();
        joined += other ? 1 : 0;
    }
    EXPECT_EQ(joined, 100);
}

TEST(TThread, CallsOnThreadEndOnTheThreadBeforeItIsJoined) {
    std::thread::id worker;
    std::thread::id end;
    int ends = 0;
    FunctionThread thread([&](FunctionThread&) { worker = std::this_thread::get_id(); });
    thread.atEnd = [&] {
        end = std::this_thread::get_id();
        ++ends;
    };
    EXPECT_TRUE(thread.StartNow());
    EXPECT_TRUE(thread.Join(kWaitForever));
    EXPECT_EQ(end, worker);
    EXPECT_EQ(ends, 1);
}

TEST(TThread, EndsByAnExceptionAsIfByAReturn) {
    int ends = 0;
    int unwound = 0;
    for (const bool standard : {true, false}) {
        FunctionThread thread([&](FunctionThread&) {
            const std::shared_ptr<int> onStack(&unwound, [](int* count) { ++*count; });
            if (standard) {
                throw std::runtime_error("as asked");
            }
            throw 5;
        });
        thread.atEnd = [&] { ++ends; };
        EXPECT_TRUE(thread.StartNow());
        EXPECT_TRUE(thread.Join(kWaitForever));
    }
    EXPECT_EQ(ends, 2);
    EXPECT_EQ(unwound, 2);
}

TEST(TThread, IsWaitedForByItsDestructor) {
    std::atomic<bool> done = false;
    {
        FunctionThread thread([&](FunctionThread& self) {
            while (!self.StopRequested()) {
                std::this_thread::yield();
            }
            done = true;
        });
        EXPECT_TRUE(thread.StartNow());
    }
    EXPECT_TRUE(done);
}

TEST(TThreadSelfDeleting, DeletesItselfAfterItsWork) {
    std::atomic<int> step = 0;
    int atWork = 0;
    int atEnd = 0;
    int deleted = 0;
    auto* const thread = new FunctionThread([&](FunctionThread&) { atWork = ++step; }, true);
    thread->atEnd = [&] { atEnd = ++step; };
    thread->inDestructor = [&] { deleted = ++step; };
    EXPECT_TRUE(thread->StartNow());
    EXPECT_TRUE(TThread::WaitForSelfDeleting(60000));
    EXPECT_EQ(atWork, 1);
    EXPECT_EQ(atEnd, 2);
    EXPECT_EQ(deleted, 3);
    EXPECT_EQ(TThread::NumSelfDeleting(), 0U);
}

TEST(TThreadSelfDeleting, DeletesItselfAfterAnException) {
    std::atomic<int> deleted = 0;
    auto* const thread = new FunctionThread([](FunctionThread&) { throw std::runtime_error("as asked"); }, true);
    thread->inDestructor = [&] { ++deleted; };
    EXPECT_TRUE(thread->StartNow());
    EXPECT_TRUE(TThread::WaitForSelfDeleting(60000));
    EXPECT_EQ(deleted, 1);
}

TEST(TThreadSelfDeleting, IsCountedUntilItsDestructorHasReturned) {
    TEvent inDestructor(true);
    TEvent leave(true);
    auto* const thread = new FunctionThread([](FunctionThread&) {}, true);
    thread->inDestructor = [&] {
        inDestructor.Set();
        leave.Wait(kWaitForever);
    };
    EXPECT_TRUE(TThread::WaitForSelfDeleting(0));
    EXPECT_TRUE(thread->StartNow());
    EXPECT_EQ(inDestructor.Wait(60000), 0U);
    EXPECT_EQ(TThread::NumSelfDeleting(), 1U);
    EXPECT_FALSE(TThread::WaitForSelfDeleting(0));
    EXPECT_FALSE(TThread::WaitForSelfDeleting(10));
    leave.Set();
    EXPECT_TRUE(TThread::WaitForSelfDeleting(60000));
    EXPECT_EQ(TThread::NumSelfDeleting(), 0U);
}

TEST(TThreadSelfDeleting, IsCountedFromItsStart) {
    TEvent go(true);
    for (unsigned int i = 1; i <= 3; ++i) {
        auto* const thread = new FunctionThread([&](FunctionThread&) { go.Wait(kWaitForever); }, true);
        EXPECT_EQ(TThread::NumSelfDeleting(), i - 1);
        EXPECT_TRUE(thread->StartNow());
        EXPECT_EQ(TThread::NumSelfDeleting(), i);
    }
    go.Set();
    EXPECT_TRUE(TThread::WaitForSelfDeleting(60000));
}

TEST(TThreadSelfDeleting, CannotBeJoinedOrTerminated) {
    TEvent go(true);
    std::atomic<bool> done = false;
    auto* const thread = new FunctionThread(
        [&](FunctionThread&) {
            go.Wait(kWaitForever);
            done = true;
        },
        true);
    EXPECT_TRUE(thread->StartNow());
    EXPECT_FALSE(thread->Join(0));  // the thread waits for us, so it is still there
    EXPECT_FALSE(thread->Stop(0));
    thread->Terminate();
    go.Set();
    EXPECT_TRUE(TThread::WaitForSelfDeleting(60000));
    EXPECT_TRUE(done);
}

TEST(TThreadSelfDeleting, DoesNotCountAnOwnedThread) {
    TEvent go(true);
    FunctionThread thread([&](FunctionThread&) { go.Wait(kWaitForever); });
    EXPECT_TRUE(thread.StartNow());
    EXPECT_EQ(TThread::NumSelfDeleting(), 0U);
    EXPECT_TRUE(TThread::WaitForSelfDeleting(0));
    go.Set();
    EXPECT_TRUE(thread.Join(60000));
}

/// Starts both kinds of threads where the system has no memory for their stacks. 0 when they behave correctly.
int StartWithoutMemory() {
    const rlimit limit{1UL << 30U, 1UL << 30U};
    if (setrlimit(RLIMIT_AS, &limit) != 0) {
        return 1;
    }
    bool deleted = false;
    auto* const selfDeleting = new FunctionThread([](FunctionThread&) {}, true);
    selfDeleting->inDestructor = [&] { deleted = true; };
    if (selfDeleting->Start(0xFFFF0000U, 0) || !deleted || TThread::NumSelfDeleting() != 0) {
        return 2;
    }
    FunctionThread owned([](FunctionThread&) {});
    if (owned.Start(0xFFFF0000U, 0) || !owned.Join(0)) {
        return 3;
    }
    return owned.StartNow() && owned.Join(kWaitForever) ? 0 : 4;
}

TEST(TThreadDeathTest, DeletesASelfDeletingThreadThatCannotBeStarted) {
    if (kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs the memory that this test removes";
    }
    EXPECT_EXIT(std::_Exit(StartWithoutMemory()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace CVT::test
