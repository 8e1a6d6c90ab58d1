// The agent's life from outside: where it listens, when it answers, how it ends.

#include <atomic>
#include <chrono>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "tests/agent/AgentTest.h"
#include "tests/agent/Sockets.h"

namespace agent_test {
namespace {

class LifeTest : public AgentTest {
protected:
    static std::string Port(const std::string& address) {
        std::ostringstream hex;
        hex << std::uppercase << std::hex << std::stoi(address.substr(address.rfind(':') + 1));
        std::string digits = hex.str();
        return std::string(4 - digits.size(), '0') + digits;
    }
};

TEST_F(LifeTest, ListensOnTheGivenAddressAndOnNothingElse) {
    StartWritable();
    EXPECT_EQ(Sockets::Of(Agent().Pid()), (std::multiset<std::string>{"udp 0100007F:" + Port(Udp())}));
}

TEST_F(LifeTest, ListensOnSeveralAddressesOfAllKinds) {
    const std::string tcp = "tcp:127.0.0.1:" + std::to_string(FreePort());
    const std::string udp6 = "udp6:[::1]:" + std::to_string(FreePort());
    StartWritable({"--listen", tcp, "--listen", udp6});
    EXPECT_EQ(Sockets::Of(Agent().Pid()),
              (std::multiset<std::string>{"udp 0100007F:" + Port(Udp()), "tcp 0100007F:" + Port(tcp),
                                          "udp6 00000000000000000000000001000000:" + Port(udp6)}));
    EXPECT_EQ(Client("snmpget", {"-v2c", "-c", "private", tcp, kValues + "1.0"}).status, 0);
}

TEST_F(LifeTest, TheBuiltInAccessCoversTheIpv6LoopbackToo) {
    const std::string udp6 = "udp6:[::1]:" + std::to_string(FreePort());
    Start({"--module", kTestModule, "--listen", udp6});
    EXPECT_EQ(Client("snmpget", {"-v2c", "-c", "public", udp6, kValues + "1.0"}).status, 0);
}

TEST_F(LifeTest, WithoutListenItAnswersWhereTheConfigurationSays) {
    const std::string config = WriteConfig("rocommunity public 127.0.0.1\nmaster agentx\nagentaddress " + Udp() + "\n");
    Program agent({kAgentFile, "--module", kTestModule, "--config", config, "--state-dir", m_scratch / "state"},
                  m_scratch / "log");
    ASSERT_TRUE(agent.WaitForOutput("ready after")) << agent.Output();
    EXPECT_NE(agent.Output().find("subtrees on " + Udp() + "\n"), std::string::npos) << agent.Output();
    m_community = "public";
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
}

TEST_F(LifeTest, KeepsTheModulesValuesInTheStateFolder) {
    Start({"--module", kMainModule});
    EXPECT_TRUE(std::filesystem::exists(m_scratch / "state/CVHostPersist.txt"));
}

TEST_F(LifeTest, AnswersBeforeTheModulesAreReady) {
    Start({"--module", kTestModule}, {"AGENT_TEST_MODULE=slow"}, "serves 4 subtrees");
    m_community = "public";
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    EXPECT_EQ(Log().find("ready after"), std::string::npos);
    EXPECT_TRUE(Agent().WaitForOutput("ready after"));
}

TEST_F(LifeTest, LogsWhatItServesAndWhereButNoRequests) {
    StartWritable();
    EXPECT_NE(Get(kValues + "1.0"), "");
    EXPECT_EQ(Set({kValues + "1.0", "i", "2"}).status, 0);
    const std::regex expected("cvtagentd: version [0-9.]+ serves 4 subtrees on " + Udp() +
                              "\ncvtagentd: libCVHost.so.1, which comes with the agent, is not loaded, .*"
                              "\ncvtagentd: ready after [0-9]+ ms\n");
    EXPECT_TRUE(std::regex_match(WithoutTime(Log()), expected)) << Log();
}

TEST_F(LifeTest, IsSilentAtTheLogLevelOfErrors) {
    Start({"--module", kTestModule, "--log-level", "error"}, {}, "");
    m_community = "public";
    const Arguments impatient = {"-t", "0.1", "-r", "100"};  // no log line tells when it is up
    EXPECT_EQ(V2c("snmpget", {kValues + "1.0"}, impatient).status, 0);
    Agent().Signal(SIGTERM);
    EXPECT_EQ(Agent().Wait(), 0);
    EXPECT_EQ(Log(), "");
}

TEST_F(LifeTest, SigintEndsItCleanlyToo) {
    StartWritable();
    Agent().Signal(SIGINT);
    EXPECT_EQ(Agent().Wait(), 0) << Log();
    EXPECT_TRUE(Log().ends_with("cvtagentd: ended\n"));
}

TEST_F(LifeTest, SigtermEndsItCleanlyWhileRequestsRun) {
    StartWritable({"--module", kMainModule, "--module", kSampleModule});
    std::atomic<bool> over = false;
    std::atomic<int> walks = 0;
    std::thread walker([&] {
        while (!over) {
            const Outcome walk =
                Client("snmpbulkwalk", {"-v2c", "-c", "private", "-t", "1", "-r", "0", Udp(), ".1.3.6.1.4.1.32473.1"});
            walks += walk.status == 0 ? 1 : 0;
        }
    });
    for (int tries = 0; walks < 3 && tries < 1000; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_GE(walks, 3);
    Agent().Signal(SIGTERM);
    const int status = Agent().Wait();
    over = true;
    walker.join();
    EXPECT_EQ(status, 0) << Log();
    EXPECT_TRUE(Log().ends_with("cvtagentd: ended\n")) << Log();
}

TEST_F(LifeTest, SigtermBeforeTheModulesAreReadyWaitsForThemAndEndsCleanly) {
    Start({"--module", kTestModule}, {"AGENT_TEST_MODULE=slow"}, "serves 4 subtrees");
    ExpectCleanEnd();
}

TEST_F(LifeTest, AModuleThatDoesNotCloseIsAbandonedWhenTheProcessEnds) {
    Start({"--module", kTestModule, "--timeout", "1"}, {"AGENT_TEST_MODULE=never-close"});
    Agent().Signal(SIGTERM);
    EXPECT_EQ(Agent().Wait(), 1);
    EXPECT_NE(Log().find("did not close within 1 s"), std::string::npos) << Log();
}

}  // namespace
}  // namespace agent_test
