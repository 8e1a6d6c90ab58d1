// A mounted file system that stops answering holds up the requests that read it and no others.

#include <filesystem>

#include "tests/agent/AgentTest.h"
#include "tests/support/FuseServer.h"
#include "tests/support/MadeUpHost.h"

namespace agent_test {
namespace {

const std::string kStorage = ".1.3.6.1.2.1.25.2.3.1.";

class SilentMountTest : public AgentTest {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine gives no mount namespace";
        }
        if (const std::string missing = FuseServer::Missing(); !missing.empty() || ::geteuid() != 0) {
            GTEST_SKIP() << (missing.empty() ? "only root may serve a file system here" : missing);
        }
        m_host = std::make_unique<MadeUpHost>();
        const std::string directory = m_host->Directory() + "/share";
        std::filesystem::create_directory(directory);
        m_server = std::make_unique<FuseServer>(directory);
        Start({"--module", kMainModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n")});
        std::istringstream rows(V2c("snmpwalk", {kStorage + "3"}).output);
        for (std::string line; std::getline(rows, line);) {
            if (line.find('"' + directory + '"') != std::string::npos) {
                m_row = line.substr(kStorage.size() + 2, line.find(' ') - kStorage.size() - 2);
            }
        }
        ASSERT_NE(m_row, "");
    }
    void TearDown() override {
        m_server.reset();  // the calls that the agent has abandoned return
        AgentTest::TearDown();
    }

    std::unique_ptr<MadeUpHost> m_host;
    std::unique_ptr<FuseServer> m_server;
    std::string m_row;
};

TEST_F(SilentMountTest, TheUptimeIsToldAllTheWhileThatItIsWalked) {
    m_server->FallSilent();
    const int requests = m_server->SpaceRequests();
    Program walk({"snmpbulkwalk", "-On", "-v2c", "-c", "private", "-t", "20", "-r", "0", Udp(), kStorage + "6"},
                 m_scratch / "walk", {"MIBS=", "SNMPCONFPATH=" + m_scratch.Path()});
    while (m_server->SpaceRequests() == requests && !walk.HasEnded()) {
        ::poll(nullptr, 0, 1);
    }
    int answers = 0;
    while (!walk.HasEnded()) {
        EXPECT_EQ(V2c("snmpget", {".1.3.6.1.2.1.25.1.1.0"}).status, 0);
        ++answers;
    }
    EXPECT_EQ(walk.Wait(), 0);
    EXPECT_NE(walk.Output().find(kStorage + "6." + m_row + " = INTEGER: 600\n"), std::string::npos) << walk.Output();
    EXPECT_GT(answers, 2) << "in the second that it takes to give a file system up";
}

TEST_F(SilentMountTest, ItsNewFiguresReachWhoHasAskedWhenItAnswersLate) {
    m_server->FallSilent();
    m_server->SetFree(100);
    const int requests = m_server->SpaceRequests();
    Program get({"snmpget", "-On", "-v2c", "-c", "private", "-t", "20", "-r", "0", Udp(), kStorage + "6." + m_row},
                m_scratch / "get", {"MIBS=", "SNMPCONFPATH=" + m_scratch.Path()});
    while (m_server->SpaceRequests() == requests && !get.HasEnded()) {
        ::poll(nullptr, 0, 1);
    }
    m_server->Resume();
    EXPECT_EQ(get.Wait(), 0);
    EXPECT_EQ(get.Output(), kStorage + "6." + m_row + " = INTEGER: 900\n");
}

}  // namespace
}  // namespace agent_test
