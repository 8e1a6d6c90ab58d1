// The module's warnings to operators: in the agent's log, and on cvtwalk's standard error.

#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

#include "tests/agent/AgentTest.h"
#include "tests/support/MadeUpHost.h"

namespace agent_test {
namespace {

const std::string kStorage = ".1.3.6.1.2.1.25.2.3.1.";

class ModuleWarningsTest : public AgentTest {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible() || ::geteuid() != 0) {
            GTEST_SKIP() << "only root may mount file systems here";
        }
        m_host = std::make_unique<MadeUpHost>();
    }

    void StartHere() { Start({"--module", kMainModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n")}); }
    /// How often the log has the text, after two walks of the storage table.
    int TimesSaid(const std::string& text) const {
        V2c("snmpwalk", {kStorage + "3"});
        V2c("snmpwalk", {kStorage + "6"});
        const std::string log = Log();
        int times = 0;
        for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
            ++times;
        }
        return times;
    }

    std::unique_ptr<MadeUpHost> m_host;
};

TEST_F(ModuleWarningsTest, AMissingMountTableIsReported) {
    m_host->Empty("/etc");
    StartHere();
    EXPECT_EQ(TimesSaid("cvtagentd: warning: /etc/mtab cannot be read (No such file or directory)"), 1) << Log();
    const Outcome walk = RunToEnd({CVHOST_BUILD_BIN_DIR "/cvtwalk", "hrStorageDescr"}, m_scratch);
    EXPECT_NE(walk.output.find("cvtwalk: warning: /etc/mtab cannot be read"), std::string::npos) << walk.output;
    EXPECT_EQ(walk.status, 0);
}

TEST_F(ModuleWarningsTest, AMountPointThatMayNotBeReadIsNamed) {
    const std::string closed = m_host->Directory() + "/closed";
    const std::string mounted = closed + "/a\nb";
    std::filesystem::create_directories(mounted);
    ASSERT_EQ(::mount("none-of-ours", mounted.c_str(), "ramfs", 0, nullptr), 0);
    ASSERT_EQ(::chown(closed.c_str(), 65534, 65534), 0);
    std::filesystem::permissions(closed, std::filesystem::perms(0700));
    // The folder belongs to another user, and root's right to enter it all the same is dropped.
    m_command = Arguments{"/usr/bin/setpriv", "--bounding-set=-dac_override,-dac_read_search"} + m_command;
    StartHere();
    EXPECT_EQ(TimesSaid("cvtagentd: warning: " + closed + "/a b may not be looked at (Permission denied)"), 1) << Log();
    ExpectCleanEnd();
    ::umount2(mounted.c_str(), MNT_DETACH);
}

}  // namespace
}  // namespace agent_test
