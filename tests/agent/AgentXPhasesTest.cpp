// What the module sees of a SET's phases when an AgentX master loses patience, or dies.

#include <cstdint>
#include <string>

#include "tests/agent/AgentXTest.h"
#include "tests/agent/ScriptedMaster.h"

namespace agent_test {
namespace {

class AgentXPhasesTest : public AgentXTest {
protected:
    void SetUp() override {
        Start({"--module", kTestModule}, {}, "");
        m_script.TakeAgent(kSubtrees);
    }

    std::string Record() { return m_script.GetText(kRecord, ++m_reading); }

    static constexpr int kSubtrees = 4;
    const ScriptedMaster::Oid kLevel{1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0};
    const ScriptedMaster::Oid kRecord{1, 3, 6, 1, 4, 1, 32473, 2, 1, 10, 0};
    const std::string kLevel7 = ScriptedMaster::IntegerVarBind(kLevel, 7);
    ScriptedMaster m_script{m_master};

private:
    std::uint32_t m_reading = 1000;
};

using Master = ScriptedMaster;

TEST_F(AgentXPhasesTest, AGoodSetIsCheckedCommittedAndReleasedOnce) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    EXPECT_EQ(m_script.Ask(Master::kCommitSet, 1), 0);
    m_script.Send(Master::kCleanupSet, 1);
    EXPECT_EQ(Record(), "check level, commit level, release level");
}

TEST_F(AgentXPhasesTest, ASetThatIsAbandonedAfterItsCheckIsReleasedOnce) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    m_script.Send(Master::kCleanupSet, 1);
    EXPECT_EQ(Record(), "check level, release level");
}

TEST_F(AgentXPhasesTest, AnUndoWithoutACommitUndoesNothingAndReleasesOnce) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    m_script.Send(Master::kUndoSet, 1);
    EXPECT_EQ(m_script.ReadError(), 0);
    EXPECT_EQ(Record(), "check level, release level");
}

TEST_F(AgentXPhasesTest, AnUndoAfterACommitUndoesAndReleasesOnce) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    EXPECT_EQ(m_script.Ask(Master::kCommitSet, 1), 0);
    EXPECT_EQ(m_script.Ask(Master::kUndoSet, 1), 0);
    EXPECT_EQ(Record(), "check level, commit level, undo level, release level");
}

TEST_F(AgentXPhasesTest, ACheckThatComesTwiceForOneTransactionIsReleasedOncePerCheck) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    m_script.Ask(Master::kTestSet, 1, kLevel7);
    EXPECT_EQ(m_script.Ask(Master::kCommitSet, 1), 0);
    m_script.Send(Master::kCleanupSet, 1);
    m_script.Disconnect();  // everything must be released by now
    m_script.TakeAgent(kSubtrees);
    const std::string record = Record();
    EXPECT_GE(Count(record, "check level"), 1) << record;
    EXPECT_EQ(Count(record, "commit level"), 1) << record;
    EXPECT_EQ(Count(record, "release level"), Count(record, "check level")) << record;
}

TEST_F(AgentXPhasesTest, ASetIsReleasedOnceWhenTheMasterDiesAfterTheCheck) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Record(), "check level, release level");
}

TEST_F(AgentXPhasesTest, ASetIsUndoneAndReleasedOnceWhenTheMasterDiesAfterTheCommit) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    EXPECT_EQ(m_script.Ask(Master::kCommitSet, 1), 0);
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Record(), "check level, commit level, undo level, release level");
}

TEST_F(AgentXPhasesTest, AMasterThatDiesWithoutReadingTheAnswerDoesNoHarm) {
    m_script.Send(Master::kTestSet, 1, kLevel7);
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Record(), "check level, release level");
}

TEST_F(AgentXPhasesTest, AMasterThatDiesInTheMiddleOfManyRequestsDoesNoHarm) {
    for (std::uint32_t transaction = 1; transaction <= 20; ++transaction) {
        m_script.SendGet(kRecord, transaction);
    }
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Record(), "");
}

TEST_F(AgentXPhasesTest, TheNextMasterMayReuseTransactionNumbers) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    EXPECT_EQ(m_script.Ask(Master::kCommitSet, 1), 0);
    m_script.Send(Master::kCleanupSet, 1);
    EXPECT_EQ(Record(), "check level, release level; check level, commit level, release level");
}

TEST_F(AgentXPhasesTest, EndsCleanlyInTheMiddleOfASet) {
    EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, kLevel7), 0);
    ExpectCleanEnd();
}

TEST_F(AgentXPhasesTest, APhaseOfASetThatWasNeverCheckedReachesNoModule) {
    m_script.Send(Master::kCommitSet, 1);
    m_script.Disconnect();  // the library may have done so itself
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Record(), "");
}

}  // namespace
}  // namespace agent_test
