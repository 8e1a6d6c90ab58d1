#include "groups/common/RareWarning.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

TEST(RareWarning, IsOneLineOfPrintableText) {
    RareWarning warning;
    testing::internal::CaptureStderr();
    warning.Say("no disk at /mnt/\n\x1B[31m\xFF; mount it");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "libCVHost: warning: no disk at /mnt/??[31m?; mount it\n");
}

TEST(RareWarning, IsSaidOnceThoughManyThreadsSayItAndEachMatterForItself) {
    RareWarning first;
    RareWarning second;
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { first.Say("first"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    second.Say("second");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "libCVHost: warning: first\nlibCVHost: warning: second\n");
}

}  // namespace
