#include "CVT/BSetCell.h"

#include <gtest/gtest.h>

#include "tests/unit/toolkit/RecordingTable.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Phase = ESnmpSetOpCode;
using Counts = RecordingTable::Counts;

class BSetCellTest : public testing::Test {
protected:
    BSetCellTest() { m_table.values[1] = 10; }

    static BVarBind Offer(int value = 20) { return Integer("1.3.1.1.1", value); }

    RecordingTable m_table;
};

TEST_F(BSetCellTest, CommitsAndReleases) {
    {
        BSetCell cell(m_table, 1, Offer());
        EXPECT_EQ(cell.Check(), noError);
        EXPECT_EQ(m_table.values[1], 10);
        EXPECT_EQ(cell.Commit(), noError);
        EXPECT_EQ(m_table.values[1], 20);
        EXPECT_EQ(m_table.openCells, 1);
        EXPECT_EQ(cell.VarBind().integer, 20);
    }
    EXPECT_EQ(m_table.counts[1], (Counts{1, 1, 0, 1}));
    EXPECT_EQ(m_table.openCells, 0);
}

TEST_F(BSetCellTest, RestoresTheSavedValueWhenUndone) {
    BSetCell cell(m_table, 1, Offer());
    EXPECT_EQ(cell.Check(), noError);
    EXPECT_EQ(cell.Commit(), noError);
    EXPECT_EQ(cell.Undo(), noError);
    EXPECT_EQ(m_table.values[1], 10);
    cell.Release();
    EXPECT_EQ(m_table.counts[1], (Counts{1, 1, 1, 1}));
}

TEST_F(BSetCellTest, TouchesNothingBeforeItsCheck) {
    {
        BSetCell cell(m_table, 1, Offer());
        EXPECT_EQ(cell.Commit(), commitFailed);
        EXPECT_EQ(cell.Undo(), noError);
    }
    EXPECT_EQ(m_table.counts[1], Counts());
}

TEST_F(BSetCellTest, ReleasesNothingThatFailedItsCheck) {
    m_table.Fail(1, Phase::CheckAndSave, inconsistentName);
    {
        BSetCell cell(m_table, 1, Offer());
        EXPECT_EQ(cell.Check(), inconsistentName);
        EXPECT_EQ(cell.Check(), inconsistentName);
        EXPECT_EQ(cell.Commit(), commitFailed);
        EXPECT_EQ(cell.Undo(), noError);
    }
    EXPECT_EQ(m_table.counts[1], Counts());
    BSetCell refused(m_table, 1, Offer(1001));
    EXPECT_EQ(refused.Check(), wrongValue);
    EXPECT_EQ(m_table.counts[1], Counts());
}

TEST_F(BSetCellTest, UndoesNothingThatDidNotCommit) {
    m_table.Fail(1, Phase::Commit, commitFailed);
    BSetCell cell(m_table, 1, Offer());
    EXPECT_EQ(cell.Check(), noError);
    EXPECT_EQ(cell.Commit(), commitFailed);
    EXPECT_EQ(cell.Undo(), noError);
    cell.Release();
    EXPECT_EQ(m_table.counts[1], (Counts{1, 0, 0, 1}));
}

TEST_F(BSetCellTest, RunsEachPhaseOnceHoweverOftenItIsCalled) {
    BSetCell cell(m_table, 1, Offer());
    EXPECT_EQ(cell.Check(), noError);
    EXPECT_EQ(cell.Check(), noError);
    EXPECT_EQ(cell.Commit(), noError);
    EXPECT_EQ(cell.Commit(), noError);
    EXPECT_EQ(cell.Undo(), noError);
    EXPECT_EQ(cell.Undo(), noError);
    cell.Release();
    cell.Release();
    EXPECT_EQ(m_table.counts[1], (Counts{1, 1, 1, 1}));
}

TEST_F(BSetCellTest, IsFinishedAfterItsRelease) {
    BSetCell cell(m_table, 1, Offer());
    EXPECT_EQ(cell.Check(), noError);
    cell.Release();
    EXPECT_EQ(cell.Commit(), commitFailed);
    EXPECT_EQ(cell.Undo(), noError);
    EXPECT_EQ(m_table.counts[1], (Counts{1, 0, 0, 1}));
}

TEST_F(BSetCellTest, PassesAFailedUndoOnAndStillReleases) {
    m_table.Fail(1, Phase::Undo, undoFailed);
    {
        BSetCell cell(m_table, 1, Offer());
        EXPECT_EQ(cell.Check(), noError);
        EXPECT_EQ(cell.Commit(), noError);
        EXPECT_EQ(cell.Undo(), undoFailed);
    }
    EXPECT_EQ(m_table.counts[1], (Counts{1, 1, 0, 1}));
    EXPECT_EQ(m_table.openCells, 0);
}

TEST_F(BSetCellTest, ReturnsGenErrWhenAPhaseThrows) {
    m_table.Fail(1, Phase::CheckAndSave, RecordingTable::kThrow);
    EXPECT_EQ(BSetCell(m_table, 1, Offer()).Check(), genErr);

    RecordingTable commit;
    commit.Fail(1, Phase::Commit, RecordingTable::kThrow);
    BSetCell committing(commit, 1, Offer());
    EXPECT_EQ(committing.Check(), noError);
    EXPECT_EQ(committing.Commit(), genErr);

    RecordingTable undo;
    undo.Fail(1, Phase::Undo, RecordingTable::kThrow);
    BSetCell undoing(undo, 1, Offer());
    EXPECT_EQ(undoing.Check(), noError);
    EXPECT_EQ(undoing.Commit(), noError);
    EXPECT_EQ(undoing.Undo(), genErr);

    SampleTable release("1.3", {SampleTable::Int(1)});
    release.answers.inSet = [](Phase phase) {
        if (phase == Phase::Release) {
            throw std::runtime_error("as asked");
        }
    };
    {
        BSetCell releasing(release, 1, Offer());
        EXPECT_EQ(releasing.Check(), noError);
    }
    EXPECT_EQ(release.answers.phases, (std::vector<Phase>{Phase::CheckAndSave, Phase::Release}));
}

TEST_F(BSetCellTest, PassesThePhasesByTheirNumbers) {
    SampleScalars group("1.3", {SampleScalars::Int(1)});
    BSetCell cell(group, 44, Integer("1.3.1.0", 5));
    EXPECT_EQ(cell.Check(), noError);
    EXPECT_EQ(cell.Commit(), noError);
    EXPECT_EQ(cell.Undo(), noError);
    cell.Release();
    std::vector<int> numbers;
    for (const Phase phase : group.answers.phases) {
        numbers.push_back(static_cast<int>(phase));
    }
    EXPECT_EQ(numbers, (std::vector<int>{224, 163, 225, 226}));
    EXPECT_EQ(group.answers.lastRequestId, 44U);
}

}  // namespace
}  // namespace CVT::test
