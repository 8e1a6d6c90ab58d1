// The running processes through a real client: seen, and killed.

#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

const std::string kRun = ".1.3.6.1.2.1.25.4.2.1.";
const std::string kPerf = ".1.3.6.1.2.1.25.5.1.1.";

/// A process that does nothing until it is killed.
class Sleeper {
public:
    Sleeper() {
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;) {
                ::pause();
            }
        }
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;
    ~Sleeper() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    std::string Pid() const { return std::to_string(m_pid); }
    bool IsAlive() const {
        int status = 0;
        return ::waitpid(m_pid, &status, WNOHANG) == 0;
    }
    /// Waits for its end. Returns the signal that ended it.
    int EndedBy() { return SignalThatEnds(std::exchange(m_pid, -1)); }

private:
    pid_t m_pid = -1;
};

class ProcessTest : public AgentTest {
protected:
    static std::string Status(const std::string& pid) { return kRun + "7." + pid; }
};

TEST_F(ProcessTest, WalksOfBothTablesHaveTheSameRowsIncludingThoseThatWeStarted) {
    const Sleeper sleeper;
    m_community = "public";  // the community that an agent without a configuration accepts
    Start({"--module", kMainModule});
    const std::string run = V2c("snmpbulkwalk", {kRun + "1"}).output;
    const std::string perf = V2c("snmpbulkwalk", {kPerf + "2"}).output;
    EXPECT_NE(run.find(kRun + "1." + sleeper.Pid() + " = INTEGER: " + sleeper.Pid() + "\n"), std::string::npos) << run;
    EXPECT_NE(perf.find(kPerf + "2." + sleeper.Pid() + " = INTEGER: "), std::string::npos) << perf;
    EXPECT_EQ(std::count(run.begin(), run.end(), '\n'), std::count(perf.begin(), perf.end(), '\n'));
    EXPECT_EQ(Get(kRun + "6.1"), kRun + "6.1 = INTEGER: 2\n");
}

TEST_F(ProcessTest, ASetOfInvalidKillsTheProcessAndEveryOtherSetIsRefused) {
    Sleeper victim;
    const Sleeper neighbour;
    StartWritable({"--module", kMainModule});
    EXPECT_EQ(Get(Status(victim.Pid())), Status(victim.Pid()) + " = INTEGER: 2\n");
    for (const char* const value : {"1", "2", "3", "0", "5", "-1"}) {
        ExpectSetRefused({Status(victim.Pid()), "i", value}, "wrongValue", Status(victim.Pid()));
    }
    ExpectSetRefused({Status(victim.Pid()), "s", "4"}, "wrongType", Status(victim.Pid()));
    ExpectSetRefused({Status("4194305"), "i", "4"}, "inconsistentName", Status("4194305"));
    ExpectSetRefused({kRun + "6." + victim.Pid(), "i", "4"}, "notWritable", kRun + "6." + victim.Pid());
    EXPECT_TRUE(victim.IsAlive());
    const std::string status = Status(victim.Pid());
    const Outcome outcome = Set({status, "i", "4"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(victim.EndedBy(), SIGKILL);
    EXPECT_TRUE(neighbour.IsAlive());
    EXPECT_EQ(Get(status), status + " = INTEGER: 4\n") << "until the next scan";
}

TEST_F(ProcessTest, NothingIsKilledUnlessTheConfigurationAllowsIt) {
    const Sleeper victim;
    m_community = "public";  // the community that an agent without a configuration accepts
    Start({"--module", kMainModule});
    EXPECT_EQ(Get(Status(victim.Pid())), Status(victim.Pid()) + " = INTEGER: 2\n");
    EXPECT_NE(Set({Status(victim.Pid()), "i", "4"}).status, 0);
    EXPECT_TRUE(victim.IsAlive());
}

}  // namespace
}  // namespace agent_test
