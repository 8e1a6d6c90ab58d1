// A master that runs but no longer answers: the agent can still start and end.

#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <vector>

#include "tests/agent/AgentXTest.h"

namespace agent_test {
namespace {

sockaddr_un AddressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

class Sockets {
public:
    Sockets() = default;
    ~Sockets() {
        for (const int socket : m_sockets) {
            ::close(socket);
        }
    }
    Sockets(const Sockets&) = delete;
    Sockets& operator=(const Sockets&) = delete;

    /// A socket that listens, on which no connection is accepted.
    void Listen(const std::string& path) {
        const sockaddr_un address = AddressOf(path);
        const int socket = Open();
        ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(::listen(socket, 0), 0);
    }
    /// Connects until the queue is full, so that the next connect(2) blocks.
    void FillQueue(const std::string& path) {
        const sockaddr_un address = AddressOf(path);
        int failed = 0;
        for (int tries = 0; tries < 1000 && failed == 0; ++tries) {
            failed = ::connect(Open(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
        }
        ASSERT_EQ(failed, -1);
        ASSERT_EQ(errno, EAGAIN);
    }

private:
    int Open() {
        m_sockets.push_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        return m_sockets.back();
    }

    std::vector<int> m_sockets;
};

class AgentXHungMasterTest : public AgentXTest {
protected:
    /// Without the limit under test this never ends.
    void ExpectToEndSoon() {
        const auto begin = std::chrono::steady_clock::now();
        Agent().Signal(SIGTERM);
        for (int tries = 0; tries < 1000 && !Agent().HasEnded(); ++tries) {
            ::poll(nullptr, 0, 10);
        }
        if (!Agent().HasEnded()) {
            Agent().Signal(SIGKILL);
        }
        EXPECT_EQ(Agent().Wait(), 0) << Log();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
        EXPECT_TRUE(Log().ends_with("cvtagentd: ended\n")) << Log();
    }
};

TEST_F(AgentXHungMasterTest, StartsAndEndsWhileNoConnectionFitsIntoTheQueueOfTheMaster) {
    Sockets sockets;
    sockets.Listen(m_master);
    sockets.FillQueue(m_master);
    Start({"--module", kTestModule});
    ASSERT_TRUE(Agent().WaitForOutput("no connection to the master at " + m_master)) << Log();
    EXPECT_NE(Log().find("check whether it hangs"), std::string::npos) << Log();
    ExpectToEndSoon();
}

TEST_F(AgentXHungMasterTest, EndsSoonWhenTheMasterThatItIsConnectedToStops) {
    m_served = kValues + "1.0";
    StartBoth({"--module", kTestModule});
    Master().Signal(SIGSTOP);
    Sockets sockets;
    sockets.FillQueue(m_master);
    ASSERT_TRUE(Agent().WaitForOutput("lost the connection to the master")) << Log();
    ExpectToEndSoon();
}

TEST_F(AgentXHungMasterTest, EndsSoonWhenTheMasterHasJustStopped) {
    m_served = kValues + "1.0";
    StartBoth({"--module", kTestModule});
    Master().Signal(SIGSTOP);
    ExpectToEndSoon();
}

TEST_F(AgentXHungMasterTest, ServesAgainWhenTheMasterGoesOn) {
    m_served = kValues + "1.0";
    StartBoth({"--module", kTestModule});
    Master().Signal(SIGSTOP);
    {
        Sockets sockets;
        sockets.FillQueue(m_master);
        ASSERT_TRUE(Agent().WaitForOutput("lost the connection to the master")) << Log();
    }
    Master().Signal(SIGCONT);
    EXPECT_TRUE(Agent().WaitForOutput("connected again to the master")) << Log();
    EXPECT_TRUE(IsServed(m_served)) << Log();
}

TEST_F(AgentXHungMasterTest, ConnectsOnceThereIsAMasterThatAnswers) {
    m_served = kValues + "1.0";
    {
        Sockets sockets;
        sockets.Listen(m_master);
        sockets.FillQueue(m_master);
        Start({"--module", kTestModule});
        ASSERT_TRUE(Agent().WaitForOutput("no connection to the master at " + m_master)) << Log();
    }
    std::filesystem::remove(m_master);
    StartMaster();
    EXPECT_TRUE(IsServed(m_served)) << Log();
}

}  // namespace
}  // namespace agent_test
