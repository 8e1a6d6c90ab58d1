// The agent behind an AgentX master: what clients of the master's can read.

#include <set>

#include "tests/agent/AgentXTest.h"

namespace agent_test {
namespace {

class AgentXReadTest : public AgentXTest {
protected:
};

TEST_F(AgentXReadTest, ServesThroughAUnixSocket) {
    StartBoth({"--module", kMainModule});
    EXPECT_TRUE(Get(kMemorySize).starts_with(kMemorySize + " = INTEGER: ")) << Get(kMemorySize);
    EXPECT_EQ(InLog("connected to the master at " + m_master), 1) << Log();
}

TEST_F(AgentXReadTest, ServesThroughTcp) {
    m_master = "tcp:127.0.0.1:" + std::to_string(FreePort());
    StartBoth({"--module", kMainModule});
    EXPECT_TRUE(Get(kMemorySize).starts_with(kMemorySize + " = INTEGER: ")) << Get(kMemorySize);
    EXPECT_EQ(InLog("connected to the master at " + m_master), 1) << Log();
}

}  // namespace
}  // namespace agent_test
