// Which addresses hosts.allow and hosts.deny admit.

#include <filesystem>

#include "tests/agent/AgentTest.h"
#include "tests/support/MadeUpHost.h"

namespace agent_test {
namespace {

constexpr const char* kSysUpTime = ".1.3.6.1.2.1.1.3.0";
constexpr const char* kDenied = "/etc/hosts.deny";

class HostAccessTest : public AgentTest {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "no mount namespace on this machine";
        }
        if (!std::filesystem::exists("/etc/hosts.allow") || !std::filesystem::exists(kDenied)) {
            GTEST_SKIP() << "no hosts.allow or hosts.deny on this machine to mount a file over";
        }
        m_host = std::make_unique<MadeUpHost>();
        m_host->Cover("/etc/hosts.allow", "");
        m_host->Cover(kDenied, "ALL: 127.0.0.77\n");
        Start({"--module", kTestModule, "--listen", "tcp:127.0.0.1:" + std::to_string(m_port), "--config",
               WriteConfig("rocommunity private 127.0.0.0/8\n")});
    }
    void TearDown() override {
        AgentTest::TearDown();
        m_host.reset();
    }

    bool IsAnswered(const std::string& from, const std::string& transport = "udp") const {
        return Client("snmpget", {"-v2c", "-c", "private", "-t", "0.5", "-r", "1", "--clientaddr=" + from,
                                  transport + ":127.0.0.1:" + std::to_string(m_port), kSysUpTime})
                   .status == 0;
    }
    /// Once a change of the files takes effect.
    static void WaitForTheNextLook() { ::poll(nullptr, 0, 1'100); }

    std::unique_ptr<MadeUpHost> m_host;
};

TEST_F(HostAccessTest, ARefusedAddressGetsNoAnswerOnTheFirstOrALaterTry) {
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_FALSE(IsAnswered("127.0.0.77"));
    EXPECT_FALSE(IsAnswered("127.0.0.77"));
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_TRUE(IsAnswered("127.0.0.1", "tcp"));
}

TEST_F(HostAccessTest, AChangedFileTakesEffectWithinASecond) {
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_TRUE(IsAnswered("127.0.0.1", "tcp"));
    EXPECT_FALSE(IsAnswered("127.0.0.77"));
    m_host->Cover(kDenied, "ALL: 127.0.0.1\n");
    WaitForTheNextLook();
    EXPECT_FALSE(IsAnswered("127.0.0.1"));
    EXPECT_FALSE(IsAnswered("127.0.0.1", "tcp"));
    EXPECT_TRUE(IsAnswered("127.0.0.77"));
}

}  // namespace
}  // namespace agent_test
