#include "CVT/BPatience.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using CVT::BPatience;

TEST(BPatience, HasNoEndUnlessSomebodySetsOne) {
    EXPECT_EQ(BPatience::Left(), CVT::kWaitForever);
    BPatience::GiveUp();  // says it to nobody
    EXPECT_EQ(BPatience::Left(), CVT::kWaitForever);
}

TEST(BPatience, EndsAfterItsTimeAndStaysAtItsEnd) {
    const BPatience patience(20);
    EXPECT_LE(BPatience::Left(), 20U);
    while (BPatience::Left() > 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(BPatience::Left(), 0U);
    EXPECT_FALSE(patience.HasGivenUp()) << "as long as nobody says so";
}

TEST(BPatience, ALongInnerOneAllowsNoMoreThanTheOuterOne) {
    const BPatience outer(0);
    {
        const BPatience inner(60'000);
        EXPECT_EQ(BPatience::Left(), 0U);
        BPatience::GiveUp();
        EXPECT_TRUE(inner.HasGivenUp());
    }
    EXPECT_FALSE(outer.HasGivenUp()) << "the inner call was asked";
}

TEST(BPatience, TheOuterOneHoldsAgainAfterTheInnerOne) {
    {
        const BPatience outer(60'000);
        { const BPatience inner(0); }
        EXPECT_GT(BPatience::Left(), 0U);
        BPatience::GiveUp();
        EXPECT_TRUE(outer.HasGivenUp());
    }
    EXPECT_EQ(BPatience::Left(), CVT::kWaitForever);
}

TEST(BPatience, BindsItsOwnThreadAlone) {
    const BPatience patience(0);
    unsigned int elsewhere = 0;
    std::thread([&] {
        elsewhere = BPatience::Left();
        BPatience::GiveUp();
    }).join();
    EXPECT_EQ(elsewhere, CVT::kWaitForever);
    EXPECT_FALSE(patience.HasGivenUp());
}

}  // namespace
