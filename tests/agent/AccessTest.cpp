// Who may do what: the built-in access, the configuration's, and what a reload changes.

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
    /// A community without access gets no answer.
    void ExpectStranger(const std::string& community) const {
        const Arguments impatient = {"-t", "0.3", "-r", "0"};
        const Outcome outcome =
            Client("snmpget", impatient + Arguments{"-v2c", "-c", community, Udp(), kValues + "1.0"});
        EXPECT_NE(outcome.output.find("Timeout"), std::string::npos) << community << ": " << outcome.output;
    }
    void StartWith(const std::string& config) { Start({"--module", kTestModule, "--config", WriteConfig(config)}); }

    static void Allow(const std::string& file, int mode) {
        std::filesystem::permissions(file, std::filesystem::perms(mode));
    }
    /// Expects that no agent starts with this configuration, and that --check-config finds the same fault.
    void ExpectDistrust(const std::string& config, const std::string& text) const {
        ExpectRefusal(WithOwn({"--module", kTestModule, "--config", config}), kFaulty, text);
        const Outcome check = RunAgent({"--check-config", config});
        EXPECT_EQ(check.status, 1) << check.output;
        EXPECT_NE(check.output.find("cvtagentd: " + text), std::string::npos) << check.output;
    }
    static std::string OthersCanWrite(const std::string& file) {
        return "users other than its owner can write to the configuration " + file +
               "; remove that permission (chmod go-w " + file + ")\n";
    }

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

TEST_F(AccessTest, WithAConfigurationTheCommunityPublicHasNoAccess) {
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

TEST_F(AccessTest, UsersSurviveARestartAndTheEngineCountsItsBoots) {
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

TEST_F(AccessTest, SighupReadsTheConfigurationAgain) {
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
        const std::string text = *config == 'r' ? "Unknown token" : *config == 'c' ? "no pass phrase" : "nobody";
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

TEST_F(AccessTest, AReloadThatHangsIsAbandonedAndEverythingStaysAsItWas) {
    const std::string config = "rocommunity private 127.0.0.1\n";
    Start({"--module", kTestModule, "--config", WriteConfig(config)});
    const std::string pipe = m_scratch / "pipe.conf";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    WriteConfig(config + "includeFile " + pipe + "\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("takes longer than 5 s")) << Log();
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
}

TEST_F(AccessTest, AConfigurationThatUsersOtherThanItsOwnerCanWriteIsRefused) {
    const std::string config = WriteConfig("rocommunity private 127.0.0.1\n");
    for (const int mode : {0660, 0606, 0620}) {
        Allow(config, mode);
        ExpectDistrust(config, OthersCanWrite(config));
    }
    Allow(config, 0640);
    Start({"--module", kTestModule, "--config", config});
    ExpectReader("private");
}

TEST_F(AccessTest, AnIncludedFileThatOthersCanWriteIsRefused) {
    const std::string folder = m_scratch.MakeFolder("more");
    const std::string first = m_scratch.Write("more/first.conf", "includeFile second.txt\n");
    const std::string second = m_scratch.Write("more/second.txt", "rocommunity private 127.0.0.1\n");
    const std::string config = m_scratch.Write("dir.conf", "includeDir " + folder + "\n");
    const std::string direct = m_scratch.Write("file.conf", "[cvtagentd]\nincludeFile more/second.txt\n");
    for (const std::string& file : {config, direct}) {
        EXPECT_EQ(RunAgent({"--check-config", file}).status, 0) << file;
    }
    Allow(second, 0664);
    for (const std::string& file : {config, direct}) {
        ExpectDistrust(file, OthersCanWrite(second));
    }
    Allow(second, 0644);
    Allow(first, 0666);
    ExpectDistrust(config, OthersCanWrite(first));
}

TEST_F(AccessTest, AFileThatOthersCanWriteIsRefusedHoweverItIsIncluded) {
    std::string folder = m_scratch.Path();
    while (folder.size() < 1200) {  // longer than the library's usual words
        folder += "/" + std::string(200, 'x');
    }
    std::filesystem::create_directories(folder);
    for (const std::string& file :
         {m_scratch / "plain.conf", m_scratch / "two words.conf", m_scratch / "blank.conf ", folder + "/long.conf"}) {
        std::ofstream(file) << "[cvtagentd]\nrocommunity private 127.0.0.1\n";
        for (const std::string section : {"", "[snmp]\n", "[agentx]\n"}) {
            std::string lines = section;
            lines.append("includeFile ").append(file).append("\n");
            const std::string config = m_scratch.Write("including.conf", lines);
            Allow(file, 0600);
            EXPECT_EQ(RunAgent({"--check-config", config}).status, 0) << section << file;
            Allow(file, 0666);
            ExpectDistrust(config, OthersCanWrite(file));
        }
    }
}

TEST_F(AccessTest, AFileThatOthersCanWriteIsRefusedWhenTheStateDirectoryIsSearchedForIt) {
    const std::string file = m_scratch.Write("state/more.conf", "rocommunity private 127.0.0.1\n");
    const std::string config = m_scratch.Write("searching.conf", "includeSearch more\n");
    Allow(file, 0646);
    ExpectRefusal(WithOwn({"--module", kTestModule, "--config", config}), kFaulty, OthersCanWrite(file));
    Allow(file, 0644);
    Start({"--module", kTestModule, "--config", config});
    ExpectReader("private");
}

TEST_F(AccessTest, AnIncludedFolderIsRefusedWhenOthersCanAddAFile) {
    const std::string folder = m_scratch.MakeFolder("drop");
    const std::string config =
        m_scratch.Write("dir.conf", "rocommunity private 127.0.0.1\nincludeDir " + folder + "\n");
    for (const int mode : {0777, 01777, 0775}) {
        Allow(folder, mode);
        ExpectDistrust(config, OthersCanWrite(folder));
    }
    Allow(folder, 0755);
    EXPECT_EQ(RunAgent({"--check-config", config}).status, 0);
}

TEST_F(AccessTest, AConfigurationThatEverybodyCanReplaceIsRefusedWhateverLinksLeadToIt) {
    const std::string folder = m_scratch.MakeFolder("open");
    const std::string config = m_scratch.Write("open/agent.conf", "rocommunity private 127.0.0.1\n");
    Allow(config, 0600);
    const std::string link = m_scratch / "link.conf";
    std::filesystem::create_symlink("open/../open/agent.conf", link);
    Allow(folder, 0777);
    for (const std::string& file : {config, link}) {
        std::string refusal = "everybody can replace the configuration ";
        refusal.append(file).append(", since everybody can write to the folder ").append(folder);
        refusal.append("; remove that permission (chmod o-w ").append(folder).append(")\n");
        ExpectDistrust(file, refusal);
    }
    Allow(folder, 01777);
    EXPECT_EQ(RunAgent({"--check-config", link}).output, link + ": no faults\n");
    Allow(folder, 0775);
    EXPECT_EQ(RunAgent({"--check-config", config}).output,
              config + ": Warning: users other than root and this one can write to the folder " + folder +
                  ", and so replace the file\n" + config + ": no faults\n");
}

TEST_F(AccessTest, SighupDoesNotObeyAFileThatOthersCanWrite) {
    StartWritable();
    const std::string config = WriteConfig("rocommunity other 127.0.0.1\n");
    Allow(config, 0666);
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("the configuration stays as it was: " + OthersCanWrite(config))) << Log();
    ExpectReader("private");
    Allow(config, 0600);
    Allow(m_scratch.Write("state/cvtagentd.local.conf", "rwcommunity strange 127.0.0.1\n"), 0602);
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("can write to the state file " + m_scratch / "state/cvtagentd.local.conf"))
        << Log();
    ExpectReader("private");
    ExpectStranger("strange");
}

TEST_F(AccessTest, StateThatOthersCanWriteIsRefused) {
    const Arguments start = WithOwn({"--module", kTestModule});
    for (const char* const name : {"cvtagentd.conf", "cvtagentd.local.conf", "cvtagentd.0.conf", "snmp.conf"}) {
        const std::string file = m_scratch.Write("state/" + std::string(name), "");
        Allow(file, 0620);
        const Outcome outcome = RunAgent(start);
        EXPECT_EQ(outcome.status, kFaulty) << name << ": " << outcome.output;
        EXPECT_NE(outcome.output.find("can write to the state"), std::string::npos) << outcome.output;
        const Outcome create =
            RunToEnd({kAgentFile, "--create-user", "reader", "--state-dir", m_scratch / "state"}, m_scratch, {},
                     m_scratch.Write("input", "the first secret\nthe second secret\n"));
        EXPECT_EQ(create.status, kFaulty) << name << ": " << create.output;
        EXPECT_NE(create.output.find("can write to the state"), std::string::npos) << create.output;
        std::filesystem::remove(file);
    }
    Allow(m_scratch / "state", 0777);
    ExpectRefusal(start, kFaulty, "can write to the state directory");
}

TEST_F(AccessTest, TheStateOfAThirdUserIsRefused) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make one";
    }
    const std::string file = m_scratch.Write("state/cvtagentd.local.conf", "rwcommunity strange 127.0.0.1\n");
    ASSERT_EQ(::chown(file.c_str(), 1, 1), 0);
    ExpectRefusal(WithOwn({"--module", kTestModule}), kFaulty,
                  "the state file " + file +
                      " belongs to the user daemon, who must not control the agent; give it to root (chown)");
}

}  // namespace
}  // namespace agent_test
