// Who may do what: the built-in access, the configuration's, and its reading anew.

#include <sys/stat.h>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

class AccessTest : public AgentTest {
protected:
    Outcome V3(const std::string& client, const Arguments& credentials, const Arguments& arguments) const {
        return Client(client, Arguments{"-v3"} + credentials + Arguments{Udp()} + arguments);
    }
    void ExpectReader(const std::string& community) const {
        const Outcome outcome = Client("snmpget", {"-v2c", "-c", community, Udp(), kValues + "1.0"});
        EXPECT_EQ(outcome.status, 0) << community << ": " << outcome.output;
    }
    /// A community that may nothing gets no answer.
    void ExpectStranger(const std::string& community) const {
        const Arguments impatient = {"-t", "0.3", "-r", "0"};
        const Outcome outcome =
            Client("snmpget", impatient + Arguments{"-v2c", "-c", community, Udp(), kValues + "1.0"});
        EXPECT_NE(outcome.output.find("Timeout"), std::string::npos) << community << ": " << outcome.output;
    }
    void StartWith(const std::string& config) { Start({"--module", kTestModule, "--config", WriteConfig(config)}); }

    const std::string m_level = kValues + "1.0 = INTEGER: 1\n";
};

TEST_F(AccessTest, WithoutAConfigurationTheCommunityPublicMayReadAndNobodyMayWrite) {
    Start({"--module", kTestModule});
    m_community = "public";
    EXPECT_EQ(Get(kValues + "1.0"), m_level);
    EXPECT_EQ(V1("snmpget", {kValues + "1.0"}).output, m_level);
    ExpectStranger("private");
    ExpectSetRefused({kValues + "1.0", "i", "2"}, "noAccess", kValues + "1.0");
}

TEST_F(AccessTest, WithAConfigurationTheCommunityPublicIsNobody) {
    StartWritable();
    ExpectReader("private");
    ExpectStranger("public");
}

TEST_F(AccessTest, NoOtherConfigurationIsRead) {
    const std::string folder = m_scratch.MakeFolder("etc");
    m_scratch.Write("etc/cvtagentd.conf", "rocommunity stray 127.0.0.1\n");
    m_scratch.Write("etc/snmp.conf", "[cvtagentd] rocommunity stray 127.0.0.1\n");
    Start({"--module", kTestModule},
          {"SNMPCONFPATH=" + folder, "SNMP_PERSISTENT_DIR=" + folder, "HOME=" + m_scratch.Path()});
    ExpectReader("public");
    ExpectStranger("stray");
}

TEST_F(AccessTest, AViewHidesWhatItDoesNotHold) {
    StartWith("com2sec me 127.0.0.1 private\ngroup us v2c me\nview some included " + kValues + "\naccess us \"\" any " +
              "noauth exact some none none\n");
    EXPECT_EQ(Get(kValues + "1.0"), m_level);
    EXPECT_EQ(Get(kOuter + "1.0"), kOuter + "1.0 = No Such Object available on this agent at this OID\n");
    const std::string walk = V2c("snmpbulkwalk", {".1.3.6.1.4.1.32473.2"}).output;
    EXPECT_EQ(walk.find("\n" + kOuter), std::string::npos) << walk;
}

TEST_F(AccessTest, Version3ServesUsersAtTheirLevelOfSecurity) {
    StartWith(R"(createUser anybody
createUser checked SHA "the first secret"
createUser sealed SHA-256 "the first secret" AES "the second secret"
rouser anybody noauth
rouser checked auth
rwuser sealed priv
)");
    const Arguments none = {"-l", "noAuthNoPriv", "-u", "anybody"};
    const Arguments checked = {"-l", "authNoPriv", "-u", "checked", "-a", "SHA", "-A", "the first secret"};
    const Arguments sealed = {"-l", "authPriv",         "-u", "sealed", "-a", "SHA-256",
                              "-A", "the first secret", "-x", "AES",    "-X", "the second secret"};
    EXPECT_EQ(V3("snmpget", none, {kValues + "1.0"}).output, m_level);
    EXPECT_EQ(V3("snmpget", checked, {kValues + "1.0"}).output, m_level);
    EXPECT_EQ(V3("snmpget", sealed, {kValues + "1.0"}).output, m_level);
    EXPECT_EQ(V3("snmpset", sealed, {kValues + "1.0", "i", "5"}).status, 0);
    EXPECT_EQ(V3("snmpset", checked, {kValues + "1.0", "i", "6"}).status, 2);
    EXPECT_EQ(V3("snmpget", sealed, {kValues + "1.0"}).output, kValues + "1.0 = INTEGER: 5\n");

    const Arguments wrong = {"-l", "authNoPriv", "-u", "checked", "-a", "SHA", "-A", "another secret"};
    EXPECT_EQ(V3("snmpget", wrong, {kValues + "1.0"}).status, 1);
    const Arguments tooLow = {"-l", "noAuthNoPriv", "-u", "sealed"};
    EXPECT_NE(V3("snmpget", tooLow, {kValues + "1.0"}).status, 0);
}

TEST_F(AccessTest, UsersOutliveARestartAndTheEngineCountsItsBoots) {
    const std::string users = "createUser sealed SHA \"the first secret\" AES\nrouser sealed priv\n";
    const Arguments sealed = {"-l", "authPriv",         "-u", "sealed", "-a", "SHA",
                              "-A", "the first secret", "-x", "AES",    "-X", "the first secret"};
    StartWith(users);
    EXPECT_EQ(V3("snmpget", sealed, {kValues + "1.0"}).output, m_level);
    Agent().Signal(SIGKILL);
    Agent().Wait();
    StartWith("rouser sealed priv\n");
    EXPECT_EQ(V3("snmpget", sealed, {kValues + "1.0"}).output, m_level);
    std::ifstream kept(m_scratch / "state/cvtagentd.conf");
    const std::string content{std::istreambuf_iterator<char>(kept), std::istreambuf_iterator<char>()};
    EXPECT_NE(content.find("engineBoots 2\n"), std::string::npos) << content;
    EXPECT_EQ(content.find("the first secret"), std::string::npos) << "keys are kept, not passphrases";
}

TEST_F(AccessTest, SighupReadsTheConfigurationAnew) {
    StartWritable();
    ExpectReader("private");
    WriteConfig("rocommunity other 127.0.0.1\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    ExpectStranger("private");
    ExpectReader("other");
}

TEST_F(AccessTest, SighupWithAFaultyConfigurationLeavesEverythingAsItWas) {
    StartWritable();
    for (const char* const config : {"rocomunity other\n", "createUser me SHA\n", "# nothing\n"}) {
        WriteConfig(config);
        Agent().Signal(SIGHUP);
        const std::string text = *config == 'r' ? "Unknown token" : *config == 'c' ? "crashes" : "nobody";
        ASSERT_TRUE(Agent().WaitForOutput(text)) << Log();
        ExpectReader("private");
    }
    std::filesystem::remove(m_scratch / "agent.conf");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("No such file")) << Log();
    ExpectReader("private");
}

TEST_F(AccessTest, SighupWithoutAConfigurationChangesNothing) {
    Start({"--module", kTestModule});
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("no configuration file")) << Log();
    ExpectReader("public");
}

TEST_F(AccessTest, AReloadThatHangsIsGivenUpAndEverythingStaysAsItWas) {
    const std::string config = "rocommunity private 127.0.0.1\n";
    Start({"--module", kTestModule, "--config", WriteConfig(config)});
    const std::string pipe = m_scratch / "pipe.conf";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    WriteConfig(config + "includeFile " + pipe + "\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("takes longer than 5 s")) << Log();
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
}

}  // namespace
}  // namespace agent_test
