// What --check-config and a start say about a configuration in which every directive is spelled correctly.

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

using Perms = std::filesystem::perms;

class ConfigFaultsTest : public AgentTest {
protected:
    static std::string UndefinedView(const std::string& file) {
        return file + ": line 1: Error: the view some is not defined; add \"view some included OID\"";
    }
};

TEST_F(ConfigFaultsTest, TheAgentDoesNotStartWithAnUndefinedView) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1 -V some\n");
    ExpectRefusal(WithOwn({"--config", file}), kFaulty, UndefinedView(file));
}

TEST_F(ConfigFaultsTest, CheckConfigPrintsFaultsAndRemarks) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1 -V some\nmaster agentx\n");
    std::filesystem::permissions(file, Perms::owner_read);
    const Outcome outcome = RunAgent({"--check-config", file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("cvtagentd: " + UndefinedView(file) + "\n"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find(file + ": line 2: Note: master has no effect in this agent\n"), std::string::npos)
        << outcome.output;
    EXPECT_EQ(outcome.output.find("no faults"), std::string::npos) << outcome.output;
}

TEST_F(ConfigFaultsTest, RemarksDoNotStopAReload) {
    StartWritable();
    WriteConfig("rocommunity other 127.0.0.1\nmaster agentx\nrouser stranger\n");
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_EQ(Log().find("no faults"), std::string::npos) << Log();
    const std::string file = WriteConfig("rocommunity third 127.0.0.1 -V some\n");
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("stays as it was: " + UndefinedView(file))) << Log();
}

}  // namespace
}  // namespace agent_test
