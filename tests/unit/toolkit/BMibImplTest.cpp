#include "CVT/BMibImpl.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "tests/unit/toolkit/RecordingTable.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Phase = ESnmpSetOpCode;
using Counts = RecordingTable::Counts;

/// Runs the phases of a SET over one group's list as a host does, rows 1..count.
class ListSet {
public:
    ListSet(RecordingTable& table, unsigned int count) : m_table(table), m_undo(count, nullptr) {
        for (unsigned int row = 1; row <= count; ++row) {
            BVarBind varBind = Named("1.3.1.1");
            EXPECT_TRUE(varBind.name.Append(row));
            varBind.type = kInteger;
            varBind.integer = static_cast<int>(100 + row);
            m_list.push_back(varBind);
        }
    }

    int Run(Phase phase) { return m_table.Set(1, m_list, phase, m_undo.data(), errorIndex, kSnmpV2c); }

    int errorIndex = -1;

private:
    RecordingTable& m_table;
    BVarBindList m_list;
    std::vector<void*> m_undo;
};

TEST(BMibImplSet, RunsAListThroughThePhases) {
    RecordingTable table;
    ListSet set(table, 3);
    EXPECT_EQ(set.Run(Phase::CheckAndSave), noError);
    EXPECT_EQ(set.errorIndex, 0);
    EXPECT_EQ(table.openCells, 3);
    EXPECT_EQ(table.values[2], 0);
    EXPECT_EQ(set.Run(Phase::Commit), noError);
    EXPECT_EQ(table.values[3], 103);
    EXPECT_EQ(set.Run(Phase::Release), noError);
    for (std::size_t row = 1; row <= 3; ++row) {
        EXPECT_EQ(table.counts[row], (Counts{1, 1, 0, 1})) << row;
    }
    EXPECT_EQ(table.openCells, 0);
}

TEST(BMibImplSet, ReleasesWhatItSavedWhenACheckFails) {
    for (const int failure : {static_cast<int>(inconsistentName), RecordingTable::kThrow}) {
        for (unsigned int failing = 1; failing <= 4; ++failing) {
            RecordingTable table;
            table.Fail(failing, Phase::CheckAndSave, failure);
            ListSet set(table, 4);
            EXPECT_EQ(set.Run(Phase::CheckAndSave), failure == RecordingTable::kThrow ? genErr : failure);
            EXPECT_EQ(set.errorIndex, static_cast<int>(failing));
            for (unsigned int row = 1; row <= 4; ++row) {
                EXPECT_EQ(table.counts[row], (row < failing ? Counts{1, 0, 0, 1} : Counts())) << row;
            }
            EXPECT_EQ(table.openCells, 0);
        }
    }
}

TEST(BMibImplSet, UndoesWhatItCommittedWhenACommitFails) {
    for (const int failure : {static_cast<int>(commitFailed), RecordingTable::kThrow}) {
        for (unsigned int failing = 1; failing <= 4; ++failing) {
            RecordingTable table;
            table.values.fill(7);
            table.Fail(failing, Phase::Commit, failure);
            ListSet set(table, 4);
            EXPECT_EQ(set.Run(Phase::CheckAndSave), noError);
            EXPECT_EQ(set.Run(Phase::Commit), failure == RecordingTable::kThrow ? genErr : failure);
            EXPECT_EQ(set.errorIndex, static_cast<int>(failing));
            EXPECT_EQ(set.Run(Phase::Release), noError);
            for (unsigned int row = 1; row <= 4; ++row) {
                EXPECT_EQ(table.counts[row], (row < failing ? Counts{1, 1, 1, 1} : Counts{1, 0, 0, 1})) << row;
                EXPECT_EQ(table.values[row], 7) << row;
            }
            EXPECT_EQ(table.openCells, 0);
        }
    }
}

TEST(BMibImplSet, ReturnsUndoFailedWhenAFailedCommitCannotBeUndone) {
    RecordingTable table;
    table.Fail(4, Phase::Commit, commitFailed);
    table.Fail(2, Phase::Undo, genErr);
    ListSet set(table, 4);
    EXPECT_EQ(set.Run(Phase::CheckAndSave), noError);
    EXPECT_EQ(set.Run(Phase::Commit), undoFailed);
    EXPECT_EQ(set.errorIndex, 0);
    EXPECT_EQ(set.Run(Phase::Release), noError);
    EXPECT_EQ(table.counts[1], (Counts{1, 1, 1, 1}));
    EXPECT_EQ(table.counts[2], (Counts{1, 1, 0, 1}));
    EXPECT_EQ(table.counts[3], (Counts{1, 1, 1, 1}));
    EXPECT_EQ(table.openCells, 0);
}

TEST(BMibImplSet, UndoesAndReleasesEverythingDespiteFailures) {
    RecordingTable table;
    table.Fail(1, Phase::Undo, undoFailed);
    table.Fail(2, Phase::Undo, RecordingTable::kThrow);
    table.Fail(2, Phase::Release, genErr);
    ListSet set(table, 3);
    EXPECT_EQ(set.Run(Phase::CheckAndSave), noError);
    EXPECT_EQ(set.Run(Phase::Commit), noError);
    EXPECT_EQ(set.Run(Phase::Undo), undoFailed);
    EXPECT_EQ(set.errorIndex, 1);
    EXPECT_EQ(table.counts[3].undone, 1);
    EXPECT_EQ(set.Run(Phase::Release), genErr);
    EXPECT_EQ(set.errorIndex, 2);
    for (std::size_t row = 1; row <= 3; ++row) {
        EXPECT_EQ(table.counts[row].released, 1) << row;
    }
    EXPECT_EQ(table.openCells, 0);
}

TEST(BMibImplSet, MayBeAskedToReleaseAgain) {
    RecordingTable table;
    ListSet set(table, 2);
    EXPECT_EQ(set.Run(Phase::CheckAndSave), noError);
    EXPECT_EQ(set.Run(Phase::Release), noError);
    EXPECT_EQ(table.openCells, 0);
    EXPECT_EQ(set.Run(Phase::Release), noError);
    EXPECT_EQ(table.openCells, 0);
}

TEST(BMibImplSet, AcceptsAnEmptyList) {
    RecordingTable table;
    ListSet set(table, 0);
    for (const Phase phase : {Phase::CheckAndSave, Phase::Commit, Phase::Undo, Phase::Release}) {
        EXPECT_EQ(set.Run(phase), noError);
        EXPECT_EQ(set.errorIndex, 0);
    }
}

TEST(BMibImpl, TurnsActiveBetweenInitializeAndCleanup) {
    SampleScalars group("1.3");
    EXPECT_FALSE(group.IsActive());
    group.Initialize();
    EXPECT_TRUE(group.IsActive());
    group.Cleanup();
    EXPECT_FALSE(group.IsActive());
}

TEST(BMibImpl, ShowsItsActiveFlagToOtherThreadsWithoutTheLock) {
    SampleScalars group("1.3");
    std::thread watcher([&] {
        while (!group.IsActive()) {
            std::this_thread::yield();
        }
    });
    group.Initialize();
    watcher.join();
    EXPECT_TRUE(group.IsActive());
}

/// Whether another thread could take the lock now.
bool FreeForOthers(TMutex& lock) {
    bool free = false;
    const auto attempt = [&]() CVT_NO_THREAD_SAFETY_ANALYSIS {
        free = lock.Wait(0) == kWaitSignalled;
        if (free) {
            lock.Done();
        }
    };
    std::thread(attempt).join();
    return free;
}

TEST(BMibImplLock, IsHeldAroundEveryOperationOfAScalarGroup) {
    SampleScalars group("1.3", {SampleScalars::Int(1)});
    int held = 0;
    group.answers.inGet = [&] { held += FreeForOthers(group.RequestLock()) ? 0 : 1; };
    group.answers.inSet = [&](Phase) { held += FreeForOthers(group.RequestLock()) ? 0 : 1; };
    BVarBind varBind = Named("1.3.1.0");
    void* undo = nullptr;
    EXPECT_EQ(group.Get(1, varBind), noError);
    varBind = Named("1.3");
    EXPECT_EQ(group.GetNext(1, varBind), noError);
    for (const Phase phase : {Phase::CheckAndSave, Phase::Commit, Phase::Undo, Phase::Release}) {
        EXPECT_EQ(group.Set(1, phase, &undo, Integer("1.3.1.0", 1)), noError);
    }
    EXPECT_EQ(held, 6);
    EXPECT_TRUE(FreeForOthers(group.RequestLock()));
}

TEST(BMibImplLock, IsHeldAroundEveryOperationOfATable) {
    SampleTable table("1.3", {SampleTable::Int(1)});
    table.rows = {Oid("1")};
    int held = 0;
    const auto look = [&] { held += FreeForOthers(table.RequestLock()) ? 0 : 1; };
    table.inNext = [&](unsigned int) { look(); };
    table.answers.inGet = look;
    table.answers.inSet = [&](Phase) { look(); };
    BVarBind varBind = Named("1.3");
    void* undo = nullptr;
    EXPECT_EQ(table.GetNext(1, varBind), noError);
    EXPECT_EQ(held, 2);
    EXPECT_EQ(table.Set(1, Phase::CheckAndSave, &undo, Integer("1.3.1.1.1", 1)), noError);
    EXPECT_EQ(held, 3);
    EXPECT_TRUE(FreeForOthers(table.RequestLock()));
}

TEST(BMibImplLock, IsReleasedWhenAnOperationThrows) {
    SampleTable table("1.3", {SampleTable::Int(1)});
    table.rows = {Oid("1")};
    table.answers.inGet = [] { throw 1; };
    table.answers.inSet = [](Phase) { throw 1; };
    BVarBind varBind = Named("1.3.1.1.1");
    void* undo = nullptr;
    EXPECT_EQ(table.Get(1, varBind), genErr);
    EXPECT_EQ(table.Set(1, Phase::CheckAndSave, &undo, Integer("1.3.1.1.1", 1)), genErr);
    EXPECT_TRUE(FreeForOthers(table.RequestLock()));
    table.inNext = [](unsigned int) { throw 1; };
    varBind = Named("1.3");
    EXPECT_EQ(table.GetNext(1, varBind), genErr);
    EXPECT_TRUE(FreeForOthers(table.RequestLock()));
}

TEST(BMibImplLock, IsTheParentsForAChild) {
    SampleTable parent("1.3.1");
    SampleTable child(parent, "1.3.2", {SampleTable::Int(1)});
    SampleTable grandchild(child, "1.3.3");
    SampleTable stranger("1.3.4");
    EXPECT_EQ(&child.RequestLock(), &parent.RequestLock());
    EXPECT_EQ(&grandchild.RequestLock(), &parent.RequestLock());
    EXPECT_NE(&stranger.RequestLock(), &parent.RequestLock());
    EXPECT_EQ(child.HandlerKind(), 4U);
    EXPECT_EQ(child.Oid(), Oid("1.3.2.1"));

    child.rows = {Oid("1")};
    bool parentFree = true;
    child.answers.inGet = [&] { parentFree = FreeForOthers(parent.RequestLock()); };
    BVarBind varBind = Named("1.3.2.1.1.1");
    EXPECT_EQ(child.Get(1, varBind), noError);
    EXPECT_FALSE(parentFree);
    EXPECT_TRUE(FreeForOthers(parent.RequestLock()));
}

TEST(BMibImplLock, MayBeHeldByTheCaller) {
    SampleTable table("1.3", {SampleTable::Int(1)});
    table.rows = {Oid("1")};
    const TMutex::Guard guard(table.RequestLock());
    BVarBind varBind = Named("1.3");
    EXPECT_EQ(table.GetNext(1, varBind), noError);
    EXPECT_EQ(varBind.name, Oid("1.3.1.1.1"));
    EXPECT_FALSE(FreeForOthers(table.RequestLock()));
}

TEST(BMibImplLock, SerialisesRequestsOfManyThreads) {
    SampleTable table("1.3", {SampleTable::Int(1)});
    table.rows = {Oid("1"), Oid("2")};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                BVarBind varBind = Named("1.3");
                EXPECT_EQ(table.GetNext(1, varBind), noError);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(table.answers.gets, 800);
    EXPECT_EQ(table.searches, 800);
}

struct SlowTable : RecordingTable {
    using RecordingTable::SetSlowCalls;
};

TEST(BMibImplSlowCalls, AreNoneUnlessTheGroupSaysSo) {
    SlowTable table;
    const BObjectIdentifier name = Named("1.3.1.1.4").name;
    EXPECT_FALSE(table.MayTakeLong(EReading::Get, 7, name));
    EXPECT_FALSE(table.MayTakeLong(EReading::NextInstance, 7, name));
    table.SetSlowCalls([&](EReading call, unsigned int requestId, const BObjectIdentifier& asked) {
        return call == EReading::Get && requestId == 7 && asked == name;
    });
    EXPECT_TRUE(table.MayTakeLong(EReading::Get, 7, name));
    EXPECT_FALSE(table.MayTakeLong(EReading::NextInstance, 7, name));
    EXPECT_FALSE(table.MayTakeLong(EReading::Get, 8, name));
    EXPECT_FALSE(table.MayTakeLong(EReading::Get, 7, Named("1.3.1.1.5").name));
}

}  // namespace
}  // namespace CVT::test
