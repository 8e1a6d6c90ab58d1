// The SETs of a master, phase by phase: phases that are repeated, late or superseded, and what a lost master leaves.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/agent/AgentXProtocolTest.h"

namespace agent_test {
namespace {

class AgentXTransactionsTest : public AgentXProtocolTest {};

TEST_F(AgentXTransactionsTest, TheRangesOfAnEarlierRequestDoNotCount) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 7);
    EXPECT_EQ(Ask(test).error, 0);
    EXPECT_NE(Ask(Searching(20'000)).error, 0);
    EXPECT_EQ(Ask(Request(PduType::kCommitSet, 1)).error, 0);
    EXPECT_NE(Ask(Searching(20'000)).error, 0);
    Send(Request(PduType::kCleanupSet, 1));
    EXPECT_EQ(Record(), "check level, commit level, release level");
}

TEST_F(AgentXTransactionsTest, TheOldestSetThatIsLeftAloneMakesRoom) {
    constexpr std::uint32_t kMost = 100;
    StartServing({"AGENT_TEST_MODULE=count"});
    Pdu slow = Request(PduType::kTestSet, 1);
    AddInteger(slow, kValues + "1.0", 17);  // its check takes more than a second
    const std::uint32_t first = Send(slow);
    const auto check = [&](std::uint32_t transaction) {
        Pdu test = Request(PduType::kTestSet, transaction);
        AddInteger(test, kInner + "2.1", 7);
        return Ask(test).error;
    };
    for (std::uint32_t transaction = 2; transaction <= kMost; ++transaction) {
        ASSERT_EQ(check(transaction), 0) << transaction;
    }
    EXPECT_EQ(check(kMost + 1), CVT::resourceUnavailable);
    const Pdu answer = Read();
    EXPECT_EQ(answer.header.packet, first) << "it was under way";
    EXPECT_EQ(answer.error, 0);
    EXPECT_EQ(Ask(Request(PduType::kCommitSet, 2)).error, cvtagentd::kProcessingError) << "it has made room";
    EXPECT_EQ(check(kMost + 2), 0);
    EXPECT_EQ(Record(), "100 cells");
}

TEST_F(AgentXTransactionsTest, ACheckFailsWhenAnotherTakesItsPlace) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 17);  // its check takes more than a second
    const std::uint32_t first = Send(test);
    test.varBinds.front().integer = 8;
    const std::uint32_t second = Send(test);
    const Pdu refusal = Read();
    EXPECT_EQ(refusal.header.packet, first);
    EXPECT_EQ(refusal.error, CVT::genErr);
    const Pdu answer = Read();
    EXPECT_EQ(answer.header.packet, second);
    EXPECT_EQ(answer.error, 0);
}

TEST_F(AgentXTransactionsTest, ASetThatIsConfirmedBeforeTheMasterGoesStays) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 18);  // its commit takes more than a second
    EXPECT_EQ(Ask(test).error, 0);
    SendConfirmation();
    ASSERT_TRUE(Agent().WaitForOutput("level: commit")) << Log();
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Record(), "check level, commit level, release level");
}

TEST_F(AgentXTransactionsTest, ASetThatIsConfirmedBeforeTheAgentEndsStays) {
    StartServing({"AGENT_TEST_MODULE=tell"});
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 18);  // its commit takes more than a second
    EXPECT_EQ(Ask(test).error, 0);
    SendConfirmation();
    ASSERT_TRUE(Agent().WaitForOutput("level: commit")) << Log();
    ExpectCleanEnd();
    EXPECT_EQ(InLog("record: check level, commit level, release level\n"), 1) << Log();
}

TEST_F(AgentXTransactionsTest, ASetThatIsNotConfirmedWhenTheAgentEndsIsUndone) {
    StartServing({"AGENT_TEST_MODULE=tell"});
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 18);  // its commit takes more than a second
    EXPECT_EQ(Ask(test).error, 0);
    Send(Request(PduType::kCommitSet, 1));
    ASSERT_TRUE(Agent().WaitForOutput("level: commit")) << Log();
    ExpectCleanEnd();
    EXPECT_EQ(InLog("record: check level, commit level, undo level, release level\n"), 1) << Log();
}

TEST_F(AgentXTransactionsTest, APhaseThatIsAskedForTwiceIsCarriedOutOnce) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 13);
    EXPECT_EQ(Ask(test).error, 0);
    EXPECT_EQ(Lines(Ask(test)), AreLines{});
    EXPECT_EQ(Lines(Ask(Request(PduType::kCommitSet, 1))), AreLines{"error 14 at 1"});
    EXPECT_EQ(Lines(Ask(Request(PduType::kCommitSet, 1))), AreLines{"error 14 at 1"});
    EXPECT_EQ(Ask(Request(PduType::kUndoSet, 1)).error, 0);
    EXPECT_EQ(Record(), "check level, commit level, release level");
}

TEST_F(AgentXTransactionsTest, PhasesThatAreAskedForTwiceBeforeTheyAreOverAreAllAnswered) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 18);  // its commit takes more than a second
    EXPECT_EQ(Ask(test).error, 0);
    for (const PduType type : {PduType::kCommitSet, PduType::kCommitSet, PduType::kUndoSet, PduType::kUndoSet}) {
        Send(Request(type, 1));
    }
    for (int answers = 0; answers < 4; ++answers) {
        EXPECT_EQ(Read().error, 0);
    }
    EXPECT_EQ(Ask(Request(PduType::kUndoSet, 1)).error, cvtagentd::kProcessingError);
    EXPECT_EQ(Record(), "check level, commit level, undo level, release level");
}

TEST_F(AgentXTransactionsTest, OnlyErrorsThatAPhaseMayHaveAreSent) {
    StartServing();
    std::uint32_t transaction = 0;
    for (const int value : {19, 20}) {  // their checks return what SNMP does not have
        Pdu test = Request(PduType::kTestSet, ++transaction);
        AddInteger(test, kValues + "1.0", value);
        EXPECT_EQ(Lines(Ask(test)), AreLines{"error 5 at 1"}) << value;
        Send(Request(PduType::kCleanupSet, transaction));
    }
    Pdu test = Request(PduType::kTestSet, ++transaction);
    AddInteger(test, kValues + "1.0", 21);  // its commit returns genErr
    EXPECT_EQ(Ask(test).error, 0);
    EXPECT_EQ(Lines(Ask(Request(PduType::kCommitSet, transaction))), AreLines{"error 14 at 1"});
}

TEST_F(AgentXTransactionsTest, NothingMoreIsCommittedOnceTheMasterIsGone) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 18);  // its commit takes more than a second
    AddInteger(test, kValues + "5.0", 5);
    AddInteger(test, kInner + "2.1", 8);
    test.varBinds.at(1).type = CVT::kGauge32;
    test.varBinds.at(1).number = 5;
    EXPECT_EQ(Ask(test).error, 0);
    Send(Request(PduType::kCommitSet, 1));
    ASSERT_TRUE(Agent().WaitForOutput("level: commit")) << Log();
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Record(),
              "check level, check size, check inner, commit level, "
              "undo level, release level, release size, release inner");
}

TEST_F(AgentXTransactionsTest, ASlowSetHoldsUpOnlyItsOwnGroup) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 17);  // its check takes more than a second
    const std::uint32_t slow = Send(test);
    Pdu same = Request(PduType::kGet, 2);
    AddRange(same, kValues + "1.0");
    const std::uint32_t waits = Send(same);
    Pdu other = Request(PduType::kGet, 3);
    AddRange(other, kInner + "2.1");
    const std::uint32_t quick = Send(other);
    std::vector<std::uint32_t> order;
    for (int answers = 0; answers < 3; ++answers) {
        order.push_back(Read().header.packet);
    }
    EXPECT_EQ(order, (std::vector<std::uint32_t>{quick, slow, waits}));
}

TEST_F(AgentXTransactionsTest, AVarBindThatNoGroupHasIsRefusedAndNothingIsChecked) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 7);
    AddInteger(test, ".1.3.6.1.4.1.32473.7.1.0", 7);
    EXPECT_EQ(Lines(Ask(test)), (AreLines{"error 17 at 2"}));
    Pdu get = Request(PduType::kGet, 2);
    AddRange(get, kValues + "10.0");
    EXPECT_EQ(Lines(Ask(get)), (AreLines{kValues + "10.0 = \"\""}));
}

TEST_F(AgentXTransactionsTest, ACheckStopsAtTheFirstRefusal) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 15);  // is refused
    AddInteger(test, kInner + "2.1", 8);
    AddInteger(test, kInner + "2.2", 8);
    std::swap(test.varBinds[0], test.varBinds[1]);
    EXPECT_EQ(Lines(Ask(test)), (AreLines{"error 12 at 2"}));
    test.header.transaction = 2;
    std::swap(test.varBinds[0], test.varBinds[1]);
    EXPECT_EQ(Lines(Ask(test)), (AreLines{"error 12 at 1"}));
    EXPECT_EQ(Record(), "check inner");
}

TEST_F(AgentXTransactionsTest, ACommitStopsAtTheFirstFailure) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 13);  // its commit fails
    AddInteger(test, kInner + "2.1", 8);
    EXPECT_EQ(Ask(test).error, 0);
    EXPECT_EQ(Lines(Ask(Request(PduType::kCommitSet, 1))), AreLines{"error 14 at 1"});
    EXPECT_EQ(Ask(Request(PduType::kUndoSet, 1)).error, 0);
    EXPECT_EQ(Record(), "check level, check inner, commit level, release level, release inner");
}

TEST_F(AgentXTransactionsTest, AnUndoThatFailsInOneGroupIsReportedEvenIfTheNextSucceeds) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 14);  // its undo fails
    AddInteger(test, kInner + "2.1", 8);
    EXPECT_EQ(Ask(test).error, 0);
    EXPECT_EQ(Ask(Request(PduType::kCommitSet, 1)).error, 0);
    EXPECT_EQ(Lines(Ask(Request(PduType::kUndoSet, 1))), AreLines{"error 15 at 1"});
}

TEST_F(AgentXTransactionsTest, ACheckAfterAnUndoStartsANewTransaction) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 18);  // its commit takes more than a second
    EXPECT_EQ(Ask(test).error, 0);
    Send(Request(PduType::kCommitSet, 1));
    Send(Request(PduType::kUndoSet, 1));
    Send(test);
    for (int answers = 0; answers < 3; ++answers) {
        EXPECT_EQ(Read().error, 0);
    }
    Send(Request(PduType::kCleanupSet, 1));
    const std::string record = Record();
    EXPECT_EQ(Count(record, "check level"), 2) << record;
    EXPECT_EQ(Count(record, "undo level"), 1) << record;
    EXPECT_EQ(Count(record, "release level"), 2) << record;
}

TEST_F(AgentXTransactionsTest, APhaseWithoutACheckIsAnError) {
    StartServing();
    EXPECT_EQ(Ask(Request(PduType::kCommitSet, 9)).error, cvtagentd::kProcessingError);
    EXPECT_EQ(Ask(Request(PduType::kUndoSet, 9)).error, cvtagentd::kProcessingError);
}

TEST_F(AgentXTransactionsTest, ACheckWithOtherValuesUndoesTheOneBefore) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 7);
    EXPECT_EQ(Ask(test).error, 0);
    EXPECT_EQ(Ask(Request(PduType::kCommitSet, 1)).error, 0);
    test.varBinds.front().integer = 8;
    EXPECT_EQ(Ask(test).error, 0);
    EXPECT_EQ(Ask(Request(PduType::kUndoSet, 1)).error, 0);
    Pdu get = Request(PduType::kGet, 2);
    AddRange(get, kValues + "1.0");
    AddRange(get, kValues + "10.0");
    const Pdu answer = Ask(get);
    EXPECT_EQ(answer.varBinds.at(0).integer, 1);
    const std::string record(answer.varBinds.at(1).octets.View());
    EXPECT_EQ(Count(record, "commit level"), Count(record, "undo level")) << record;
    EXPECT_EQ(Count(record, "check level"), 2) << record;
    EXPECT_EQ(Count(record, "release level"), 2) << record;
}

}  // namespace
}  // namespace agent_test
