#include "agent/cvtagentd/process/RateLimit.h"

#include <gtest/gtest.h>

namespace agent_test {
namespace {

using cvtagentd::RateLimit;
using std::chrono::seconds;

const RateLimit::Clock::time_point kBegin{};

unsigned int Admitted(RateLimit& guard, const std::string& kind, unsigned int messages, seconds at) {
    unsigned int admitted = 0;
    for (unsigned int i = 0; i < messages; ++i) {
        admitted += guard.Admit(kind, kBegin + at) ? 1U : 0U;
    }
    return admitted;
}

TEST(RateLimit, AllowsAFewMessagesOfEachKindPerMinute) {
    RateLimit guard;
    EXPECT_EQ(Admitted(guard, "kind", 1000, seconds(0)), RateLimit::kLinesInAWindow);
    EXPECT_EQ(Admitted(guard, "kind", 1000, seconds(59)), 0U);
}

TEST(RateLimit, AFloodOfOneKindSuppressesNothingElse) {
    RateLimit guard;
    Admitted(guard, "kind", 1000, seconds(0));
    EXPECT_EQ(Admitted(guard, "other", 1, seconds(0)), 1U);
}

TEST(RateLimit, ReportsWhatItSuppressedAfterTheMinuteAndStartsAgain) {
    RateLimit guard;
    Admitted(guard, "kind", 1000, seconds(0));
    Admitted(guard, "other", 2, seconds(0));
    EXPECT_TRUE(guard.IsHolding());
    EXPECT_TRUE(guard.TakeHeld(kBegin + seconds(59)).empty());
    const auto held = guard.TakeHeld(kBegin + seconds(60));
    ASSERT_EQ(held.size(), 1U);
    EXPECT_EQ(held[0].kind, "kind");
    EXPECT_EQ(held[0].count, 1000 - RateLimit::kLinesInAWindow);
    EXPECT_FALSE(guard.IsHolding());
    EXPECT_EQ(Admitted(guard, "kind", 1000, seconds(60)), RateLimit::kLinesInAWindow);
}

TEST(RateLimit, SuppressesNothingBelowTheLimit) {
    RateLimit guard;
    Admitted(guard, "kind", RateLimit::kLinesInAWindow, seconds(0));
    EXPECT_FALSE(guard.IsHolding());
    EXPECT_TRUE(guard.TakeHeld(kBegin + seconds(60)).empty());
}

}  // namespace
}  // namespace agent_test
