// What the agent tells the service manager that has started it, and what it hides from its children.

#include <ctime>
#include <regex>

#include "tests/agent/AgentTest.h"
#include "tests/agent/Manager.h"

namespace agent_test {
namespace {

class ServiceTest : public AgentTest {
protected:
    void StartUnder(const std::string& address, const Arguments& more = {}, const Arguments& settings = {}) {
        Start(Arguments{"--module", kTestModule, "--config", WriteConfig("rocommunity private 127.0.0.1\n")} + more,
              Arguments{"NOTIFY_SOCKET=" + address} + settings, "");
    }
};

TEST_F(ServiceTest, TellsWhenItIsReadyWhenItReadsItsConfigurationAgainAndWhenItStops) {
    const Manager manager(m_scratch / "notify");
    StartUnder(m_scratch / "notify");
    EXPECT_EQ(manager.Next(), "STATUS=waiting for the modules to get ready");
    EXPECT_TRUE(manager.Next().starts_with("READY=1\nSTATUS=serving"));
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(manager.Next().starts_with("RELOADING=1\nMONOTONIC_USEC="));
    EXPECT_TRUE(manager.Next().starts_with("READY=1\n"));
    Agent().Signal(SIGTERM);
    EXPECT_TRUE(manager.Next().starts_with("STOPPING=1\n"));
    EXPECT_EQ(Agent().Wait(), 0) << Log();
}

TEST_F(ServiceTest, TheTimeOfAReloadIsTheManagersMonotonicClock) {
    const Manager manager(m_scratch / "notify");
    StartUnder(m_scratch / "notify");
    ASSERT_NE(manager.NextThat("READY=1"), "");
    const auto now = [] {
        timespec time{};
        ::clock_gettime(CLOCK_MONOTONIC, &time);
        return std::int64_t{time.tv_sec} * 1'000'000 + time.tv_nsec / 1000;
    };
    const auto before = now();
    Agent().Signal(SIGHUP);
    const std::string message = manager.NextThat("RELOADING=1");
    const std::string name = "MONOTONIC_USEC=";
    ASSERT_NE(message.find(name), std::string::npos) << message;
    const auto told = std::stoll(message.substr(message.find(name) + name.size()));
    EXPECT_GE(told, before);
    EXPECT_LE(told, now());
}

TEST_F(ServiceTest, IsNotReadyBeforeItsModulesAre) {
    const Manager manager(m_scratch / "notify");
    StartUnder(m_scratch / "notify", {}, {"AGENT_TEST_MODULE=slow"});
    EXPECT_EQ(manager.Next(), "STATUS=waiting for the modules to get ready");
    EXPECT_EQ(Log().find("ready after"), std::string::npos);
    EXPECT_TRUE(manager.Next().starts_with("READY=1\n"));
    EXPECT_NE(Log().find("ready after"), std::string::npos);
}

TEST_F(ServiceTest, ReachesASocketInTheAbstractNamespace) {
    const std::string address = "@cvtagentd-test-" + std::to_string(::getpid());
    const Manager manager(address);
    StartUnder(address);
    EXPECT_NE(manager.NextThat("READY=1"), "");
}

TEST_F(ServiceTest, SendsKeepAlivesWhenTheManagerExpectsThem) {
    const Manager manager(m_scratch / "notify");
    StartUnder(m_scratch / "notify", {}, {"WATCHDOG_USEC=100000"});
    ASSERT_NE(manager.NextThat("READY=1"), "");
    for (int sign = 0; sign < 5; ++sign) {
        EXPECT_EQ(manager.Next(), "WATCHDOG=1");
    }
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
}

TEST_F(ServiceTest, SendsNoKeepAlivesUnasked) {
    const Manager manager(m_scratch / "notify");
    StartUnder(m_scratch / "notify", {}, {"WATCHDOG_USEC=100000", "WATCHDOG_PID=1"});
    ASSERT_NE(manager.NextThat("READY=1"), "");
    Agent().Signal(SIGTERM);
    EXPECT_TRUE(manager.Next().starts_with("STOPPING=1\n")) << "and nothing before it";
    EXPECT_EQ(Agent().Wait(), 0);
}

TEST_F(ServiceTest, ServesEvenWhenTheManagerCannotBeReached) {
    for (const std::string& address : {m_scratch / "nobody", std::string("tcp:nonsense"), std::string(300, '/')}) {
        StartUnder(address);
        ASSERT_TRUE(Agent().WaitForOutput("ready after")) << Log();
        EXPECT_NE(Log().find("warning: cannot reach the service manager at $NOTIFY_SOCKET"), std::string::npos);
        ExpectCleanEnd();
    }
}

TEST_F(ServiceTest, AManagerThatGoesAwayDoesNotEndTheAgent) {
    {
        const Manager manager(m_scratch / "notify");
        StartUnder(m_scratch / "notify", {}, {"WATCHDOG_USEC=20000"});
        ASSERT_NE(manager.NextThat("WATCHDOG=1"), "");
        ASSERT_TRUE(Agent().WaitForOutput("ready after")) << Log();
    }
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    ExpectCleanEnd();
}

/// The main module starts dmesg while it initialises.
TEST_F(ServiceTest, CommandsOfAModuleDoNotSeeTheManagersVariables) {
    const std::string commands = m_scratch.MakeFolder("commands");
    const std::string record = m_scratch / "record";
    std::filesystem::permissions(m_scratch.Write("commands/dmesg", "#!/bin/sh\n/usr/bin/env >" + record + "\n"),
                                 std::filesystem::perms::owner_all);
    const Manager manager(m_scratch / "notify");
    Start({"--module", kMainModule},
          {"NOTIFY_SOCKET=" + m_scratch / "notify", "WATCHDOG_USEC=60000000", "WATCHDOG_PID=1", "PATH=" + commands});
    std::ifstream in(record);
    const std::string environment{std::istreambuf_iterator<char>(in), {}};
    EXPECT_NE(environment.find("PATH=" + commands), std::string::npos) << environment;
    EXPECT_EQ(environment.find("NOTIFY_SOCKET"), std::string::npos) << environment;
    EXPECT_EQ(environment.find("WATCHDOG"), std::string::npos) << environment;
}

TEST_F(ServiceTest, SystemdAcceptsTheInstalledUnit) {
    const std::string analyze = "/usr/bin/systemd-analyze";
    if (!std::filesystem::exists(analyze)) {
        GTEST_SKIP() << "needs systemd-analyze";
    }
    std::ifstream in(CVHOST_BUILD_BIN_DIR "/../packaging/cvtagentd.service");
    std::string unit{std::istreambuf_iterator<char>(in), {}};
    unit = std::regex_replace(unit, std::regex("\n(Exec(Start|Reload)=)/[^ ]*cvtagentd "),
                              std::string("\n$1") + kAgentFile + " ");
    const Outcome outcome =
        RunToEnd({analyze, "verify", "--man=no", m_scratch.Write("cvtagentd.service", unit)}, m_scratch);
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(unit.find("\nType=notify\n"), std::string::npos) << unit;
    EXPECT_EQ(unit.find('@' + std::string("CMAKE")), std::string::npos) << unit;
}

/// The values of the unit's lines that begin with `name` and a sign, in order.
std::vector<std::string> InUnit(const std::string& name) {
    std::ifstream in(CVHOST_BUILD_BIN_DIR "/../packaging/cvtagentd.service");
    std::vector<std::string> values;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with(name + "=")) {
            values.push_back(line.substr(name.size() + 1));
        }
    }
    return values;
}

/// The service manager ends a reload at the first command that fails.
TEST_F(ServiceTest, AReloadChecksTheServicesConfigurationBeforeItSignalsTheAgent) {
    const std::vector<std::string> commands = InUnit("ExecReload");
    ASSERT_EQ(commands.size(), 2U);
    std::smatch start;
    const std::string starts = InUnit("ExecStart").at(0);
    ASSERT_TRUE(std::regex_search(starts, start, std::regex("^(/[^ ]+/cvtagentd) .*--config (/[^ ]+) "))) << starts;
    EXPECT_EQ(commands[0], start.str(1) + " --check-config " + start.str(2));
    EXPECT_EQ(commands[1], "/bin/kill -HUP $MAINPID");

    const std::string good = "rwcommunity private 127.0.0.1\n";
    const std::string file = WriteConfig(good);
    const auto reload = [&] {
        const std::string check = std::regex_replace(commands[0], std::regex("^[^ ]+"), kAgentFile);
        const Outcome outcome =
            RunToEnd({"/bin/sh", "-c", std::regex_replace(check, std::regex("[^ ]+$"), file)}, m_scratch);
        if (outcome.status == 0) {
            Agent().Signal(SIGHUP);
        }
        return outcome.status;
    };
    StartWritable();
    WriteConfig("nonsense\n");
    EXPECT_NE(reload(), 0);
    EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    EXPECT_EQ(Log().find("configuration"), std::string::npos) << "the agent was not even asked: " << Log();
    WriteConfig(good);
    EXPECT_EQ(reload(), 0);
    EXPECT_TRUE(Agent().WaitForOutput("read the configuration " + file + " again")) << Log();
}

TEST_F(ServiceTest, TheUnitDoesNotRestartAnAgentThatWouldFailAgain) {
    EXPECT_EQ(InUnit("Restart"), std::vector<std::string>{"on-failure"});
    const std::string statuses = " " + InUnit("RestartPreventExitStatus").at(0) + " ";
    const auto isRestarted = [&](const Arguments& arguments) {
        const int status = RunAgent(arguments).status;
        EXPECT_NE(status, 0);
        return statuses.find(" " + std::to_string(status) + " ") == std::string::npos;
    };
    EXPECT_FALSE(isRestarted({"--frobnicate"}));
    EXPECT_FALSE(isRestarted(WithOwn({"--config", WriteConfig("nonsense\n")})));
    EXPECT_FALSE(isRestarted(WithOwn({"--config", WriteConfig("createUser me SHA\n")})));
    EXPECT_FALSE(isRestarted(WithOwn({"--module", m_scratch / "none"})));
    EXPECT_FALSE(isRestarted(WithOwn({"--user", "no-such-user"})));
    StartWritable();
    EXPECT_TRUE(isRestarted({"--listen", Udp(), "--module", kTestModule, "--state-dir", m_scratch.MakeFolder("new")}))
        << "the port may become free";
    EXPECT_TRUE(isRestarted(WithOwn({"--module", kTestModule}))) << "the other agent may end";
    const std::string damaged = m_scratch.MakeFolder("damaged");
    m_scratch.Write("damaged/cvtagentd.conf", "");
    EXPECT_FALSE(isRestarted({"--listen", Udp(), "--module", kTestModule, "--state-dir", damaged}));
}

TEST_F(ServiceTest, TheUnitRefusesEscapeRoutesAndLeavesTracingToTheOperator) {
    std::ifstream in(CVHOST_BUILD_BIN_DIR "/../packaging/cvtagentd.service");
    std::string refused;
    std::string allowed;
    for (std::string line; std::getline(in, line);) {
        const std::string filter = "SystemCallFilter=";
        if (line.starts_with(filter)) {
            const bool taken = line.starts_with(filter + "~");
            (taken ? refused : allowed) += " " + line.substr(filter.size() + (taken ? 1 : 0)) + " ";
        }
        if (line.starts_with("AmbientCapabilities=") || line.starts_with("CapabilityBoundingSet=")) {
            EXPECT_EQ(line.find("PTRACE"), std::string::npos) << line;
        }
    }
    for (const std::string call : {"ptrace", "process_vm_readv", "process_vm_writev", "pidfd_getfd", "kcmp", "@keyring",
                                   "@aio", "userfaultfd", "unshare", "setns"}) {
        EXPECT_NE(refused.find(" " + call + " "), std::string::npos) << call;
    }
    EXPECT_NE(allowed.find(" seccomp "), std::string::npos) << "--user needs it";
}

}  // namespace
}  // namespace agent_test
