#include "agent/cvtagentd/FloodGuard.h"

#include <gtest/gtest.h>

namespace agent_test {
namespace {

using agent::FloodGuard;
using std::chrono::seconds;

const FloodGuard::Clock::time_point kBegin{};

unsigned int Admitted(FloodGuard& guard, const std::string& kind, unsigned int messages, seconds at) {
    unsigned int admitted = 0;
    for (unsigned int i = 0; i < messages; ++i) {
        admitted += guard.Admit(kind, kBegin + at) ? 1U : 0U;
    }
    return admitted;
}

TEST(FloodGuard, LetsAFewMessagesOfAKindPassInAMinute) {
    FloodGuard guard;
    EXPECT_EQ(Admitted(guard, "kind", 1000, seconds(0)), FloodGuard::kLinesInAWindow);
    EXPECT_EQ(Admitted(guard, "kind", 1000, seconds(59)), 0U);
}

TEST(FloodGuard, AFloodOfOneKindHoldsNothingElseBack) {
    FloodGuard guard;
    Admitted(guard, "kind", 1000, seconds(0));
    EXPECT_EQ(Admitted(guard, "other", 1, seconds(0)), 1U);
}

TEST(FloodGuard, TellsWhatItHeldBackOnceTheMinuteIsOverAndBeginsAnew) {
    FloodGuard guard;
    Admitted(guard, "kind", 1000, seconds(0));
    Admitted(guard, "other", 2, seconds(0));
    EXPECT_TRUE(guard.IsHolding());
    EXPECT_TRUE(guard.TakeHeld(kBegin + seconds(59)).empty());
    const auto held = guard.TakeHeld(kBegin + seconds(60));
    ASSERT_EQ(held.size(), 1U);
    EXPECT_EQ(held[0].kind, "kind");
    EXPECT_EQ(held[0].count, 1000 - FloodGuard::kLinesInAWindow);
    EXPECT_FALSE(guard.IsHolding());
    EXPECT_EQ(Admitted(guard, "kind", 1000, seconds(60)), FloodGuard::kLinesInAWindow);
}

TEST(FloodGuard, HoldsNothingBackBelowTheLimit) {
    FloodGuard guard;
    Admitted(guard, "kind", FloodGuard::kLinesInAWindow, seconds(0));
    EXPECT_FALSE(guard.IsHolding());
    EXPECT_TRUE(guard.TakeHeld(kBegin + seconds(60)).empty());
}

}  // namespace
}  // namespace agent_test
