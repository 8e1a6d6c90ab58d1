#include "CVT/TTimer.h"

#include <gtest/gtest.h>

#include <chrono>

namespace CVT {
namespace {

TEST(TTimer, SleepsAtLeastTheGivenTime) {
    TTimer timer;
    const auto start = std::chrono::steady_clock::now();
    timer.Sleep(30);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
    timer.Sleep(0);
}

}  // namespace
}  // namespace CVT
