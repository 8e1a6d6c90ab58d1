// Whom hosts.allow and hosts.deny let in.

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
            GTEST_SKIP() << "this machine gives no mount namespace";
        }
        if (!std::filesystem::exists("/etc/hosts.allow") || !std::filesystem::exists(kDenied)) {
            GTEST_SKIP() << "this machine has no hosts.allow or hosts.deny to lay a file over";
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
    /// As soon as a change of the files binds.
    static void WaitForTheNextLook() { ::poll(nullptr, 0, 1'100); }

    std::unique_ptr<MadeUpHost> m_host;
};

TEST_F(HostAccessTest, ARefusedAddressGetsNoAnswerAtTheFirstTryNorAtALaterOne) {
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_FALSE(IsAnswered("127.0.0.77"));
    EXPECT_FALSE(IsAnswered("127.0.0.77"));
    EXPECT_TRUE(IsAnswered("127.0.0.1"));
    EXPECT_TRUE(IsAnswered("127.0.0.1", "tcp"));
}

TEST_F(HostAccessTest, AChangedFileBindsWithinASecond) {
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
