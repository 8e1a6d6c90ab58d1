// What a subagent answers to a master, message by message: search ranges, contexts, identifiers, faults.

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tests/agent/AgentXProtocolTest.h"

namespace agent_test {
namespace {

TEST_F(AgentXProtocolTest, AGetTellsObjectsInstancesAndValues) {
    StartServing();
    Pdu get = Request(PduType::kGet);
    AddRange(get, kValues + "1.0");
    AddRange(get, kValues + "1.1");
    AddRange(get, kValues + "99.0");
    AddRange(get, ".1.3.6.1.4.1.32473.7.1.0");
    AddRange(get, kInner + "2.7.5");
    EXPECT_EQ(Lines(Ask(get)),
              (AreLines{kValues + "1.0 = 1", kValues + "1.1 = no such instance", kValues + "99.0 = no such object",
                        ".1.3.6.1.4.1.32473.7.1.0 = no such object", kInner + "2.7.5 = 75"}));
}

TEST_F(AgentXProtocolTest, ASearchBeginsWithItsStartOnlyWhenToldTo) {
    StartServing();
    Pdu next = Request(PduType::kGetNext);
    AddRange(next, kValues + "1.0");
    AddRange(next, kValues + "1.0", "", true);
    AddRange(next, kInner + "2.2", "", true);
    AddRange(next, kInner + "2.3", "", true);
    AddRange(next, kInner.substr(0, kInner.size() - 3), "", true);  // the root of a subtree
    EXPECT_EQ(Lines(Ask(next)), (AreLines{kValues + "2.0 = \"first\"", kValues + "1.0 = 1", kInner + "2.2 = 20",
                                          kInner + "2.7.5 = 75", kInner + "2.1 = 10"}));
}

TEST_F(AgentXProtocolTest, ASearchStopsBeforeItsEndAndThenKeepsItsStart) {
    StartServing();
    Pdu next = Request(PduType::kGetNext);
    AddRange(next, kValues + "1.0", kValues + "2.0");
    AddRange(next, kValues + "1.0", kValues + "2.0.1");
    AddRange(next, kOuter + "1.0", kInner + "2.1");
    AddRange(next, kOuter + "1.0", kInner + "2.2");
    AddRange(next, kOuter + "5.0");
    EXPECT_EQ(Lines(Ask(next)), (AreLines{kValues + "1.0 = end", kValues + "2.0 = \"first\"", kOuter + "1.0 = end",
                                          kInner + "2.1 = 10", kOuter + "5.0 = end"}));
}

TEST_F(AgentXProtocolTest, ASearchGoesOnInTheNextSubtreeAndComesBackToTheOuterOne) {
    StartServing();
    Pdu next = Request(PduType::kGetNext);
    AddRange(next, kValues + "99");
    AddRange(next, kOuter + "1.0");
    AddRange(next, kInner + "4.7.5");
    EXPECT_EQ(Lines(Ask(next)), (AreLines{kOuter + "1.0 = 1", kInner + "2.1 = 10", kOuter + "5.0 = 1"}));
}

TEST_F(AgentXProtocolTest, AGetBulkIsAnsweredRowByRowAcrossSubtrees) {
    StartServing();
    Pdu bulk = Request(PduType::kGetBulk);
    bulk.nonRepeaters = 1;
    bulk.maxRepetitions = 3;
    AddRange(bulk, kValues + "1");
    AddRange(bulk, kOuter + "1");
    AddRange(bulk, kInner + "2.2", kInner + "4.1");
    EXPECT_EQ(Lines(Ask(bulk)),
              (AreLines{kValues + "1.0 = 1", kOuter + "1.0 = 1", kInner + "2.7.5 = 75", kInner + "2.1 = 10",
                        kInner + "2.7.5 = end", kInner + "2.2 = 20", kInner + "2.7.5 = end"}));
}

TEST_F(AgentXProtocolTest, AGetBulkEndsWithTheRowInWhichAllColumnsHaveEnded) {
    StartServing();
    Pdu bulk = Request(PduType::kGetBulk);
    bulk.maxRepetitions = 100;
    AddRange(bulk, kInner + "2.1", kInner + "3");
    AddRange(bulk, kInner + "2.2", kInner + "3");
    EXPECT_EQ(Lines(Ask(bulk)), (AreLines{kInner + "2.2 = 20", kInner + "2.7.5 = 75", kInner + "2.7.5 = 75",
                                          kInner + "2.7.5 = end", kInner + "2.7.5 = end", kInner + "2.7.5 = end"}));
}

TEST_F(AgentXProtocolTest, AnErrorNamesTheFirstRangeThatHasIt) {
    StartServing();
    Pdu get = Request(PduType::kGet);
    AddRange(get, kValues + "1.0");
    AddRange(get, kFailures + "1.0");
    AddRange(get, kFailures + "2.0");
    EXPECT_EQ(Lines(Ask(get)), (AreLines{"error 13 at 2"}));
}

TEST_F(AgentXProtocolTest, AnErrorThatSnmpDoesNotHaveIsSentAsGenErr) {
    StartServing();
    Pdu get = Request(PduType::kGet);
    AddRange(get, kFailures + "2.0");
    EXPECT_EQ(Lines(Ask(get)), (AreLines{"error 5 at 1"}));
}

TEST_F(AgentXProtocolTest, OnlyTheDefaultContextIsServed) {
    StartServing();
    Pdu get = Request(PduType::kGet);
    AddRange(get, kValues + "1.0");
    get.header.flags |= cvtagentd::kNonDefaultContext;
    get.context = "other";
    EXPECT_EQ(Ask(get).error, cvtagentd::kUnsupportedContext);
    Pdu test = Request(PduType::kTestSet);
    AddInteger(test, kValues + "1.0", 7);
    test.header.flags |= cvtagentd::kNonDefaultContext;
    test.context = "other";
    EXPECT_EQ(Ask(test).error, cvtagentd::kUnsupportedContext);
}

TEST_F(AgentXProtocolTest, AnswersInTheByteOrderOfTheRequest) {
    StartServing();
    for (const std::uint8_t order : {std::uint8_t{0}, std::uint8_t{cvtagentd::kNetworkByteOrder}}) {
        Pdu get = Request(PduType::kGet);
        get.header.flags = order;
        AddRange(get, kInner + "2.7.5");
        const Pdu answer = Ask(get);
        EXPECT_EQ(answer.header.flags & cvtagentd::kNetworkByteOrder, order);
        EXPECT_EQ(Lines(answer), (AreLines{kInner + "2.7.5 = 75"}));
    }
}

TEST_F(AgentXProtocolTest, PartsOfTwoRequestsThatOverlapKeepTheirIdentifiers) {
    StartServing();
    const unsigned int first = Identifier(1);
    const unsigned int second = Identifier(2);
    EXPECT_LT(first, second);
    EXPECT_EQ(Identifier(1), first);
    EXPECT_EQ(Identifier(2), second);
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_LT(second, Identifier(1));
}

TEST_F(AgentXProtocolTest, ARequestWhosePartsComeOverALongTimeIsNotHeldUp) {
    StartServing();
    for (int part = 0; part < 3; ++part) {
        Pdu next = Request(PduType::kGetNext);
        for (int range = 0; range < 10; ++range) {
            AddRange(next, kValues + "1.0");
        }
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(Ask(next).varBinds.size(), 10U);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1500))
            << "nothing but the next ping would wake it";
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // longer than a time slice
    }
}

TEST_F(AgentXProtocolTest, TheContextOfAnEarlierRequestDoesNotCount) {
    StartServing();
    Pdu get = Request(PduType::kGet);
    get.header.flags = cvtagentd::kNonDefaultContext;
    get.context = "elsewhere";
    AddRange(get, kValues + "1.0");
    EXPECT_NE(Ask(get).error, 0);
    Pdu commit = Request(PduType::kCommitSet);
    commit.header.flags = cvtagentd::kNonDefaultContext;
    EXPECT_EQ(Ask(commit).error, 268) << "processingError, since nothing was checked";
}

TEST_F(AgentXProtocolTest, WhatALostMasterAskedForIsNotSentToTheNext) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 17);  // its check takes more than a second
    Send(test);
    Send(Searching(1));
    ASSERT_TRUE(Agent().WaitForOutput("level: check")) << Log();
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    for (int times = 0; times < 3; ++times) {
        EXPECT_EQ(Record(), "check level, release level");  // and no other answer comes before it
    }
}

TEST_F(AgentXProtocolTest, AMasterThatRefusesTheSessionIsAskedAgain) {
    Start({"--module", kTestModule}, {}, "");
    m_script.Accept();
    const auto open = m_script.Receive(20000);
    ASSERT_TRUE(open.has_value()) << Log();
    m_script.Answer(*open, cvtagentd::kOpenFailed);
    ASSERT_TRUE(Agent().WaitForOutput("it refuses the session (openFailed); see the master's log")) << Log();
    m_script.TakeAgent(kSubtrees);
    EXPECT_NE(Identifier(1), 0U);
}

TEST_F(AgentXProtocolTest, TheSessionIsClosedWhenTheMasterDoesNotAnswerTheOpen) {
    Start({"--module", kTestModule}, {}, "");
    m_script.Accept();
    ASSERT_TRUE(m_script.Receive(20000).has_value()) << Log();
    const Pdu last = Read();
    EXPECT_EQ(last.header.type, PduType::kClose);
    EXPECT_EQ(last.reason, cvtagentd::PduCloseReason::kTimeouts);
    m_script.TakeAgent(kSubtrees);
    EXPECT_NE(Identifier(1), 0U);
}

TEST_F(AgentXProtocolTest, AMasterThatHasLostTheSessionGetsAnother) {
    StartServing();
    AnswerUntilPing(cvtagentd::kNotOpen);
    EXPECT_TRUE(Disconnects()) << Log();
    m_script.TakeAgent(kSubtrees);
    EXPECT_NE(Identifier(1), 0U);
}

TEST_F(AgentXProtocolTest, AMalformedAnswerClosesTheSession) {
    StartServing();
    AnswerUntilPing(0);
    m_script.Send(ScriptedMaster::kResponse, 0, std::string(4, '\0'));
    const Pdu last = Read();
    EXPECT_EQ(last.header.type, PduType::kClose);
    EXPECT_EQ(last.reason, cvtagentd::PduCloseReason::kParseError);
    m_script.TakeAgent(kSubtrees);
    EXPECT_NE(Identifier(1), 0U);
}

TEST_F(AgentXProtocolTest, ACleanupOfAnotherSessionIsNotAnswered) {
    StartServing();
    Pdu cleanup = Request(PduType::kCleanupSet);
    cleanup.header.session = ScriptedMaster::kSession + 1;
    Send(cleanup);
    Send(Request(PduType::kCleanupSet));  // of nothing
    EXPECT_NE(Identifier(1), 0U);         // the next answer is the one to this
}

TEST_F(AgentXProtocolTest, AMalformedRequestIsAnsweredAndTheSessionGoesOn) {
    StartServing();
    const auto& order = ScriptedMaster::kHostOrder;
    m_script.Send(ScriptedMaster::kGet, 1, order.Word(200));  // a name of 200 arcs that are not there
    EXPECT_EQ(m_script.ReadError(), cvtagentd::kParseError);
    m_script.Send(ScriptedMaster::kOpen, 2);
    EXPECT_EQ(m_script.ReadError(), cvtagentd::kParseError);
    EXPECT_EQ(m_script.GetNumber({1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0}, 3), 1U);
    EXPECT_EQ(InLog("lost the connection"), 0) << Log();
}

TEST_F(AgentXProtocolTest, WhatIsNotAMessageClosesTheSessionWithItsReason) {
    StartServing();
    m_script.SendOctets(std::string(64, '\x7F'));
    const Pdu last = Read();
    EXPECT_EQ(last.header.type, PduType::kClose);
    EXPECT_EQ(last.reason, cvtagentd::PduCloseReason::kParseError);
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(m_script.GetNumber({1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0}, 3), 1U);
}

TEST_F(AgentXProtocolTest, AnotherSessionIsNotOpen) {
    StartServing();
    Pdu get = Request(PduType::kGet);
    get.header.session = ScriptedMaster::kSession + 1;
    AddRange(get, kValues + "1.0");
    EXPECT_EQ(Ask(get).error, cvtagentd::kNotOpen);
}

TEST_F(AgentXProtocolTest, AMasterThatClosesTheSessionIsConnectedToAgain) {
    StartServing();
    m_script.Send(ScriptedMaster::kClose, 0, std::string("\5\0\0\0", 4));
    EXPECT_TRUE(Disconnects()) << Log();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(m_script.GetNumber({1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0}, 3), 1U);
}

TEST_F(AgentXProtocolTest, NamesItsMibsForTheMastersSysOrTable) {
    Start({"--module", kMainModule}, {}, "");
    m_script.Accept();
    std::vector<std::string> named;
    for (int registered = 0; registered < 15;) {
        const auto message = m_script.Receive(20000);
        ASSERT_TRUE(message.has_value()) << Log();
        registered += message->type == ScriptedMaster::kRegister ? 1 : 0;
        if (message->type == ScriptedMaster::kAddAgentCaps) {
            const std::string octets = message->octets.Message({1, message->type, 0, 0, 0, 0}, message->payload);
            Pdu pdu;
            ASSERT_EQ(Pdu::Decode(octets, pdu), cvtagentd::PduError::kNone);
            named.push_back(pdu.description + " at " + std::string(pdu.name.ToString().View()));
        }
        m_script.Answer(*message);
    }
    EXPECT_EQ(named, (std::vector<std::string>{"HOST-RESOURCES-MIB at 1.3.6.1.2.1.25"}));
}

TEST_F(AgentXProtocolTest, AsksWhetherASilentMasterIsStillThere) {
    StartServing();
    for (;;) {
        const auto message = m_script.Receive(20000);
        ASSERT_TRUE(message.has_value());
        if (message->type == ScriptedMaster::kPing) {
            break;
        }
        m_script.Answer(*message);
    }
    ASSERT_TRUE(Agent().WaitForOutput("lost the connection")) << Log();  // as the ping is not answered
    m_script.TakeAgent(kSubtrees);
    EXPECT_NE(Identifier(1), 0U);
}

TEST_F(AgentXProtocolTest, ClosesTheSessionWhenItEnds) {
    StartServing();
    ASSERT_TRUE(Agent().WaitForOutput("ready after")) << Log();
    Agent().Signal(SIGTERM);
    const Pdu last = Read();
    EXPECT_EQ(last.header.type, PduType::kClose);
    EXPECT_EQ(last.reason, cvtagentd::PduCloseReason::kShutdown);
    EXPECT_EQ(Agent().Wait(), 0) << Log();
}

}  // namespace
}  // namespace agent_test
