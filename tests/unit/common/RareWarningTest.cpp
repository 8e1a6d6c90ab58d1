#include "groups/common/RareWarning.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/support/ReceivedWarnings.h"

namespace {

TEST(RareWarning, IsIssuedOnceByManyThreadsAndSeparatelyForEachProblem) {
    ReceivedWarnings warnings;
    RareWarning first;
    RareWarning second;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { first.Say("first"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    second.Say("second");
    EXPECT_EQ(warnings.Take(), (std::vector<std::string>{"first", "second"}));
}

}  // namespace
