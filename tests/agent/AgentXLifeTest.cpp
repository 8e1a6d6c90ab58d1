// The agent behind an AgentX master that comes, goes, hangs or was never there.

#include <sys/stat.h>
#include <sys/un.h>

#include "tests/agent/AgentXTest.h"
#include "tests/agent/ScriptedMaster.h"

namespace agent_test {
namespace {

/// Takes the place of a master: accepts connections, and closes each of them at once.
class Impostor {
public:
    explicit Impostor(const std::string& path) : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(m_socket, 8) != 0) {
            throw std::runtime_error("cannot listen on " + path);
        }
    }
    ~Impostor() { ::close(m_socket); }
    Impostor(const Impostor&) = delete;
    Impostor& operator=(const Impostor&) = delete;

    /// Waits for a connection; false when none comes within 20 seconds.
    bool Disappoint() const {
        pollfd waiting{m_socket, POLLIN, 0};
        if (::poll(&waiting, 1, 20000) != 1) {
            return false;
        }
        ::close(::accept(m_socket, nullptr, nullptr));
        return true;
    }

private:
    int m_socket;
};

class AgentXLifeTest : public AgentXTest {
protected:
    AgentXLifeTest() { m_served = kValues + "1.0"; }

    void StartAlone(const std::string& until) { Start({"--module", kTestModule}, {}, until); }

    /// How long the agent takes to end, which it must do cleanly.
    std::chrono::milliseconds TimeToEnd() {
        const auto begin = std::chrono::steady_clock::now();
        ExpectCleanEnd();
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    }
    /// The warnings in the agent's log.
    int Warnings() const { return InLog("warning: ") + InLog("error: "); }
};

TEST_F(AgentXLifeTest, IsRegisteredAgainWithin15SecondsAfterTheMasterHasRestarted) {
    StartBoth({"--module", kTestModule});
    StopMaster();
    ASSERT_TRUE(Agent().WaitForOutput("lost the connection to the master at " + m_master)) << Log();
    StartMaster();
    EXPECT_TRUE(IsServed(kValues + "1.0", 15)) << Log();
    ASSERT_TRUE(Agent().WaitForOutput("connected again to the master at " + m_master)) << Log();
    EXPECT_TRUE(IsServed(kInner + "2.1"));
    EXPECT_EQ(Warnings(), 1) << Log();
}

TEST_F(AgentXLifeTest, IsRegisteredAgainWhenTheMasterWasKilled) {
    StartBoth({"--module", kTestModule});
    KillMaster();
    StartMaster();
    EXPECT_TRUE(IsServed(kValues + "1.0", 15)) << Log();
}

TEST_F(AgentXLifeTest, WithoutAMasterItLogsThatOnceAndServesOnceThereIsOne) {
    StartAlone("ready after");
    const std::string said =
        "warning: no connection to the master at " + m_master + ": the socket is missing; start the master";
    ASSERT_TRUE(Agent().WaitForOutput(said)) << Log();
    StartMaster();
    EXPECT_TRUE(IsServed(kValues + "1.0", 15)) << Log();
    EXPECT_TRUE(Agent().WaitForOutput("connected to the master at " + m_master)) << Log();
    EXPECT_EQ(Warnings(), 1) << Log();
}

TEST_F(AgentXLifeTest, FailedAttemptsAreNotLoggedOneByOne) {
    const Impostor impostor(m_master);
    StartAlone("no connection to the master");
    for (int attempt = 0; attempt < 4; ++attempt) {
        ASSERT_TRUE(impostor.Disappoint()) << "attempt " << attempt;
    }
    EXPECT_EQ(Warnings(), 1) << Log();
    EXPECT_EQ(InLog(m_master + ": it does not answer; "), 1) << Log();
}

TEST_F(AgentXLifeTest, ASocketThatNothingListensOnIsNamed) {
    { const Impostor gone(m_master); }
    StartAlone("no connection to the master");
    EXPECT_EQ(InLog(m_master + ": nothing listens there; start the master"), 1) << Log();
}

TEST_F(AgentXLifeTest, AForbiddenSocketIsNamed) {
    const Impostor impostor(m_master);
    ASSERT_EQ(::chmod(m_master.c_str(), 0), 0);
    if (::geteuid() == 0) {  // root may do anything until its capabilities are dropped
        m_command = Arguments{"setpriv", "--bounding-set=-dac_override,-dac_read_search"} + m_command;
    }
    StartAlone("no connection to the master");
    EXPECT_EQ(InLog(m_master + ": not permitted; make the master grant more rights (agentXPerms"), 1) << Log();
}

TEST_F(AgentXLifeTest, AnInvalidAddressIsNamed) {
    ExpectRefusal({"--agentx=carrier-pigeon:1:2"}, 2,
                  "--agentx=carrier-pigeon:1:2: not a valid address; write it as /PATH, unix:/PATH or tcp:HOST:PORT");
}

TEST_F(AgentXLifeTest, AnUnknownHostIsNamed) {
    m_master = "tcp:nobody.invalid:705";
    const std::string fault = "tcp:nobody.invalid:705: its host cannot be resolved; check the name";
    StartAlone(fault);
    EXPECT_EQ(InLog(fault), 1) << Log();
}

TEST_F(AgentXLifeTest, EndsWithin5SecondsUnderAMasterThatHangs) {
    StartBoth({"--module", kTestModule});
    Master().Signal(SIGSTOP);
    EXPECT_LT(TimeToEnd().count(), 5000) << Log();
}

TEST_F(AgentXLifeTest, AMasterThatHangsIsReportedAndDoesNotDelayTheEnd) {
    StartBoth({"--module", kTestModule});
    Master().Signal(SIGSTOP);
    ASSERT_TRUE(Agent().WaitForOutput("lost the connection")) << Log();
    ASSERT_TRUE(Agent().WaitForOutput("still no connection to the master at " + m_master + ": it does not answer"))
        << Log();
    EXPECT_LT(TimeToEnd().count(), 5000) << Log();
}

TEST_F(AgentXLifeTest, StartsUnderAMasterThatHangsAndServesOnceItGoesOn) {
    StartMaster();
    Master().Signal(SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    StartAlone("ready after");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    Master().Signal(SIGCONT);
    EXPECT_TRUE(IsServed(kValues + "1.0", 15)) << Log();
}

TEST_F(AgentXLifeTest, EndsWithin5SecondsWhenTheMasterHangsFromTheStart) {
    StartMaster();
    Master().Signal(SIGSTOP);
    StartAlone("ready after");
    EXPECT_LT(TimeToEnd().count(), 5000) << Log();
}

TEST_F(AgentXLifeTest, ASubtreeThatTheMasterRefusesIsNamedAndTheConnectionKept) {
    ScriptedMaster master(m_master);
    master.RefuseRegistrations(267);
    StartAlone("");
    master.TakeAgent(4);
    ASSERT_TRUE(Agent().WaitForOutput("the master refuses 1.3.6.1.4.1.32473.2.2 (registering pdu failed: 267"))
        << Log();
    ASSERT_TRUE(Agent().WaitForOutput("ready after")) << Log();
    EXPECT_EQ(InLog("lost the connection"), 0) << Log();
}

TEST_F(AgentXLifeTest, AConnectionThatComesAndGoesIsReportedAFewTimes) {
    constexpr int kSubtrees = 4;
    ScriptedMaster master(m_master);
    StartAlone("");
    for (int round = 0; round < 6; ++round) {
        master.TakeAgent(kSubtrees);
        master.Disconnect();
    }
    EXPECT_EQ(InLog("lost the connection to the master at "), 3) << Log();
    EXPECT_EQ(InLog("it is lost again and again: see the master's log"), 1) << Log();
    EXPECT_LE(InLog("connected again"), 3) << Log();
}

TEST_F(AgentXLifeTest, TellsWhichSubtreesAnotherAgentServes) {
    StartBoth({"--module", kTestModule});
    std::filesystem::create_directory(m_scratch / "state2");
    Program second({kAgentFile, "--agentx=" + m_master, "--module", kTestModule, "--module", kSampleModule,
                    "--state-dir", m_scratch / "state2"},
                   m_scratch / "log2");
    const std::string said = "the master already serves these subtrees without this agent: 1.3.6.1.4.1.32473.0, ";
    EXPECT_TRUE(second.WaitForOutput(said)) << second.Output();
    EXPECT_TRUE(IsServed(kSample + "1.2.0")) << second.Output();
    EXPECT_EQ(second.Output().find("263"), std::string::npos) << second.Output();
    second.Signal(SIGTERM);
    EXPECT_EQ(second.Wait(), 0);
    EXPECT_TRUE(IsServed(kValues + "1.0"));
}

TEST_F(AgentXLifeTest, AConfigurationForTheOtherRoleIsAcceptedWithAWarning) {
    StartMaster();
    const std::string config = WriteConfig("rocommunity public\nrouser joe\nview all included .1\nsysContact me\n");
    Start({"--module", kTestModule, "--config", config});
    EXPECT_TRUE(IsServed(kValues + "1.0")) << Log();
    EXPECT_EQ(Warnings(), 1) << Log();
    EXPECT_EQ(InLog("warning: " + config +
                    ": these directives have no effect with --agentx, since the master controls access: "
                    "rocommunity, rouser, view\n"),
              1)
        << Log();
}

TEST_F(AgentXLifeTest, TheConfigurationMayNameTheMaster) {
    StartMaster();
    const std::string config = WriteConfig("agentXSocket " + m_master + "\n");
    Program agent(
        {kAgentFile, "--agentx", "--module", kTestModule, "--config", config, "--state-dir", m_scratch / "state"},
        m_scratch / "log");
    EXPECT_TRUE(agent.WaitForOutput("connected to the master at " + m_master)) << agent.Output();
    EXPECT_TRUE(IsServed(kValues + "1.0"));
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
}

TEST_F(AgentXLifeTest, TheOptionOverridesTheConfiguration) {
    StartMaster();
    const std::string config = WriteConfig("agentXSocket " + m_scratch / "elsewhere\n");
    Start({"--module", kTestModule, "--config", config});
    EXPECT_TRUE(IsServed(kValues + "1.0")) << Log();
}

TEST_F(AgentXLifeTest, SighupKeepsTheConnection) {
    StartBoth({"--module", kTestModule});
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("with --agentx the configuration is read only at the start")) << Log();
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    EXPECT_EQ(InLog("connect"), 1) << Log();
}

TEST_F(AgentXLifeTest, LeavesTheStoredUsersOfTheOtherRoleAlone) {
    const std::string kept = m_scratch.Write("state/cvtagentd.conf", "engineBoots 7\n");
    StartBoth({"--module", kTestModule});
    ExpectCleanEnd();
    std::ifstream in(kept);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "engineBoots 7\n");
}

}  // namespace
}  // namespace agent_test
