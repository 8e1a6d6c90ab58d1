// The shipped library on made-up hosts, each a folder of tests/host/made-up: a walk of the devices compared with the
// folder's file `walk`.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "tests/host/DeviceJoins.h"
#include "tests/host/MadeUpCalls.h"
#include "tests/host/WalkText.h"
#include "tests/support/HostTree.h"
#include "tests/support/MadeUpHostTest.h"

namespace {

std::string ContentOf(const std::string& file) {
    std::stringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

class MadeUpHosts : public MadeUpHostTest, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        m_tree = std::make_unique<HostTree>(*m_host, HostFolder(GetParam()));
        MadeUpCalls::Instance().Read(HostFolder(GetParam()) + "/figures");
        StartUp();
    }
    void TearDown() override {
        MadeUpHostTest::TearDown();
        MadeUpCalls::Instance().active = false;
    }

private:
    std::unique_ptr<HostTree> m_tree;
};

TEST_P(MadeUpHosts, HaveTheDevicesInTheirFiles) {
    EXPECT_EQ(WalkText(m_engine), ContentOf(HostFolder(GetParam()) + "/walk"));
}

TEST_P(MadeUpHosts, HaveExactlyOneRowForEachDeviceInTheTableForItsKind) { ExpectOneRowForEachDevice(m_engine); }

TEST_P(MadeUpHosts, HaveIndexesThatReferToRowsOrAreZero) { ExpectIndexesThatLeadToRows(m_engine); }

TEST_P(MadeUpHosts, KeepNoTemporaryFileAndSeeNoQueryOfARemoteFileSystem) {
    EXPECT_NE(::access(("/tmp/CVHost." + std::to_string(::getpid())).c_str(), F_OK), 0);
    const std::set<std::string> asked = MadeUpCalls::TakeAsked();
    for (const char* const remote : {"/home", "/mnt/share", "/mnt/again", "/mnt/old", "/mnt/nameless"}) {
        EXPECT_FALSE(std::string_view(GetParam()) == "remote" && asked.contains(remote)) << remote;
    }
}

INSTANTIATE_TEST_SUITE_P(All, MadeUpHosts,
                         testing::Values("board", "server", "workstation", "disks", "removable", "remote", "empty",
                                         "hostile"),
                         [](const testing::TestParamInfo<const char*>& host) { return std::string(host.param); });

}  // namespace
