// Modules that the configuration names: in a directive, and in files of a folder beside it.

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

const std::string kReading = "rwcommunity private 127.0.0.1\n";

class ModuleFilesTest : public AgentTest {
protected:
    ModuleFilesTest() : m_module(m_scratch / "libMine.so") {
        std::filesystem::copy_file(kTestModule, m_module);  // any user may own the build tree
        std::filesystem::permissions(m_module, std::filesystem::perms(0644));
    }
    /// A file in the folder for modules of agent.conf.
    std::string WriteInFolder(const std::string& name, const std::string& content) const {
        m_scratch.MakeFolder("agent");
        m_scratch.MakeFolder("agent/modules.d");
        return m_scratch.Write("agent/modules.d/" + name, content);
    }
    /// Expects that neither the agent nor --check-config accepts the configuration.
    void ExpectFault(const std::string& text) const {
        const std::string config = m_scratch / "agent.conf";
        ExpectRefusal(WithOwn({"--config", config}), kFaulty, text);
        const Outcome check = RunAgent({"--check-config", config});
        EXPECT_EQ(check.status, 1) << check.output;
        EXPECT_NE(check.output.find(text), std::string::npos) << check.output;
    }
    void ExpectServed(const std::string& name) const {
        EXPECT_EQ(V2c("snmpget", {name}).output.find("No Such"), std::string::npos) << name << Log();
    }

    const std::string m_module;
};

TEST_F(ModuleFilesTest, ADirectiveAddsAModuleToTheOneThatComesWithTheAgent) {
    Start({"--config", WriteConfig(kReading + "module \"" + m_module + "\"\n")});
    ExpectServed(kValues + "1.0");
    ExpectServed(kMemorySize);
    EXPECT_EQ(Log().find("is not loaded"), std::string::npos) << Log();
}

TEST_F(ModuleFilesTest, FilesInTheFolderBesideTheConfigurationAddModules) {
    std::filesystem::copy_file(kSampleModule, m_scratch / "libSample.so");
    WriteConfig(kReading);
    WriteInFolder("20-mine.conf", "# ours\nmodule " + m_module + "\n");
    WriteInFolder("10-sample.conf", "module " + m_scratch / "libSample.so" + "  # the sample\n");
    WriteInFolder("notes.txt", "nonsense\n");
    Start({"--config", m_scratch / "agent.conf"});
    ExpectServed(kValues + "1.0");
    ExpectServed(kMemorySize);
    EXPECT_NE(GetNext(kSample).find(kSample), std::string::npos) << Log();
}

TEST_F(ModuleFilesTest, ModulesOfTheCommandLineAndOfTheConfigurationAreAllServed) {
    Start({"--module", kSampleModule, "--config", WriteConfig(kReading + "module " + m_module + "\n")});
    ExpectServed(kValues + "1.0");
    EXPECT_NE(GetNext(kSample).find(kSample), std::string::npos) << Log();
    EXPECT_NE(Log().find("libCVHost.so.1, which comes with the agent, is not loaded"), std::string::npos) << Log();
}

TEST_F(ModuleFilesTest, AModuleInTheConfigurationIsCheckedLikeTheConfiguration) {
    const std::string file = WriteConfig(kReading + "\nmodule " + m_scratch / "none.so" + "\n");
    ExpectFault(file + ": line 3: Error: cannot read the module " + m_scratch / "none.so" +
                ": No such file or directory");
    WriteConfig(kReading + "module ./libMine.so\n");
    ExpectFault("line 2: Error: module needs an absolute path, or a name without a slash, not \"./libMine.so\"");
    WriteConfig(kReading + "module " + m_module + " and more\n");
    ExpectFault("line 2: Error: module takes one file");
    WriteConfig(kReading + "module " + m_module + "\n");
    std::filesystem::permissions(m_module, std::filesystem::perms(0666));
    ExpectFault("line 2: Error: users other than its owner can write to the module " + m_module);
}

TEST_F(ModuleFilesTest, ACheckOfTheConfigurationLoadsTheModules) {
    const std::string config = WriteConfig(kReading + "module " + m_module + "\n\nmodule libNoSuchModule.so\n");
    std::filesystem::permissions(config, std::filesystem::perms(0600));
    const std::string other = m_scratch.Write("other.so", "not a library");
    std::filesystem::permissions(other, std::filesystem::perms(0644));
    const std::string file = WriteInFolder("mine.conf", "module " + other + "\n");
    const Outcome check = RunAgent({"--check-config", config});
    EXPECT_EQ(check.status, 1);
    EXPECT_EQ(check.output, "cvtagentd: " + config +
                                ": line 4: Error: cannot load the module libNoSuchModule.so: cannot open shared object "
                                "file: No such file or directory\ncvtagentd: " +
                                file + ": line 1: Error: cannot load the module " + other + ": file too short\n");
    m_scratch.Write("agent/modules.d/mine.conf", "");
    WriteConfig(kReading + "module " + m_module + "\n");
    EXPECT_EQ(RunAgent({"--check-config", config}).output, config + ": no faults\n");
}

TEST_F(ModuleFilesTest, TheFilesInTheFolderAreCheckedToo) {
    WriteConfig(kReading);
    const std::string file = WriteInFolder("mine.conf", "rwcommunity public\nmodule " + m_module + "\n");
    ExpectFault(file + ": line 1: Error: only \"module FILE\" may stand here");
    WriteInFolder("mine.conf", "module " + m_scratch / "none.so" + "\n");
    ExpectFault(file + ": line 1: Error: cannot read the module " + m_scratch / "none.so");
    WriteInFolder("mine.conf", "module " + m_module + "\n");
    std::filesystem::permissions(file, std::filesystem::perms(0664));
    ExpectFault("users other than its owner can write to the configuration " + file);
    std::filesystem::permissions(file, std::filesystem::perms(0644));
    std::filesystem::permissions(m_scratch / "agent/modules.d", std::filesystem::perms(0775));
    ExpectFault("users other than its owner can write to the folder " + m_scratch / "agent/modules.d");
}

TEST_F(ModuleFilesTest, AReloadThatNamesOtherModulesSaysThatTheAgentMustBeRestarted) {
    Start({"--config", WriteConfig(kReading + "module " + m_module + "\n")});
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("read the configuration " + m_scratch / "agent.conf again")) << Log();
    ExpectServed(kValues + "1.0");
    EXPECT_EQ(Log().find("names other modules"), std::string::npos) << Log();
    WriteConfig(kReading);
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("warning: the configuration names other modules than at the start; restart"))
        << Log();
    ExpectServed(kValues + "1.0");
}

TEST_F(ModuleFilesTest, SaysWhichModuleIsNotLoadedBecauseAnotherIsNamed) {
    Start({"--module", kTestModule});
    EXPECT_NE(Log().find("is not loaded, since --module names another one; add --module " CVHOST_BUILD_BIN_DIR),
              std::string::npos)
        << Log();
    ExpectCleanEnd();
    Start({"--module", kTestModule, "--module", kMainModule});
    EXPECT_EQ(Log().find("is not loaded"), std::string::npos) << Log();
}

}  // namespace
}  // namespace agent_test
