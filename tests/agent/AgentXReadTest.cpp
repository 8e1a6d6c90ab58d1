// The agent behind an AgentX master: what the master's clients can read.

#include <set>
#include <sstream>

#include "tests/agent/AgentXTest.h"
#include "tests/agent/Sockets.h"

namespace agent_test {
namespace {

const std::string kHost = ".1.3.6.1.2.1.25";

class AgentXReadTest : public AgentXTest {
protected:
    /// The names of the instances in a client's output that lie neither in hrSWRun nor in hrSWRunPerf: processes come
    /// and go while a test runs.
    static std::set<std::string> SteadyNames(const std::string& output) {
        std::set<std::string> names;
        std::istringstream in(output);
        for (std::string line; std::getline(in, line);) {
            std::string name = line.substr(0, line.find(" = "));
            if (name.starts_with(kHost) && !name.starts_with(kHost + ".4.") && !name.starts_with(kHost + ".5.")) {
                names.insert(std::move(name));
            }
        }
        return names;
    }
    /// The same from cvtwalk.
    std::set<std::string> NamesOfCvtwalk() const {
        const std::string program = CVHOST_BUILD_BIN_DIR "/cvtwalk";
        std::istringstream in(RunToEnd({program, "--module", kMainModule, "--format", "json"}, m_scratch).output);
        std::string lines;
        const std::string before = "{\"oid\":\"";
        for (std::string line; std::getline(in, line);) {
            if (line.starts_with(before)) {
                lines += "." + line.substr(before.size(), line.find('"', before.size()) - before.size()) + " = \n";
            }
        }
        return SteadyNames(lines);
    }
};

TEST_F(AgentXReadTest, ServesThroughAUnixSocketAndListensOnNothing) {
    StartBoth({"--module", kMainModule});
    EXPECT_TRUE(Get(kMemorySize).starts_with(kMemorySize + " = INTEGER: ")) << Get(kMemorySize);
    EXPECT_EQ(InLog("connected to the master at " + m_master), 1) << Log();
    EXPECT_EQ(Sockets::Of(Agent().Pid()), (std::multiset<std::string>{"unix"}));
}

TEST_F(AgentXReadTest, ServesThroughTcpAndListensOnNothing) {
    m_master = "tcp:127.0.0.1:" + std::to_string(FreePort());
    StartBoth({"--module", kMainModule});
    EXPECT_TRUE(Get(kMemorySize).starts_with(kMemorySize + " = INTEGER: ")) << Get(kMemorySize);
    EXPECT_EQ(InLog("connected to the master at " + m_master), 1) << Log();
    EXPECT_EQ(Sockets::Of(Agent().Pid()), (std::multiset<std::string>{"tcp connected"}));
}

TEST_F(AgentXReadTest, AWalkThroughTheMasterFindsTheSameInstancesAsCvtwalk) {
    StartBoth({"--module", kMainModule});
    const std::set<std::string> names = NamesOfCvtwalk();
    for (const char* const root : {".1.", ".2.2.", ".2.3.", ".3.", ".6."}) {
        EXPECT_TRUE(names.lower_bound(kHost + root) != names.end() &&
                    names.lower_bound(kHost + root)->starts_with(kHost + root))
            << root;
    }
    EXPECT_EQ(SteadyNames(V2c("snmpbulkwalk", {kHost}, {"-Cr50"}).output), names);
    EXPECT_EQ(SteadyNames(V2c("snmpwalk", {kHost}).output), names);
    const std::string own = kHost + ".4.2.1.1." + std::to_string(Agent().Pid());
    EXPECT_EQ(V2c("snmpget", {kHost + ".5.1.1.2." + std::to_string(Agent().Pid())}).status, 0);
    EXPECT_EQ(Get(own), own + " = INTEGER: " + std::to_string(Agent().Pid()) + "\n");
}

TEST_F(AgentXReadTest, GetNextGoesFromOneSubtreeIntoTheNext) {
    StartBoth({"--module", kMainModule, "--module", kTestModule});
    ASSERT_TRUE(IsServed(kInner + "2.1"));
    EXPECT_TRUE(GetNext(kHost + ".1.7.0").starts_with(kMemorySize + " = ")) << GetNext(kHost + ".1.7.0");
    EXPECT_EQ(GetNext(kOuter + "1.0"), kInner + "2.1 = INTEGER: 10\n");
    EXPECT_EQ(GetNext(kInner + "2.7.5").substr(0, kInner.size() + 4), kInner + "4.1 ");
    EXPECT_EQ(GetNext(kInner + "4.7.5"), kOuter + "5.0 = INTEGER: 1\n");
}

TEST_F(AgentXReadTest, ABulkRequestCrossesSubtrees) {
    m_served = kOuter + "1.0";
    StartBoth({"--module", kTestModule});
    ASSERT_TRUE(IsServed(kInner + "2.1"));
    const std::string output = V2c("snmpbulkget", {kValues + "11", kOuter + "0"}, {"-Cn1", "-Cr4"}).output;
    EXPECT_NE(output.find(kValues + "11.0 = Gauge32: "), std::string::npos) << output;
    EXPECT_NE(output.find(kOuter + "1.0 = INTEGER: 1\n" + kInner + "2.1 = INTEGER: 10\n" + kInner +
                          "2.2 = INTEGER: 20\n" + kInner + "2.7.5 = INTEGER: 75\n"),
              std::string::npos)
        << output;
}

TEST_F(AgentXReadTest, Version3WorksThroughTheMasterWhichKnowsTheUsers) {
    StartMaster("createUser sealed SHA-256 \"the first secret\" AES \"the second secret\"\nrwuser sealed priv\n");
    Start({"--module", kTestModule});
    ASSERT_TRUE(IsServed(kValues + "1.0"));
    const Arguments user = {
        "-v3", "-l", "authPriv",          "-u", "sealed", "-a", "SHA-256", "-A", "the first secret", "-x",
        "AES", "-X", "the second secret", Udp()};
    EXPECT_EQ(Client("snmpget", user + Arguments{kValues + "1.0"}).output, kValues + "1.0 = INTEGER: 1\n");
    EXPECT_EQ(Client("snmpset", user + Arguments{kValues + "1.0", "i", "5"}).status, 0);
    EXPECT_EQ(Client("snmpgetnext", user + Arguments{kValues + "0"}).output, kValues + "1.0 = INTEGER: 5\n");
}

TEST_F(AgentXReadTest, EachRequestHasItsOwnIdentifierEvenUnderANewMaster) {
    m_served = kValues + "11.0";
    StartBoth({"--module", kTestModule});
    const auto identifier = [&] { return std::stoi(V2c("snmpget", {kValues + "11.0"}, {"-Oqv"}).output); };
    const int first = identifier();
    const int second = identifier();
    EXPECT_LT(first, second);
    StopMaster();
    ASSERT_TRUE(Agent().WaitForOutput("lost the connection"));
    StartMaster();
    ASSERT_TRUE(Agent().WaitForOutput("connected again")) << Log();
    ASSERT_TRUE(IsServed(kValues + "11.0"));
    EXPECT_LT(second, identifier());
}

TEST_F(AgentXReadTest, AGroupIsRegisteredWhenItHasInitialisedAndHoldsUpNoOther) {
    StartMaster();
    Start({"--module", kTestModule}, {"AGENT_TEST_MODULE=gate"}, "connected to the master");
    EXPECT_TRUE(IsServed(kValues + "1.0")) << Log();
    EXPECT_TRUE(IsServed(kInner + "2.1")) << Log();
    EXPECT_EQ(Get(kOuter + "1.0"), kOuter + "1.0 = No Such Object available on this agent at this OID\n");
    EXPECT_EQ(InLog("ready after"), 0) << Log();
    m_scratch.Write("state/gate", "");
    EXPECT_TRUE(IsServed(kOuter + "1.0")) << Log();
    EXPECT_TRUE(Agent().WaitForOutput("ready after")) << Log();
}

}  // namespace
}  // namespace agent_test
