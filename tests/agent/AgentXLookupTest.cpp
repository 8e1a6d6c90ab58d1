// A master whose host is given by name: the resolver may be slow or fail, or find another address each time.

#include <filesystem>
#include <string>

#include "tests/agent/AgentXTest.h"
#include "tests/agent/ScriptedMaster.h"
#include "tests/support/Sanitizers.h"

namespace agent_test {
namespace {

class AgentXLookupTest : public AgentXTest {
protected:
    void SetUp() override {
        if (kIsSanitized) {
            GTEST_SKIP() << "a sanitizer's own library must come before one that is preloaded";
        }
        m_master = "tcp:master.test:" + std::to_string(m_port);
    }

    void StartAgent(const std::string& until) {
        Start({"--module", kTestModule}, {"LD_PRELOAD=" CVHOST_SLOW_RESOLVER, "SLOW_RESOLVER=" + m_scratch.Path()},
              until);
    }
    std::string At(const std::string& host) const { return host + ":" + std::to_string(m_port); }
    void SetAddresses(const std::string& lines) const { m_scratch.Write("addresses", lines); }
    void HoldLookups() const { m_scratch.Write("wait", ""); }
    void LetLookupsGoOn() const { std::filesystem::remove(m_scratch / "wait"); }

    /// Waits for the beginning of a look-up, the first or another one.
    void WaitForLookups(int number) {
        for (int tries = 0; tries < 4000 && InLog(kLooksUp) < number; ++tries) {
            ::poll(nullptr, 0, 5);
        }
        ASSERT_GE(InLog(kLooksUp), number) << Log();
    }
    /// What the event loop does besides connecting.
    void ExpectLoopToTurn() {
        Agent().Signal(SIGHUP);
        EXPECT_TRUE(Agent().WaitForOutput("the configuration is read only at the start")) << Log();
    }
    static std::uint32_t LevelFrom(ScriptedMaster& master) {
        return master.GetNumber({1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0}, 1);
    }

    static constexpr const char* kLooksUp = "resolver: looks up";
    static constexpr int kSubtrees = 4;
};

TEST_F(AgentXLookupTest, StartsAndConnectsOnceTheNameIsFound) {
    ScriptedMaster master(At("127.0.0.1"));
    SetAddresses("127.0.0.1\n");
    HoldLookups();
    StartAgent("ready after");
    ExpectLoopToTurn();
    LetLookupsGoOn();
    master.TakeAgent(kSubtrees);
    EXPECT_EQ(LevelFrom(master), 1U);
    EXPECT_EQ(InLog("connected to the master at " + m_master), 1) << Log();
}

TEST_F(AgentXLookupTest, EndsWhileTheNameIsBeingLookedUp) {
    HoldLookups();
    StartAgent("ready after");
    WaitForLookups(1);
    const auto begin = std::chrono::steady_clock::now();
    ExpectCleanEnd();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(AgentXLookupTest, ASlowLookupIsReportedAndIsTheOnlyOne) {
    HoldLookups();
    StartAgent("no connection to the master at " + m_master +
               ": the name of its host is still being looked up; check the name servers");
    EXPECT_EQ(InLog(kLooksUp), 1) << Log();
    ExpectLoopToTurn();
}

TEST_F(AgentXLookupTest, ASlowLookupAfterTheLossOfTheMasterHoldsUpNothing) {
    ScriptedMaster master(At("127.0.0.1"));
    SetAddresses("127.0.0.1\n");
    StartAgent("ready after");
    master.TakeAgent(kSubtrees);
    HoldLookups();
    master.Disconnect();
    WaitForLookups(2);
    ExpectLoopToTurn();
    LetLookupsGoOn();
    master.TakeAgent(kSubtrees);
    EXPECT_EQ(LevelFrom(master), 1U);
}

TEST_F(AgentXLookupTest, AMasterThatMovesToAnotherAddressIsFound) {
    ScriptedMaster master(At("127.0.0.1"));
    SetAddresses("127.0.0.1\n");
    StartAgent("ready after");
    master.TakeAgent(kSubtrees);
    master.Stop();
    SetAddresses("127.0.0.2\n");
    master.ListenOnPort(At("127.0.0.2"));
    master.TakeAgent(kSubtrees);
    EXPECT_EQ(LevelFrom(master), 1U);
}

TEST_F(AgentXLookupTest, TheAddressesOfAHostAreTriedInTurn) {
    ScriptedMaster master(At("127.0.0.2"));
    SetAddresses("127.0.0.1\n127.0.0.2\n");
    StartAgent("ready after");
    master.TakeAgent(kSubtrees);
    EXPECT_EQ(LevelFrom(master), 1U);
}

TEST_F(AgentXLookupTest, AnUnknownNameIsNamedAndLookedUpAgain) {
    ScriptedMaster master(At("127.0.0.1"));
    StartAgent("no connection to the master at " + m_master +
               ": its host cannot be resolved; check the name and the name servers, ");
    WaitForLookups(2);
    SetAddresses("127.0.0.1\n");
    master.TakeAgent(kSubtrees);
    EXPECT_EQ(LevelFrom(master), 1U);
}

}  // namespace
}  // namespace agent_test
