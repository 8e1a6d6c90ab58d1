// A master whose connection ends after any octet, that comes back again and again, or that never answers.
//
// A short run by default. Environment variables turn it into a campaign:
//   CVHOST_AGENTX_CUTS      how many connections are cut off
//   CVHOST_AGENTX_RESTARTS  how often the master is started again

#include <chrono>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/agent/AgentXTest.h"
#include "tests/agent/Dice.h"
#include "tests/agent/ScriptedMaster.h"
#include "tests/support/Sanitizers.h"

namespace agent_test {
namespace {

using Master = ScriptedMaster;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class AgentXCutTest : public AgentXTest {
protected:
    void StartAgent() { Start({"--module", kTestModule}, {"AGENT_TEST_MODULE=count"}, ""); }

    /// From the agent's first octet until it has served each kind of request.
    void Converse() {
        m_script.TakeAgent(kSubtrees);
        m_script.SendGet(kLevel, ++m_transaction);
        EXPECT_EQ(m_script.ReadError(), 0);
        EXPECT_EQ(m_script.Ask(Master::kGetNext, ++m_transaction, Master::Range(kLevel) + Master::Range(kInner)), 0);
        EXPECT_EQ(m_script.Ask(Master::kGetBulk, ++m_transaction,
                               Master::kHostOrder.Short(0) + Master::kHostOrder.Short(5) + Master::Range(kInner)),
                  0);
        Set(Master::kCommitSet, Master::kCleanupSet);
        Set(Master::kCommitSet, Master::kUndoSet);
        Set(Master::kCleanupSet, {});
        ExpectNoCells();
    }
    void Set(Master::Type after, std::optional<Master::Type> last) {
        ++m_transaction;
        EXPECT_EQ(m_script.Ask(Master::kTestSet, m_transaction,
                               Master::IntegerVarBind(kLevel, 7) + Master::IntegerVarBind(kInner, 8)),
                  0);
        Phase(after);
        if (last) {
            Phase(*last);
        }
    }
    void Phase(Master::Type type) {
        m_script.Send(type, m_transaction);
        if (type != Master::kCleanupSet) {  // which has no answer
            EXPECT_EQ(m_script.ReadError(), 0);
        }
    }
    /// Every undo cell is released, although that may take a moment: nothing answers a CleanupSet.
    void ExpectNoCells() {
        std::string cells;
        for (int tries = 0; tries < 2000 && cells != "0 cells"; ++tries) {
            cells = m_script.GetText(kRecord, ++m_transaction);
        }
        EXPECT_EQ(cells, "0 cells");
    }

    /// Whether the whole conversation took place.
    bool TryToConverse() {
        try {
            Converse();
            return true;
        } catch (const Master::Disconnected&) {
            return false;
        }
    }

    static constexpr int kSubtrees = 4;
    const Master::Oid kLevel{1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0};
    const Master::Oid kRecord{1, 3, 6, 1, 4, 1, 32473, 2, 1, 10, 0};
    const Master::Oid kInner{1, 3, 6, 1, 4, 1, 32473, 2, 2, 3, 1, 2, 1};
    ScriptedMaster m_script{m_master};
    std::uint32_t m_transaction = 0;
};

TEST_F(AgentXCutTest, AMasterThatGoesAfterAnyOctetLeavesNothingBehind) {
    StartAgent();
    m_script.CutNever();
    Converse();
    const std::size_t whole = m_script.NumOctets();
    m_script.Disconnect();
    const std::size_t cuts = Setting("CVHOST_AGENTX_CUTS", kIsSanitized ? 8 : 20);
    const std::size_t shift = static_cast<std::size_t>(::getpid());  // other places in each run
    for (std::size_t cut = 0; cut < cuts; ++cut) {
        const std::size_t place = (cut * whole / cuts + shift) % whole;
        SCOPED_TRACE("cut off after octet " + std::to_string(place));
        m_script.CutAfter(place);
        TryToConverse();
        m_script.Disconnect();
        ASSERT_FALSE(HasFailure()) << Log();
        if (cut % 100 == 99) {
            std::cout << cut + 1 << " connections cut off\n" << std::flush;
        }
    }
    m_script.CutNever();
    m_script.TakeAgent(kSubtrees);
    ExpectNoCells();
    m_script.Disconnect();
    EXPECT_TRUE(TryToConverse()) << Log();
}

TEST_F(AgentXCutTest, IsServedAgainWithinTwoSecondsOfTheMastersReturn) {
    StartAgent();
    m_script.TakeAgent(kSubtrees);
    milliseconds slowest{0};
    const std::uint64_t restarts = Setting("CVHOST_AGENTX_RESTARTS", 4);
    for (std::uint64_t restart = 0; restart < restarts; ++restart) {
        m_script.Stop();
        std::this_thread::sleep_for(milliseconds(700 * (restart % 8)));  // long enough for attempts that fail
        const auto begin = Clock::now();
        m_script.Listen();
        m_script.TakeAgent(kSubtrees);
        m_script.SendGet(kLevel, ++m_transaction);
        EXPECT_EQ(m_script.ReadError(), 0);
        const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
        EXPECT_LT(took.count(), kIsSanitized ? 6000 : 2000) << "restart " << restart;
        slowest = std::max(slowest, took);
    }
    std::cout << "served again after " << slowest.count() << " ms at the latest\n";
}

/// The distribution's master does so every second, and closes the session when too many are not answered in time.
TEST_F(AgentXCutTest, ARequestThatAnImpatientMasterRepeatsIsAnsweredOnce) {
    const Master::Oid sleeper{1, 3, 6, 1, 4, 1, 32473, 3, 7, 1, 1, 1};
    Start({"--module", kReadModule}, {"READ_TEST_SLEEPER=300"}, "");
    m_script.TakeAgent(1);
    constexpr std::uint32_t kPacket = 4711;
    for (int times = 0; times < 3; ++times) {
        m_script.SendOctets(
            Master::kHostOrder.Message({1, Master::kGet, 0, Master::kSession, 1, kPacket}, Master::Range(sleeper)));
    }
    m_script.SendOctets(
        Master::kHostOrder.Message({1, Master::kGet, 0, Master::kSession, 2, kPacket + 1}, Master::Range(sleeper)));
    int answers = 0;
    for (std::uint32_t packet = 0; packet != kPacket + 1;) {  // the last one is read after all the others
        const auto message = m_script.Receive(20000);
        ASSERT_TRUE(message.has_value()) << Log();
        m_script.Answer(*message);
        packet = message->type == Master::kResponse ? message->packet : 0;
        answers += packet == kPacket ? 1 : 0;
    }
    EXPECT_EQ(answers, 1);
}

/// How far a master goes before it stops to answer.
enum class Stage { kNothing, kAccepted, kOpened, kRegistered, kAsked };

class AgentXSilentMasterTest : public AgentXCutTest, public ::testing::WithParamInterface<Stage> {
protected:
    void GoTo(Stage stage) {
        if (stage == Stage::kNothing) {
            ASSERT_TRUE(Agent().WaitForOutput("ready after")) << Log();
        } else if (stage < Stage::kRegistered) {
            m_script.Accept();
            const auto open = m_script.Receive(20000);
            ASSERT_TRUE(open.has_value()) << Log();
            if (stage == Stage::kOpened) {
                m_script.Answer(*open);
                ASSERT_TRUE(m_script.Receive(20000).has_value()) << Log();
            }
        } else {
            m_script.TakeAgent(kSubtrees);
            if (stage == Stage::kAsked) {
                EXPECT_EQ(m_script.Ask(Master::kTestSet, 1, Master::IntegerVarBind(kLevel, 7)), 0);
            }
        }
    }
};

TEST_P(AgentXSilentMasterTest, DoesNotDelayTheEnd) {
    StartAgent();
    GoTo(GetParam());
    const auto begin = Clock::now();
    ExpectCleanEnd();
    EXPECT_LT(std::chrono::duration_cast<milliseconds>(Clock::now() - begin).count(), 2000) << Log();
}

std::string NameOf(const ::testing::TestParamInfo<Stage>& stage) {
    constexpr const char* kNames[] = {"BeforeItAccepts", "BeforeItOpens", "BeforeItRegisters", "OnceRegistered",
                                      "InTheMiddleOfASet"};
    return kNames[static_cast<int>(stage.param)];
}

INSTANTIATE_TEST_SUITE_P(Stages, AgentXSilentMasterTest,
                         ::testing::Values(Stage::kNothing, Stage::kAccepted, Stage::kOpened, Stage::kRegistered,
                                           Stage::kAsked),
                         NameOf);

}  // namespace
}  // namespace agent_test
