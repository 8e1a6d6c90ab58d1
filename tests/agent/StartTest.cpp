// What prevents a start: one line on standard error, the right exit status, and nothing left half started.

#include <algorithm>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

class StartTest : public AgentTest {};

TEST_F(StartTest, VersionAndHelpGoToStandardOutputAndEndWell) {
    EXPECT_EQ(RunAgent({"--version"}).output, "cvtagentd " CVHOST_VERSION "\n");
    EXPECT_EQ(RunAgent({"--version"}).status, 0);
    const Outcome help = RunAgent({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("Usage: cvtagentd"), std::string::npos);
}

TEST_F(StartTest, AWrongCommandLineEndsItWithStatus2) {
    ExpectRefusal({"--frobnicate"}, 2, "--frobnicate is unknown");
    ExpectRefusal({"--timeout", "soon"}, 2, "--timeout needs a number of seconds");
    ExpectRefusal({"--agentx", "--listen", Udp()}, 2, "--listen and --agentx exclude each other");
    ExpectRefusal({"--listen", "udp:127.0.0.1:99999"}, 2, "--listen udp:127.0.0.1:99999: not a valid address");
    ExpectRefusal({"--listen", "udp:127.0.0.1:port"}, 2, "not a valid address");
    ExpectRefusal({"--listen", "tcp:[::1"}, 2, "not a valid address");
    ExpectRefusal({"--agentx=tcp:host:99999"}, 2, "--agentx=tcp:host:99999: not a valid address");
}

TEST_F(StartTest, AConfigurationThatCannotBeReadEndsItWithStatus78) {
    ExpectRefusal(WithOwn({"--config", m_scratch / "none.conf"}), kFaulty, "No such file or directory");
    ExpectRefusal(WithOwn({"--config", m_scratch.Path()}), kFaulty, "is not a regular file");
}

TEST_F(StartTest, AFaultyConfigurationEndsItWithTheLineThatIsWrong) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1\nrwcomunity private\n");
    ExpectRefusal(WithOwn({"--config", file}), kFaulty, file + ": line 2: Warning: Unknown token: rwcomunity");
}

TEST_F(StartTest, OfSeveralFaultsItPrintsTheFirstAndHowToSeeTheOthers) {
    const std::string file = WriteConfig("rwcomunity private\nrouser me maybe\n");
    ExpectRefusal(WithOwn({"--config", file}), kFaulty, "(and more: cvtagentd --check-config " + file);
}

TEST_F(StartTest, AConfigurationThatGrantsAccessToNobodyIsFaulty) {
    ExpectRefusal(WithOwn({"--config", WriteConfig("# nothing\n")}), kFaulty, "grants access to nobody");
}

TEST_F(StartTest, AConfigurationThatCrashesTheLibraryIsReportedLikeAnyOther) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1\ncreateUser me SHA\n");
    ExpectRefusal(WithOwn({"--config", file}), kFaulty, file + ": line 2: Error: the user me has a method and no pass");
    m_scratch.Write("state/cvtagentd.local.conf", "createUser me SHA\n");  // not looked through before
    const std::string searching = WriteConfig("rocommunity public 127.0.0.1\n");
    ExpectRefusal(WithOwn({"--config", searching}), kFaulty, searching + ": this file crashes the SNMP library");
}

TEST_F(StartTest, CheckConfigPrintsEveryFaultOnItsOwnLine) {
    const std::string file = WriteConfig("rwcomunity private\nrouser you maybe\ncreateUser you SHA short\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const Outcome outcome = RunAgent({"--check-config", file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 3) << outcome.output;
    for (const char* const place : {": line 1: ", ": line 2: ", ": line 3: "}) {
        EXPECT_NE(outcome.output.find(file + place), std::string::npos) << outcome.output;
    }
}

TEST_F(StartTest, CheckConfigSaysThatAGoodFileHasNoFaultsAndWritesNoFile) {
    const std::string file = WriteConfig("createUser me SHA-256 \"long enough\" AES\nrwuser me authpriv\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const Outcome outcome = RunAgent({"--check-config", file});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, file + ": no faults\n");
    EXPECT_TRUE(std::filesystem::is_empty(m_scratch / "state"));
}

TEST_F(StartTest, CheckConfigReportsAFileThatItCannotRead) {
    ExpectRefusal({"--check-config", m_scratch / "none.conf"}, 1, "No such file or directory");
}

TEST_F(StartTest, CheckConfigSurvivesAFileThatCrashesTheLibrary) {
    m_scratch.Write("state/cvtagentd.local.conf", "createUser me SHA\n");  // not looked through before
    m_scratch.Write("state/more.conf", "rocommunity public 127.0.0.1\n");
    ExpectRefusal({"--check-config", WriteConfig("includeSearch more\n"), "--state-dir", m_scratch / "state"}, 1,
                  "crashes the SNMP library");
}

TEST_F(StartTest, ThePackagedConfigurationHasNoFaults) {
    const std::string file = m_scratch / "packaged.conf";  // a copy, since any user may own the build tree
    std::filesystem::copy_file(CVHOST_SOURCE_DIR "/packaging/cvtagentd.conf", file);
    std::filesystem::permissions(file, std::filesystem::perms(0640));
    const Outcome outcome = RunAgent({"--check-config", file});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
}

TEST_F(StartTest, AMissingModuleEndsItWithStatus78) {
    ExpectRefusal(WithOwn({"--module", m_scratch / "none.so"}), kFaulty,
                  "cannot load the module " + m_scratch / "none.so: cannot open shared object file: No such file");
}

TEST_F(StartTest, AFileThatIsNotAModuleEndsItWithStatus78) {
    ExpectRefusal(WithOwn({"--module", m_scratch.Write("text.so", "text\n")}), kFaulty, "cannot load the module");
    ExpectRefusal(WithOwn({"--module", CVHOST_BUILD_LIB_DIR "/libCVT.so.1"}), kFaulty, "is not an extension module");
}

TEST_F(StartTest, AModuleThatRefusesToStartEndsItWithStatus1) {
    ExpectRefusal(WithOwn({"--module", kTestModule}), 1, "refused to start", {"AGENT_TEST_MODULE=refuse"});
}

TEST_F(StartTest, EveryModuleIsLoadedBeforeTheFirstOneStarts) {
    ExpectRefusal(WithOwn({"--module", kSampleModule, "--module", m_scratch / "none.so"}), kFaulty,
                  "cannot load the module");
}

TEST_F(StartTest, TheSameModuleTwiceIsRefused) {
    ExpectRefusal(WithOwn({"--module", kTestModule, "--module", kTestModule}), kFaulty, "is named twice");
}

TEST_F(StartTest, TwoModulesForOneSubtreeAreRefused) {
    const std::string copy = m_scratch / "libCopy.so";
    std::filesystem::copy_file(kTestModule, copy);
    ExpectRefusal(WithOwn({"--module", kTestModule, "--module", copy}), kFaulty,
                  "the module " + copy + " serves a subtree");
}

TEST_F(StartTest, AnAddressThatCannotBeListenedOnEndsIt) {
    const Arguments module = {"--module", kTestModule, "--state-dir", m_scratch / "state"};
    ExpectRefusal(module + Arguments{"--listen", "udp:nobody.invalid:1161"}, 1,
                  "not a valid address, or its host cannot be resolved; write it as udp:HOST:PORT");
    ExpectRefusal(module + Arguments{"--listen", "udp:192.0.2.1:1161"}, 1, "this host has no such address");
    ExpectRefusal(module + Arguments{"--listen", "unix:" + m_scratch / "no/where"}, kFaulty,
                  "No such file or directory; create the folder of that socket");
}

TEST_F(StartTest, AMalformedConfiguredAddressEndsItWithStatus78) {
    const Arguments agent = {"--module", kTestModule, "--state-dir", m_scratch / "state", "--config"};
    for (const std::string address : {"udp:127.0.0.1:99999", "udp:127.0.0.1:port", "tcp:[::1"}) {
        const std::string file = WriteConfig("rocommunity public 127.0.0.1\nagentaddress " + address + "\n");
        ExpectRefusal(agent + Arguments{file}, kFaulty, "cannot listen on " + address + ": not a valid address");
    }
    const std::string file = WriteConfig("agentXSocket tcp:host:99999\n");
    ExpectRefusal(agent + Arguments{file, "--agentx"}, kFaulty,
                  file + ": line 1: Error: agentXSocket tcp:host:99999: not a valid address");
}

TEST_F(StartTest, APortThatIsInUseEndsItWithStatus1) {
    StartWritable();
    const Arguments other = {"--module", kTestModule, "--state-dir", m_scratch.MakeFolder("other")};
    ExpectRefusal(other + Arguments{"--listen", Udp()}, 1, "the port is in use");
}

TEST_F(StartTest, AStateFolderThatCannotBeUsedEndsItWithStatus78) {
    const Arguments module = {"--module", kTestModule, "--listen", Udp()};
    ExpectRefusal(module + Arguments{"--state-dir", m_scratch / "none"}, kFaulty, "No such file or directory");
    ExpectRefusal(module + Arguments{"--state-dir", m_scratch.Write("file", "")}, kFaulty, "Not a directory");
    ExpectRefusal(module + Arguments{"--state-dir", "/proc/self"}, kFaulty, "cannot write to the state directory");
}

TEST_F(StartTest, ASharedFolderIsRefusedAsAStateFolderAndKeepsItsPermissions) {
    const std::string shared = m_scratch.MakeFolder("shared");
    std::filesystem::permissions(shared, std::filesystem::perms(01777));
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root refuses it";
    }
    ExpectRefusal({"--module", kTestModule, "--listen", Udp(), "--state-dir", shared}, kFaulty,
                  "can write to the state directory " + shared + "; name another one with --state-dir");
}

TEST_F(StartTest, ClosedStandardStreamsAreNotReused) {
    m_command = Arguments{"/bin/sh", "-c", "exec \"$0\" \"$@\" <&- >&-"} + m_command;
    Start({"--module", kTestModule});
    for (const char* const stream : {"0", "1"}) {
        EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(Agent().Pid()) + "/fd/" + stream),
                  "/dev/null");
    }
}

TEST_F(StartTest, AFileThatIsNotASocketIsNotReplacedByOne) {
    const std::string file = m_scratch.Write("precious", "somebody's\n");
    ExpectRefusal({"--module", kTestModule, "--state-dir", m_scratch / "state", "--listen", "unix:" + file}, kFaulty,
                  "that file is not a socket; choose another name");
    EXPECT_TRUE(std::filesystem::is_regular_file(file));
}

TEST_F(StartTest, TheLibrarysFilesAreInTheStateFolderAndNotInTheRootFolder) {
    const auto inRoot = [] {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/")) {
            names.insert(entry.path());
        }
        return names;
    };
    const std::set<std::string> before = inRoot();
    Start({"--module", kTestModule});
    ExpectCleanEnd();
    EXPECT_TRUE(std::filesystem::is_directory(m_scratch / "state/cert_indexes"));
    EXPECT_EQ(inRoot(), before);
}

TEST_F(StartTest, AStateFolderWithAColonInItsNameIsRefused) {
    ExpectRefusal({"--state-dir", m_scratch.MakeFolder("a:b")}, kFaulty, "has a colon in its name");
}

TEST_F(StartTest, TheDefaultStateFolderIsCreatedForItsOwnerOnly) {
    const std::string folder = m_scratch / "made/state";
    Program agent({kAgentFile, "--module", kTestModule, "--listen", Udp()}, m_scratch / "log",
                  {"STATE_DIRECTORY=" + folder + ":/nowhere"});
    ASSERT_TRUE(agent.WaitForOutput("ready after")) << agent.Output();
    EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);
    EXPECT_TRUE(std::filesystem::exists(folder + "/cvtagentd.conf"));
    agent.Signal(SIGTERM);
    EXPECT_EQ(agent.Wait(), 0);
}

TEST_F(StartTest, AModuleThatIsNotReadyInTimeEndsItAfterTheTimeout) {
    const Outcome outcome =
        RunAgent({"--module", kTestModule, "--listen", Udp(), "--state-dir", m_scratch / "state", "--timeout", "1"},
                 {"AGENT_TEST_MODULE=never-ready"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("not ready within 1 s: " + std::string(kTestModule)), std::string::npos)
        << outcome.output;
}

}  // namespace
}  // namespace agent_test
