#include "module/InitThread.h"

#include <gtest/gtest.h>

#include "module/EntryPoints.h"

namespace {

TEST(InitThread, SetsReadyEvenWithoutAModule) {
    ASSERT_EQ(gpCVHost, nullptr);
    InitThread::Launch();
    EXPECT_TRUE(CVT::TThread::WaitForSelfDeleting(10'000));
    EXPECT_TRUE(InitThread::HasFinished());
    EXPECT_TRUE(gbReady.load());
    EXPECT_EQ(CVxExtAgentClose(), 1);
}

}  // namespace
