// A long request is worked on a little at a time. Others are answered in between, and it does not run forever.

#include <deque>

#include "CVT/SnmpTypes.h"
#include "tests/agent/AgentTest.h"
#include "tests/agent/WideRequest.h"

namespace agent_test {
namespace {

class LongRequestTest : public AgentTest {
protected:
    /// With a large table in which every look-up for the next instance, and every number, takes so many milliseconds.
    void StartWithSleep(unsigned int milliseconds) {
        Start({"--module", kReadModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n")},
              {"READ_TEST_ROWS=3000", "READ_TEST_SLEEP=" + std::to_string(milliseconds), kLibraryLeaks});
    }
    static Arguments NextOf(const std::string& column, unsigned int count) {
        Arguments names;
        for (unsigned int row = 0; row < count; ++row) {
            names.push_back(column + "." + std::to_string(row));
        }
        return names;
    }
    static std::vector<std::string> Rows(const std::string& column, unsigned int count) {
        std::vector<std::string> names;
        for (unsigned int row = 1; row <= count; ++row) {
            names.push_back(column + "." + std::to_string(row));
        }
        return names;
    }
};

TEST_F(LongRequestTest, OthersAreAnsweredInBetweenAndItIsAbandonedInTheEnd) {
    StartWithSleep(10);
    const WideRequest request(m_port, "private", WideRequest::kGetNext, NextOf(kLarge + "1", 2500));  // for 25 s
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Names(Get(kQuick + "1.0")).size(), 1U);
    }
    EXPECT_FALSE(request.IsAnswered());
    EXPECT_EQ(request.Answer().error, CVT::resourceUnavailable);
    EXPECT_NE(Log().find("gave up a request after 5 s of work in READ-TEST-MIB.large"), std::string::npos) << Log();
    EXPECT_EQ(Set({kTable + "1.1", "i", "1"}).status, 0) << "nothing of it is left to hold up a SET";
}

TEST_F(LongRequestTest, AnswersThatTookManyTurnsAreComplete) {
    StartWithSleep(2);
    const Arguments patient = {"-t", "60", "-r", "0"};
    const WideRequest get(m_port, "private", WideRequest::kGet, Rows(kTable + "1", 300) + Rows(kLarge + "1", 60));
    EXPECT_EQ(get.Answer().names, Rows(kTable + "1", 300) + Rows(kLarge + "1", 60));
    EXPECT_EQ(Names(V2c("snmpgetnext", NextOf(kLarge + "1", 60) + NextOf(kTable + "3", 30), patient).output),
              Rows(kLarge + "1", 60) + Rows(kTable + "3", 30));
    EXPECT_EQ(Names(V2c("snmpbulkget", {kLarge + "1"}, patient + Arguments{"-Cn0", "-Cr60"}).output),
              Rows(kLarge + "1", 60));
    const std::vector<std::string> mixed =
        Names(V2c("snmpbulkget", {kQuick + "1", kLarge + "2", kTable + "3.299"}, patient + Arguments{"-Cn1", "-Cr20"})
                  .output);
    ASSERT_EQ(mixed.size(), 1U + 20U * 2U);
    EXPECT_EQ(mixed[39], kLarge + "2.20");
    EXPECT_EQ(mixed[40], kLarge + "1.1") << "after the last of one table and all of two small ones";
    EXPECT_EQ(Names(V1("snmpgetnext", NextOf(kLarge + "1", 40)).output), Rows(kLarge + "1", 40));
    EXPECT_EQ(Log().find("gave up"), std::string::npos) << Log();
}

TEST_F(LongRequestTest, WaitingRequestsHoldABoundedNumberOfVarBinds) {
    const Arguments gate = {"READ_TEST_INITIALIZE=" + m_scratch / "initialize", kLibraryLeaks};
    Start({"--module", kReadModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n")}, gate,
          "slowToInitialize waits");
    const Arguments names(3000, kSlowToInitialize + "1");
    std::deque<WideRequest> requests;
    for (int i = 0; i < 8; ++i) {  // 24,000 varbinds
        requests.emplace_back(m_port, "private", WideRequest::kGetNext, names);
        EXPECT_EQ(Names(Get(kQuick + "1.0")).size(), 1U) << "so the agent has taken the request before it";
    }
    EXPECT_EQ(requests.back().Answer().error, CVT::resourceUnavailable);
    EXPECT_FALSE(requests.front().IsAnswered());
    m_scratch.Write("initialize", "");
    const Arguments first(3000, kSlowToInitialize + "1.1");
    EXPECT_EQ(requests.front().Answer().names, first);
    const WideRequest later(m_port, "private", WideRequest::kGetNext, names);
    EXPECT_EQ(later.Answer().names, first);
}

}  // namespace
}  // namespace agent_test
