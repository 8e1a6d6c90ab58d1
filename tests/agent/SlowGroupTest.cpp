// A slow group holds up its own requests and no others.

#include <chrono>
#include <thread>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// The agent serves a module that waits for two files, which do not exist at first.
class SlowGroupTest : public AgentTest {
protected:
    void SetUp() override {
        Start({"--module", kReadModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n"), "--listen", Tcp()},
              {"READ_TEST_INITIALIZE=" + m_scratch / "initialize", "READ_TEST_VALUE=" + m_scratch / "value",
               kLibraryLeaks},
              "slowToInitialize waits");
        m_quick = kQuick + "1.0";
    }
    void TearDown() override {
        Open("initialize");
        Open("value");
        AgentTest::TearDown();
    }
    void Open(const std::string& gate) const { m_scratch.Write(gate, ""); }

    std::string Tcp() const { return "tcp:127.0.0.1:" + std::to_string(m_tcpPort); }

    /// The agent has taken a request once it has answered a later one. The limit is below the shortest time that a call
    /// here holds up its group, and far above what a client takes on a busy host.
    void ExpectQuickAnswers() const {
        for (int i = 0; i < 5; ++i) {
            const auto begin = steady_clock::now();
            const Outcome outcome = V2c("snmpget", {m_quick});
            EXPECT_EQ(outcome.status, 0) << outcome.output;
            EXPECT_LT(steady_clock::now() - begin, milliseconds(2500));
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

    std::string m_quick;  // an instance that can be read at once

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

TEST_F(SlowGroupTest, AGroupThatTakesLongerThanASecondIsLogged) {
    Open("initialize");
    ASSERT_TRUE(Agent().WaitForOutput("ready after"));
    const std::unique_ptr<Program> client = Ask("snmpget", {kSlowToAnswer + "1.2"});
    ::poll(nullptr, 0, 1'200);
    Open("value");
    ExpectAnswer(*client, {kSlowToAnswer + "1.2"});
    EXPECT_TRUE(Agent().WaitForOutput("cvtagentd: slow group ")) << Log();
    EXPECT_NE(Log().find(" ms to answer\n"), std::string::npos) << Log();
}

TEST_F(SlowGroupTest, RequestsThatAGroupCannotAnswerYetAreCompletedWhenItCan) {
    Open("initialize");
    ASSERT_TRUE(Agent().WaitForOutput("ready after"));
    std::vector<std::unique_ptr<Program>> clients;
    clients.push_back(Ask("snmpget", {kSlowToAnswer + "1.2"}));
    clients.push_back(Ask("snmpgetnext", {kSlowToAnswer + "1.1"}));
    clients.push_back(Ask("snmpbulkget", {kSlowToInitialize + "3.2"}, {"-Cn0", "-Cr6"}));
    ExpectQuickAnswers();
    clients.push_back(Ask("snmpget", {kSlowToAnswer + "1.1"}));  // another row of the same group
    ExpectQuickAnswers();
    ExpectUnanswered(clients);
    Open("value");
    ExpectAnswer(*clients[0], {kSlowToAnswer + "1.2"});
    ExpectAnswer(*clients[1], {kSlowToAnswer + "1.2"});
    ExpectAnswer(*clients[2], {kSlowToInitialize + "3.3", kSlowToAnswer + "1.1", kSlowToAnswer + "1.2",
                               kSlowToAnswer + "1.3", kSlowToAnswer + "2.1", kSlowToAnswer + "2.2"});
    EXPECT_NE(clients[0]->Output().find("INTEGER: 2\n"), std::string::npos) << clients[0]->Output();
    ExpectAnswer(*clients[3], {kSlowToAnswer + "1.1"});
}

TEST_F(SlowGroupTest, ARequestKeepsItsIdentifierWhileItIsDelegated) {
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

TEST_F(SlowGroupTest, ASetDelaysNobodyWhileRequestsAreDelegated) {
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

TEST_F(SlowGroupTest, AStrangersSetGetsNoAnswerWhileRequestsAreDelegated) {
    const auto client = Ask("snmpget", {kSlowToInitialize + "1.2"});
    ExpectQuickAnswers();
    m_community = "stranger";
    const Outcome outcome = V2c("snmpset", {kTable + "1.1", "i", "1"}, {"-t", "0.3", "-r", "0"});
    EXPECT_NE(outcome.output.find("Timeout"), std::string::npos) << outcome.output;
    const std::string refusal = "refused, unknown community: SNMPv2c from 127.0.0.1\n";
    ASSERT_TRUE(Agent().WaitForOutput(refusal)) << Log();
    m_community = "private";
    ExpectQuickAnswers();
    const std::string badCommunities = ".1.3.6.1.2.1.11.4.0";
    EXPECT_EQ(Get(badCommunities), badCommunities + " = Counter32: 1\n");
    const std::string log = Log();
    EXPECT_EQ(log.find(refusal), log.rfind(refusal)) << "logged twice\n" << log;
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

TEST_F(SlowGroupTest, AReloadLeavesDelegatedRequestsPending) {
    const auto client = Ask("snmpget", {kSlowToInitialize + "1.2"});
    ExpectQuickAnswers();
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("read the configuration"));
    ExpectQuickAnswers();
    EXPECT_FALSE(client->HasEnded());
    Open("initialize");
    ExpectAnswer(*client, {kSlowToInitialize + "1.2"});
}

TEST_F(SlowGroupTest, TheEndOfTheAgentRefusesDelegatedRequests) {
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

TEST_F(SlowGroupTest, HundredsOfRequestsMayBeDelegated) {
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

TEST_F(SlowGroupTest, OnlyTheCallThatTakesLongIsWaitedFor) {
    Open("initialize");
    ASSERT_TRUE(Agent().WaitForOutput("ready after"));
    EXPECT_EQ(Names(V2c("snmpbulkget", {kSlowToAnswer + "1"}, {"-Cn0", "-Cr1"}).output).size(), 1U);
    EXPECT_EQ(Names(Get(kSlowToAnswer + "1.3")), std::vector{kSlowToAnswer + "1.3"});
    EXPECT_EQ(Names(GetNext(kSlowToAnswer + "1.2")), std::vector{kSlowToAnswer + "1.3"});
}

TEST_F(SlowGroupTest, AGroupThatIsUpIsAnsweredForWhileAnotherOneIsWaitedFor) {
    const auto initializing = Ask("snmpget", {kSlowToInitialize + "1.2"});
    const auto answering = Ask("snmpget", {kSlowToAnswer + "1.2"});
    ExpectQuickAnswers();
    Open("value");
    ExpectAnswer(*answering, {kSlowToAnswer + "1.2"});
    EXPECT_FALSE(initializing->HasEnded());
    Open("initialize");
    ExpectAnswer(*initializing, {kSlowToInitialize + "1.2"});
}

TEST_F(SlowGroupTest, ABulkOverQuickAndSlowGroupsIsCompleteAndInOrder) {
    const auto client = Ask("snmpbulkget", {kQuick + "1", kSlowToAnswer + "1", kSlowToInitialize + "3", kTable + "1"},
                            {"-Cn1", "-Cr4"});
    ExpectQuickAnswers();
    EXPECT_FALSE(client->HasEnded());
    Open("value");
    ExpectQuickAnswers();
    EXPECT_FALSE(client->HasEnded());
    Open("initialize");
    ExpectAnswer(*client, {kQuick + "1.0", kSlowToAnswer + "1.1", kSlowToInitialize + "3.1", kTable + "1.1",
                           kSlowToAnswer + "1.2", kSlowToInitialize + "3.2", kTable + "1.2", kSlowToAnswer + "1.3",
                           kSlowToInitialize + "3.3", kTable + "1.3", kSlowToAnswer + "2.1", kSlowToAnswer + "1.1",
                           kTable + "1.4"});
}

TEST_F(SlowGroupTest, TheEndOfTheAgentRefusesWhoWaitsForACallAndWaitsForTheCallItself) {
    Open("initialize");
    ASSERT_TRUE(Agent().WaitForOutput("ready after"));
    std::vector<std::unique_ptr<Program>> clients;
    clients.push_back(Ask("snmpget", {kSlowToAnswer + "1.2"}));
    clients.push_back(Ask("snmpgetnext", {kSlowToAnswer + "1.1"}));
    clients.push_back(Ask("snmpbulkget", {kSlowToAnswer + "1"}, {"-Cn0", "-Cr6"}));
    ExpectQuickAnswers();
    Agent().Signal(SIGTERM);
    for (const auto& client : clients) {
        EXPECT_EQ(client->Wait(), 2) << client->Output();
        EXPECT_NE(client->Output().find("Reason: resourceUnavailable"), std::string::npos) << client->Output();
    }
    EXPECT_FALSE(Agent().HasEnded()) << "code of the module's runs";
    Open("value");
    EXPECT_EQ(Agent().Wait(), 0) << Log();
}

TEST_F(SlowGroupTest, ACallThatDoesNotReturnHoldsUpTheEndNoLongerThanAModuleMay) {
    Open("initialize");
    ASSERT_TRUE(Agent().WaitForOutput("ready after"));
    Agent().Signal(SIGTERM);
    ASSERT_EQ(Agent().Wait(), 0);
    Start({"--module", kReadModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n"), "--timeout", "1"},
          {"READ_TEST_VALUE=" + m_scratch / "value"});
    const auto client = Ask("snmpget", {kSlowToAnswer + "1.2"});
    ExpectQuickAnswers();
    Agent().Signal(SIGTERM);
    EXPECT_EQ(client->Wait(), 2) << client->Output();
    EXPECT_EQ(Agent().Wait(), 1);
    EXPECT_NE(Log().find("the modules did not close within 1 s; ending without waiting any longer"), std::string::npos)
        << Log();
}

TEST_F(SlowGroupTest, WhoWaitsForACallAndGoesIsForgotten) {
    Open("initialize");
    ASSERT_TRUE(Agent().WaitForOutput("ready after"));
    for (const std::string& address : {Udp(), Tcp()}) {
        for (const char* const program : {"snmpget", "snmpgetnext", "snmpbulkget"}) {
            const auto client = Ask(program, {kSlowToAnswer + "1.2", kSlowToAnswer + "1.1"}, {}, address);
            ExpectQuickAnswers();
            client->Signal(SIGKILL);
            client->Wait();
        }
    }
    ExpectQuickAnswers();
    Open("value");
    EXPECT_EQ(Names(Get(kSlowToAnswer + "1.2")).size(), 1U);
    EXPECT_EQ(Set({kTable + "1.1", "i", "1"}).status, 0);
}

/// The client's view holds little of the slow groups.
class NarrowSlowGroupTest : public SlowGroupTest {
protected:
    void SetUp() override {
        Start({"--module", kReadModule, "--config",
               WriteConfig("com2sec reader 127.0.0.1 private\ngroup readers v2c reader\n"
                           "view some included .1.3.6.1.4.1.32473.3.1\n"
                           "view some included .1.3.6.1.4.1.32473.3.3.1.2.2\n"
                           "view some included .1.3.6.1.4.1.32473.3.4\n"
                           "view some excluded .1.3.6.1.4.1.32473.3.4.1.1.2\n"
                           "access readers \"\" any noauth exact some none none\n")},
              {"READ_TEST_INITIALIZE=" + m_scratch / "initialize", "READ_TEST_VALUE=" + m_scratch / "value"},
              "slowToInitialize waits");
        m_quick = kQuick + "1.0";
    }
};

TEST_F(NarrowSlowGroupTest, WhatMayNotBeSeenIsNotWaitedFor) {
    EXPECT_EQ(Names(GetNext(kSlowToAnswer + "1.1")), std::vector{kSlowToAnswer + "1.3"});
    EXPECT_EQ(Names(V2c("snmpbulkget", {kSlowToAnswer + "1"}, {"-Cn0", "-Cr3"}).output),
              (std::vector{kSlowToAnswer + "1.1", kSlowToAnswer + "1.3", kSlowToAnswer + "2.1"}));
}

TEST_F(NarrowSlowGroupTest, WhatWasWaitedForShowsNoMoreThanTheView) {
    std::vector<std::unique_ptr<Program>> clients;
    clients.push_back(Ask("snmpgetnext", {kSlowToInitialize + "1"}));
    clients.push_back(Ask("snmpbulkget", {kSlowToInitialize + "1"}, {"-Cn0", "-Cr4"}));
    ExpectQuickAnswers();
    ExpectUnanswered(clients);
    Open("initialize");
    ExpectAnswer(*clients[0], {kSlowToInitialize + "2.2"});
    ExpectAnswer(*clients[1],
                 {kSlowToInitialize + "2.2", kSlowToAnswer + "1.1", kSlowToAnswer + "1.3", kSlowToAnswer + "2.1"});
}

/// The agent serves a table whose numbers take three seconds each.
class SleepingGroupTest : public SlowGroupTest {
protected:
    void SetUp() override {
        Start({"--module", kReadModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n"), "--timeout", "10"},
              {"READ_TEST_SLEEPER=3000"});
        m_quick = kQuick + "1.0";
    }
    /// Sends the request; until its answer comes, every other request must be answered at once.
    std::string AnswerWhileOthersAreAnswered(const std::string& program, const Arguments& names,
                                             const Arguments& options = {}) {
        const auto client = Ask(program, names, options);
        while (!client->HasEnded()) {
            ExpectQuickAnswers();
        }
        EXPECT_EQ(client->Wait(), 0) << client->Output();
        return client->Output();
    }

    const std::string kSleeper = ".1.3.6.1.4.1.32473.3.7.1.";
};

TEST_F(SleepingGroupTest, HoldsUpNobodyElseAndItsAnswersAreRight) {
    for (const Arguments& version : {Arguments{"-v1"}, Arguments{"-v2c"}}) {
        const std::string get = AnswerWhileOthersAreAnswered("snmpget", {kSleeper + "1.2"}, version);
        EXPECT_NE(get.find(kSleeper + "1.2 = INTEGER: 2\n"), std::string::npos) << get;
        const std::string next = AnswerWhileOthersAreAnswered("snmpgetnext", {kSleeper + "1.2"}, version);
        EXPECT_NE(next.find(kSleeper + "1.3 = INTEGER: 3\n"), std::string::npos) << next;
    }
    const std::string bulk = AnswerWhileOthersAreAnswered("snmpbulkget", {kSleeper + "1"}, {"-Cn0", "-Cr4"});
    for (const char* const row : {"1", "2", "3"}) {
        EXPECT_NE(bulk.find(kSleeper + "1." + row + " = INTEGER: " + row + "\n"), std::string::npos) << bulk;
    }
    EXPECT_EQ(Names(bulk).size(), 4U) << bulk;
    const std::string absent = AnswerWhileOthersAreAnswered("snmpget", {kSleeper + "1.9"});
    EXPECT_NE(absent.find("No Such Instance"), std::string::npos) << absent;
}

/// The agent serves the host module, whose discovery runs a stand-in for the command `mount`, which waits for a file.
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
    // Discovery has begun when a request for a device is not answered at once.
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
