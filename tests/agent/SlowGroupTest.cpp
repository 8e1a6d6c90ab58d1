// A group that takes its time holds up its own requests and nobody else's.

#include <chrono>
#include <thread>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// With a module that waits for two files, which do not exist at first.
class SlowGroupTest : public AgentTest {
protected:
    void SetUp() override {
        Start({"--module", kReadModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n"), "--listen", Tcp()},
              {"READ_TEST_INITIALIZE=" + m_scratch / "initialize", "READ_TEST_VALUE=" + m_scratch / "value",
               kLibraryLeaks},
              "serves");
        m_quick = kQuick + "1.0";
    }
    void TearDown() override {
        Open("initialize");
        Open("value");
        AgentTest::TearDown();
    }
    void Open(const std::string& gate) const { m_scratch.Write(gate, ""); }

    std::string Tcp() const { return "tcp:127.0.0.1:" + std::to_string(m_tcpPort); }

    /// The agent has taken a request once it has answered a later one.
    void ExpectQuickAnswers() const {
        for (int i = 0; i < 5; ++i) {
            const auto begin = steady_clock::now();
            const Outcome outcome = V2c("snmpget", {m_quick});
            EXPECT_EQ(outcome.status, 0) << outcome.output;
            EXPECT_LT(steady_clock::now() - begin, milliseconds(1000)) << "a second is what the client needs at most";
        }
    }
    static void ExpectUnanswered(const std::vector<std::unique_ptr<Program>>& clients) {
        for (const auto& client : clients) {
            EXPECT_FALSE(client->HasEnded()) << client->Output();
        }
    }
    static void ExpectAnswer(Program& client, const std::vector<std::string>& names) {
        EXPECT_EQ(client.Wait(), 0) << client.Output();
        EXPECT_EQ(Names(client.Output()), names) << client.Output();
    }

    std::string m_quick;  // an instance that can be had at once

private:
    const int m_tcpPort = FreePort();
};

TEST_F(SlowGroupTest, RequestsToAGroupThatInitialisesAreCompletedWhenItIsUp) {
    std::vector<std::unique_ptr<Program>> clients;
    clients.push_back(Ask("snmpget", {kSlowToInitialize + "1.2"}));
    clients.push_back(Ask("snmpgetnext", {kSlowToInitialize + "1"}));
    clients.push_back(Ask("snmpbulkget", {kTable + "3.299"}, {"-Cn0", "-Cr6"}));
    clients.push_back(Ask("snmpget", {kSlowToInitialize + "3.1"}, {}, Tcp()));
    ExpectQuickAnswers();
    ExpectUnanswered(clients);
    Open("initialize");
    ExpectAnswer(*clients[0], {kSlowToInitialize + "1.2"});
    ExpectAnswer(*clients[1], {kSlowToInitialize + "1.1"});
    ExpectAnswer(*clients[2], {kTable + "3.300", kSlowToInitialize + "1.1", kSlowToInitialize + "1.2",
                               kSlowToInitialize + "1.3", kSlowToInitialize + "2.1", kSlowToInitialize + "2.2"});
    ExpectAnswer(*clients[3], {kSlowToInitialize + "3.1"});
}

TEST_F(SlowGroupTest, RequestsThatAGroupCannotAnswerYetAreCompletedWhenItCan) {
    Open("initialize");
    ASSERT_TRUE(Agent().WaitForOutput("ready after"));
    std::vector<std::unique_ptr<Program>> clients;
    clients.push_back(Ask("snmpget", {kSlowToAnswer + "1.2"}));
    clients.push_back(Ask("snmpgetnext", {kSlowToAnswer + "1.1"}));
    clients.push_back(Ask("snmpbulkget", {kSlowToInitialize + "3.2"}, {"-Cn0", "-Cr6"}));
    ExpectQuickAnswers();
    EXPECT_EQ(Names(Get(kSlowToAnswer + "1.1")).size(), 1U) << "another row of the same group";
    ExpectUnanswered(clients);
    Open("value");
    ExpectAnswer(*clients[0], {kSlowToAnswer + "1.2"});
    ExpectAnswer(*clients[1], {kSlowToAnswer + "1.2"});
    ExpectAnswer(*clients[2], {kSlowToInitialize + "3.3", kSlowToAnswer + "1.1", kSlowToAnswer + "1.2",
                               kSlowToAnswer + "1.3", kSlowToAnswer + "2.1", kSlowToAnswer + "2.2"});
    EXPECT_NE(clients[0]->Output().find("INTEGER: 2\n"), std::string::npos) << "and not what it gave at first";
}

TEST_F(SlowGroupTest, ARequestKeepsItsIdentifierWhileItIsPutBack) {
    const auto client = Ask("snmpbulkget", {kTable + "3.299"}, {"-Cn0", "-Cr8"});
    ExpectQuickAnswers();  // each with an identifier of its own
    Open("initialize");
    ASSERT_EQ(client->Wait(), 0) << client->Output();
    const std::string output = client->Output();
    const auto valueOf = [&](const std::string& name) {
        const auto at = output.find(name + " = Gauge32: ");
        return at == std::string::npos
                   ? "none of " + name
                   : output.substr(output.find(": ", at), output.find('\n', at) - output.find(": ", at));
    };
    EXPECT_EQ(valueOf(kTable + "3.300"), valueOf(kSlowToInitialize + "3.1")) << output;
}

TEST_F(SlowGroupTest, ASetToABusyGroupIsRefusedAtOnce) {
    ExpectSetRefused({kSlowToInitialize + "1.1", "i", "1"}, "resourceUnavailable", kSlowToInitialize + "1.1");
}

TEST_F(SlowGroupTest, ASetHoldsUpNobodyWhileRequestsArePutBack) {
    const auto client = Ask("snmpget", {kSlowToInitialize + "1.2"});
    ExpectQuickAnswers();
    ExpectSetRefused({kTable + "1.1", "i", "1"}, "resourceUnavailable", kTable + "1.1");
    EXPECT_NE(V1("snmpset", {kTable + "1.1", "i", "1"}).output.find("(genError)"), std::string::npos);
    ExpectQuickAnswers();
    EXPECT_FALSE(client->HasEnded());
    Open("initialize");
    ExpectAnswer(*client, {kSlowToInitialize + "1.2"});
    EXPECT_EQ(Set({kTable + "1.1", "i", "1"}).status, 0);
}

TEST_F(SlowGroupTest, AStrangersSetGetsNoAnswerWhileRequestsArePutBack) {
    const auto client = Ask("snmpget", {kSlowToInitialize + "1.2"});
    ExpectQuickAnswers();
    m_community = "stranger";
    const Outcome outcome = V2c("snmpset", {kTable + "1.1", "i", "1"}, {"-t", "0.3", "-r", "0"});
    EXPECT_NE(outcome.output.find("Timeout"), std::string::npos) << outcome.output;
}

TEST_F(SlowGroupTest, AClientThatHasGoneIsForgotten) {
    for (const std::string& address : {Udp(), Tcp()}) {
        for (const char* const program : {"snmpget", "snmpgetnext", "snmpbulkget"}) {
            const auto client = Ask(program, {kSlowToInitialize + "1.2"}, {}, address);
            ExpectQuickAnswers();
            client->Signal(SIGKILL);
            client->Wait();
        }
    }
    ExpectQuickAnswers();
    Open("initialize");
    EXPECT_EQ(Names(Get(kSlowToInitialize + "1.2")).size(), 1U);
    ExpectQuickAnswers();
}

TEST_F(SlowGroupTest, AReloadLeavesRequestsPutBack) {
    const auto client = Ask("snmpget", {kSlowToInitialize + "1.2"});
    ExpectQuickAnswers();
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("read the configuration"));
    ExpectQuickAnswers();
    EXPECT_FALSE(client->HasEnded());
    Open("initialize");
    ExpectAnswer(*client, {kSlowToInitialize + "1.2"});
}

TEST_F(SlowGroupTest, TheEndOfTheAgentRefusesWhatIsPutBack) {
    std::vector<std::unique_ptr<Program>> clients;
    clients.push_back(Ask("snmpget", {kSlowToInitialize + "1.2"}));
    clients.push_back(Ask("snmpgetnext", {kSlowToInitialize + "1.2"}));
    clients.push_back(Ask("snmpbulkget", {kTable + "3.299"}, {"-Cn0", "-Cr6"}));
    ExpectQuickAnswers();
    Agent().Signal(SIGTERM);
    for (const auto& client : clients) {
        EXPECT_EQ(client->Wait(), 2) << client->Output();
        EXPECT_NE(client->Output().find("Reason: resourceUnavailable"), std::string::npos) << client->Output();
    }
    Open("initialize");
    EXPECT_EQ(Agent().Wait(), 0) << Log();
}

TEST_F(SlowGroupTest, HundredsOfRequestsMayBePutBack) {
    std::vector<std::unique_ptr<Program>> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(Ask("snmpgetnext", {kSlowToInitialize + "1"}));
    }
    ExpectQuickAnswers();
    Open("initialize");
    for (const auto& client : clients) {
        ExpectAnswer(*client, {kSlowToInitialize + "1.1"});
    }
}

/// The module of the host's, whose discovery asks a stand-in for the command `mount`, which waits for a file.
class SlowDiscoveryTest : public SlowGroupTest {
protected:
    void SetUp() override {
        const std::string mount = m_scratch.Write("mount", "#!/bin/sh\nuntil [ -e " + m_scratch / "initialize" +
                                                               " ]; do sleep 0.02; done\nexec /bin/mount \"$@\"\n");
        std::filesystem::permissions(mount, std::filesystem::perms::owner_all);
        Start({"--module", kMainModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n")},
              {"PATH=" + m_scratch.Path() + ":/usr/bin:/bin"}, "serves");
        m_quick = kSystemUptime;
    }

    const std::string kSystemUptime = ".1.3.6.1.2.1.25.1.1.0";
    const std::string kDevices = ".1.3.6.1.2.1.25.3.2.1.";
};

TEST_F(SlowDiscoveryTest, TheUptimeIsToldAllTheWhileAndDevicesWhenItIsOver) {
    // Discovery has begun when a device is not answered for at once.
    while (V2c("snmpgetnext", {kDevices + "1"}, {"-t", "0.2", "-r", "0"}).status == 0) {
        ASSERT_EQ(Log().find("ready after"), std::string::npos)
            << "this host has nothing that is asked for in discovery";
    }
    std::vector<std::unique_ptr<Program>> clients;
    clients.push_back(Ask("snmpgetnext", {kDevices + "1"}));
    clients.push_back(Ask("snmpbulkget", {kDevices + "1"}, {"-Cn0", "-Cr3"}));
    clients.push_back(Ask("snmpget", {kDevices + "1.1"}));
    ExpectQuickAnswers();
    ExpectUnanswered(clients);
    Open("initialize");
    ExpectAnswer(*clients[0], {kDevices + "1.1"});
    ExpectAnswer(*clients[1], {kDevices + "1.1", kDevices + "1.2", kDevices + "1.3"});
    ExpectAnswer(*clients[2], {kDevices + "1.1"});
}

}  // namespace
}  // namespace agent_test
