// No process of the agent that reads keys or pass phrases leaves a core file, whatever limit it inherits.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "tests/agent/AgentTest.h"
#include "tests/agent/ProcessFiles.h"

namespace agent_test {
namespace {

class CoreFileTest : public AgentTest {
protected:
    void SetUp() override {
        rlimit limit{};
        ASSERT_EQ(::getrlimit(RLIMIT_CORE, &limit), 0);
        if (limit.rlim_max == 0) {
            GTEST_SKIP() << "this host allows no core files in any case";
        }
        limit.rlim_cur = limit.rlim_max;
        ASSERT_EQ(::setrlimit(RLIMIT_CORE, &limit), 0);
        ASSERT_NE(CoreLimitOf(::getpid()), "0 0");
        ASSERT_EQ(::mkfifo(m_pipe.c_str(), 0600), 0);
    }
    /// A configuration whose reader hangs.
    std::string WriteHangingConfig() const {
        return WriteConfig("rocommunity private 127.0.0.1\nincludeFile " + m_pipe + "\n");
    }
    static void ExpectNoCore(pid_t process) {
        for (int tries = 0; tries < 2000 && CoreLimitOf(process) != "0 0"; ++tries) {
            ::poll(nullptr, 0, 5);
        }
        EXPECT_EQ(CoreLimitOf(process), "0 0");
    }

    const std::string m_pipe = m_scratch / "pipe";
};

TEST_F(CoreFileTest, AnAgentThatServesLeavesNone) {
    StartWritable();
    EXPECT_EQ(CoreLimitOf(Agent().Pid()), "0 0");
}

TEST_F(CoreFileTest, TheProcessThatChecksTheConfigurationOnSighupLeavesNone) {
    StartWritable();
    WriteHangingConfig();
    Agent().Signal(SIGHUP);
    const pid_t child = FirstChildOf(Agent().Pid());
    ASSERT_GT(child, 0);
    ExpectNoCore(child);
    ASSERT_TRUE(Agent().WaitForOutput("takes longer than 5 s")) << Log();
}

TEST_F(CoreFileTest, CheckConfigLeavesNone) {
    const Program program({kAgentFile, "--check-config", WriteHangingConfig()}, m_scratch / "checked");
    ExpectNoCore(program.Pid());
}

TEST_F(CoreFileTest, CreateUserLeavesNone) {
    const int open = ::open(m_pipe.c_str(), O_RDWR | O_CLOEXEC);  // otherwise opening it for reading would block
    ASSERT_GE(open, 0);
    const Program program({kAgentFile, "--create-user", "reader", "--state-dir", m_scratch / "state"},
                          m_scratch / "created", {}, m_pipe);
    ExpectNoCore(program.Pid());
    ::close(open);
}

}  // namespace
}  // namespace agent_test
