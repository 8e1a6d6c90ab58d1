// How much a master may ask of a subagent.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/agent/AgentXProtocolTest.h"
#include "tests/agent/ProcessFiles.h"
#include "tests/support/Sanitizers.h"

namespace agent_test {
namespace {

class AgentXLimitsTest : public AgentXProtocolTest {};

TEST_F(AgentXLimitsTest, AGetBulkReadsNoFurtherRowsOnceItHoldsEnoughOctets) {
    StartServing();
    Pdu bulk = Request(PduType::kGetBulk);
    bulk.maxRepetitions = 5;
    for (int column = 0; column < 10; ++column) {
        AddRange(bulk, kValues + "13.0");
    }
    const Pdu answer = Ask(bulk);
    ASSERT_EQ(answer.varBinds.size(), 20U);  // each column has more than a tenth with the second row
    EXPECT_EQ(answer.varBinds.back().name, Name(kValues + "15.0"));
}

TEST_F(AgentXLimitsTest, AGetBulkReturnsALimitedNumberOfInstances) {
    Start({"--module", kReadModule}, {"READ_TEST_ROWS=3000"}, "");
    m_script.TakeAgent(1);
    Pdu bulk = Request(PduType::kGetBulk);
    bulk.maxRepetitions = 65535;
    AddRange(bulk, kLarge + "1");
    AddRange(bulk, kLarge + "1");
    EXPECT_EQ(Ask(bulk).varBinds.size(), 2500U);
}

TEST_F(AgentXLimitsTest, AResponseThatNoMasterWouldTakeIsTooBig) {
    StartServing();
    Pdu get = Request(PduType::kGet);
    for (int range = 0; range < 60; ++range) {
        AddRange(get, kValues + "15.0");  // 20,000 octets
    }
    EXPECT_EQ(Lines(Ask(get)), (AreLines{"error 1 at 0"}));
}

TEST_F(AgentXLimitsTest, MoreRangesThanAMessageCanHoldAreTooMany) {
    StartServing();
    EXPECT_EQ(Lines(Ask(Searching(20'000))), AreLines{"error 1 at 0"}) << "tooBig";
}

TEST_F(AgentXLimitsTest, ALargeMessageCostsNoMemoryForLong) {
    if (kIsSanitized) {
        GTEST_SKIP() << "a sanitizer keeps memory that is free";
    }
    StartServing();
    const auto kilobytes = [&] { return std::stoi(StatusOf("/proc/" + std::to_string(Agent().Pid()))["VmRSS"]); };
    ASSERT_TRUE(Agent().WaitForOutput("ready after")) << Log();
    EXPECT_EQ(Ask(Searching(1)).error, 0);
    const int before = kilobytes();
    Pdu next = Request(PduType::kGetNext);
    next.ranges.resize(130'000);  // without names, in a message of a megabyte
    EXPECT_EQ(Ask(next).error, CVT::tooBig);
    Pdu test = Request(PduType::kTestSet);
    test.varBinds.resize(130'000);
    EXPECT_EQ(Ask(test).error, CVT::tooBig);
    EXPECT_LT(kilobytes(), before + 32'000);
}

TEST_F(AgentXLimitsTest, RequestsThatWaitForASetTakeBoundedMemory) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 17);  // its check takes more than a second
    for (std::uint32_t times = 0; times < 2; ++times) {
        test.header.transaction = times;
        Send(test);
        Send(Searching(9'000));
        Send(Searching(9'000));
        const std::uint32_t tooMuch = Send(Searching(9'000));
        Send(Searching(1));
        const Pdu refusal = Read();
        EXPECT_EQ(refusal.header.packet, tooMuch);
        EXPECT_EQ(refusal.error, CVT::resourceUnavailable);
        for (int answers = 0; answers < 4; ++answers) {
            EXPECT_EQ(Read().error, 0);
        }
    }
}

TEST_F(AgentXLimitsTest, NoMoreRequestsWaitThanTheLimit) {
    StartServing();
    Pdu test = Request(PduType::kTestSet, 1);
    AddInteger(test, kValues + "1.0", 17);  // its check takes more than a second
    Send(test);
    for (int requests = 0; requests < 1000; ++requests) {
        Send(Searching(1));
    }
    const std::uint32_t tooMany = Send(Searching(1));
    const Pdu refusal = Read();
    EXPECT_EQ(refusal.header.packet, tooMany);
    EXPECT_EQ(refusal.error, CVT::resourceUnavailable);
    for (int answers = 0; answers < 1001; ++answers) {
        EXPECT_EQ(Read().error, 0);
    }
}

TEST_F(AgentXLimitsTest, AMasterThatDoesNotReadIsHeldUpUntilItDoes) {
    StartServing();
    std::string octets;
    std::vector<std::size_t> ends;
    const auto add = [&](Pdu pdu) {
        pdu.header.packet = static_cast<std::uint32_t>(ends.size() + 1);
        pdu.AppendTo(octets);
        ends.push_back(octets.size());
    };
    Pdu get = Request(PduType::kGet);
    AddRange(get, kValues + "15.0");  // 20,000 octets
    for (int requests = 0; requests < 300; ++requests) {
        add(get);
    }
    Pdu longName = Request(PduType::kGet);
    AddRange(longName, kValues + "1.0");
    while (longName.ranges.front().start.Append(1)) {
    }
    while (octets.size() < std::size_t{16} << 20U) {
        add(longName);
    }
    const std::size_t taken = m_script.SendUnread(octets, 700);
    EXPECT_LT(taken, std::size_t{8} << 20U);
    const auto last = std::lower_bound(ends.begin(), ends.end(), taken);
    ASSERT_NE(last, ends.end());
    m_script.SendOctets(std::string_view(octets).substr(taken, *last - taken));
    for (auto answered = ends.begin(); answered <= last; ++answered) {
        const Pdu answer = Read();
        ASSERT_EQ(answer.header.packet, static_cast<std::uint32_t>(answered - ends.begin() + 1));
        ASSERT_EQ(answer.error, 0);
    }
    m_script.SendUnread(octets, 100);
    m_script.Disconnect();
    m_script.TakeAgent(kSubtrees);
    EXPECT_EQ(Ask(get).error, 0);
}

TEST_F(AgentXLimitsTest, SetsThatWaitTakeBoundedMemory) {
    StartServing({"AGENT_TEST_MODULE=count"});
    for (std::uint32_t transaction = 1; transaction <= 4; ++transaction) {
        Pdu test = Request(PduType::kTestSet, transaction);
        for (int varBind = 0; varBind < 9'000; ++varBind) {
            AddInteger(test, kValues + "1.0", 7);
        }
        // The third has no room, but makes the first give way, so that there is room for the fourth.
        EXPECT_EQ(Lines(Ask(test)), transaction == 3 ? AreLines{"error 13 at 1"} : AreLines{});
        for (int tries = 0; transaction == 3 && tries < 5000 && Record() != "9000 cells"; ++tries) {
        }
    }
}

}  // namespace
}  // namespace agent_test
