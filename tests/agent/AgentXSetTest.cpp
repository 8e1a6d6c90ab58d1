// A SET through an AgentX master that dies, or loses patience, while the agent carries it out.

#include "tests/agent/AgentXTest.h"

namespace agent_test {
namespace {

class AgentXSetTest : public AgentXTest {
protected:
    void SetUp() override {
        m_served = kValues + "1.0";
        StartBoth({"--module", kTestModule}, {"AGENT_TEST_MODULE=tell"});
        ASSERT_TRUE(IsServed(kInner + "2.1"));
    }

    /// Sends the SET from another process, and waits until the module has reached the phase.
    void BeginSet(const Arguments& varBinds, const std::string& phase) {
        m_client = std::make_unique<Program>(
            Arguments{"snmpset", "-On", "-t", "10", "-r", "0", "-v2c", "-c", "private", Udp()} + varBinds,
            m_scratch / "set.log", Arguments{"MIBS=", "SNMPCONFPATH=" + m_scratch.Path()});
        ASSERT_TRUE(Agent().WaitForOutput("level: " + phase)) << Log();
    }

    void RestartMaster() {
        ASSERT_TRUE(Agent().WaitForOutput("lost the connection")) << Log();
        StartMaster();
        ASSERT_TRUE(IsServed(kValues + "10.0")) << Log();
    }

    std::string Record() const {
        const std::string output = V2c("snmpget", {kValues + "10.0"}, {"-Oqv"}).output;
        return output.size() < 3 ? output : output.substr(1, output.size() - 3);
    }
    std::string Level() const { return V2c("snmpget", {kValues + "1.0"}, {"-Oqv"}).output; }

    std::unique_ptr<Program> m_client;
};

TEST_F(AgentXSetTest, WhatWasCheckedIsReleasedWhenTheMasterDiesDuringTheCheck) {
    BeginSet({kValues + "1.0", "i", "17", kValues + "2.0", "s", "new"}, "check");
    KillMaster();
    RestartMaster();
    EXPECT_EQ(Record(), "check level, check label, release level, release label");
    EXPECT_EQ(Level(), "1\n");
}

TEST_F(AgentXSetTest, WhatWasWrittenIsUndoneAndReleasedWhenTheMasterDiesDuringTheCommit) {
    BeginSet({kValues + "1.0", "i", "18", kValues + "2.0", "s", "new"}, "commit");
    KillMaster();
    RestartMaster();
    const std::string record = Record();
    EXPECT_EQ(Count(record, "check "), 2) << record;
    EXPECT_EQ(Count(record, "release level"), 1) << record;
    EXPECT_EQ(Count(record, "release label"), 1) << record;
    EXPECT_EQ(Count(record, "undo level"), 1) << record;
    EXPECT_EQ(Level(), "1\n");
}

TEST_F(AgentXSetTest, WhatWasCheckedIsReleasedWhenTheAgentEndsUnderAMasterThatHangs) {
    BeginSet({kValues + "1.0", "i", "17"}, "check");
    Master().Signal(SIGSTOP);
    ExpectCleanEnd();
    EXPECT_EQ(InLog("record: check level, release level\n"), 1) << Log();
}

TEST_F(AgentXSetTest, ACheckThatOutlastsTheMastersPatienceIsReleasedOncePerCheck) {
    BeginSet({kValues + "1.0", "i", "17"}, "check");
    m_client->Wait();  // the master decides what the client is told
    ASSERT_TRUE(IsServed(kValues + "10.0")) << Log();
    const std::string record = Record();
    EXPECT_GE(Count(record, "check level"), 1) << record;
    EXPECT_EQ(Count(record, "check level"), Count(record, "release level")) << record;
    EXPECT_EQ(Set({kValues + "1.0", "i", "5"}).status, 0);
    EXPECT_EQ(Level(), "5\n");
}

TEST_F(AgentXSetTest, AMasterWithMorePatienceCompletesTheSlowCheck) {
    KillMaster();
    ASSERT_TRUE(Agent().WaitForOutput("lost the connection")) << Log();
    StartMaster("agentXTimeout 10\n");
    ASSERT_TRUE(IsServed(kValues + "1.0")) << Log();
    const Outcome outcome = V2c("snmpset", {kValues + "1.0", "i", "17"}, {"-t", "10"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(Level(), "17\n");
    EXPECT_EQ(Record(), "check level, commit level, release level");
}

TEST_F(AgentXSetTest, AnotherAgentsRefusalReleasesWhatWasChecked) {
    std::filesystem::create_directory(m_scratch / "state2");
    Program other({kAgentFile, "--agentx=" + m_master, "--module", kSampleModule, "--state-dir", m_scratch / "state2"},
                  m_scratch / "log2");
    ASSERT_TRUE(IsServed(kSample + "1.2.0")) << other.Output();
    EXPECT_EQ(Set({kValues + "1.0", "i", "7", kSample + "1.2.0", "s", "no number"}).status, 2);
    EXPECT_EQ(Level(), "1\n");
    EXPECT_EQ(Record(), "check level, release level");
    other.Signal(SIGTERM);
    EXPECT_EQ(other.Wait(), 0);
}

TEST_F(AgentXSetTest, ThisAgentsCommitThatFailsUndoesTheOthersAndAllIsReleasedOnce) {
    std::filesystem::create_directory(m_scratch / "state2");
    Program other({kAgentFile, "--agentx=" + m_master, "--module", kSampleModule, "--state-dir", m_scratch / "state2"},
                  m_scratch / "log2");
    ASSERT_TRUE(IsServed(kSample + "1.2.0")) << other.Output();
    const std::string before = Get(kSample + "1.2.0");
    EXPECT_EQ(Set({kSample + "1.2.0", "i", "9", kValues + "1.0", "i", "13"}).status, 2);
    EXPECT_EQ(Get(kSample + "1.2.0"), before);
    EXPECT_EQ(Record(), "check level, commit level, release level");
    other.Signal(SIGTERM);
    EXPECT_EQ(other.Wait(), 0);
}

TEST_F(AgentXSetTest, ACommitThatOutlastsTheMastersPatienceIsReleasedOnce) {
    BeginSet({kValues + "1.0", "i", "18"}, "commit");
    m_client->Wait();  // the master decides what the client is told
    ASSERT_TRUE(IsServed(kValues + "10.0")) << Log();
    const std::string record = Record();
    EXPECT_EQ(Count(record, "check level"), Count(record, "release level")) << record;
    EXPECT_EQ(Set({kValues + "1.0", "i", "5"}).status, 0);
    EXPECT_EQ(Level(), "5\n");
}

}  // namespace
}  // namespace agent_test
