// Commands that a module starts inherit no descriptor of the agent, of the SNMP library, or of the process that started
// the agent. The host's clock is never set: the agent finds only a stand-in for `date`.

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "tests/agent/AgentTest.h"
#include "tests/support/MadeUpHost.h"

namespace agent_test {
namespace {

class DescriptorsTest : public AgentTest {
protected:
    void SetUp() override {
        if (::geteuid() != 0 || !MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "needs root and a mount namespace";
        }
        m_host = std::make_unique<MadeUpHost>();
        m_host->Cover("/usr/bin/date", "");  // as a last resort: not even executable
        m_host->Empty("/dev");               // where the command that sets the clock makes a file
        if (!MakeDevice("null", 3) || !MakeDevice("urandom", 9)) {
            GTEST_SKIP() << "cannot make device nodes";
        }
        m_scratch.MakeFolder("commands");
        for (const char* const name : {"date", "mount", "dmesg"}) {
            const std::string file = m_scratch.Write(
                "commands/" + std::string(name),
                "#!/bin/sh\nexec >" + Record(name) + "\nfor file in /proc/$$/fd/*; do readlink \"$file\"; done\n");
            std::filesystem::permissions(file, std::filesystem::perms(0755));
        }
    }
    void TearDown() override {
        AgentTest::TearDown();
        m_host.reset();
    }

    std::string Record(const std::string& command) const { return m_scratch / (command + ".found"); }

    /// Expects that the command was run, and found only its own files open.
    void ExpectNothingOfOurs(const std::string& command) const {
        std::ifstream in(Record(command));
        const std::string found{std::istreambuf_iterator<char>(in), {}};
        EXPECT_NE(found.find(Record(command)), std::string::npos) << command << ": " << found;
        for (const char* const open : {"pipe:", "socket:", "anon_inode:", ".lock", "/mounts", "inherited"}) {
            EXPECT_EQ(found.find(open), std::string::npos) << command << ": " << found;
        }
    }

    std::unique_ptr<MadeUpHost> m_host;

private:
    static bool MakeDevice(const std::string& name, unsigned int minor) {
        return ::mknod(("/dev/" + name).c_str(), S_IFCHR | 0666, ::makedev(1, minor)) == 0;
    }
};

TEST_F(DescriptorsTest, ACommandThatAModuleStartsInheritsNoDescriptors) {
    const std::string inherited = m_scratch.Write("inherited", "");
    const int left = ::open(inherited.c_str(), O_RDONLY);  // left open by the process that starts the agent
    ASSERT_GT(left, STDERR_FILENO);
    Start({"--module", kMainModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n"), "--listen",
           "tcp:127.0.0.1:" + std::to_string(m_port), "--listen", "unix:" + (m_scratch / "socket")},
          {"PATH=" + (m_scratch / "commands") + ":/usr/bin:/bin"});
    ::close(left);
    const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(m_port));
    ASSERT_EQ(::connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    const Outcome outcome = Set({".1.3.6.1.2.1.25.1.2.0", "x", "07EA0B150D393800"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    ::close(connection);
    for (const char* const command : {"mount", "dmesg", "date"}) {
        ExpectNothingOfOurs(command);
    }
}

}  // namespace
}  // namespace agent_test
