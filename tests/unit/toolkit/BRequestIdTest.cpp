#include "CVT/BRequestId.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

namespace CVT {
namespace {

TEST(BRequestId, ReturnsEachIdentifierOnceAcrossThreads) {
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kEach = 5000;
    std::vector<std::vector<unsigned int>> given(kThreads);
    std::vector<std::thread> threads;
    for (std::vector<unsigned int>& mine : given) {
        threads.emplace_back([&mine] {
            for (std::size_t i = 0; i < kEach; ++i) {
                mine.push_back(BRequestId::Next());
            }
        });
    }
    std::set<unsigned int> all;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads[i].join();
        all.insert(given[i].begin(), given[i].end());
    }
    EXPECT_EQ(all.size(), kThreads * kEach);
    EXPECT_FALSE(all.contains(0U));
    EXPECT_FALSE(all.contains(0xFFFFFFFFU));
}

}  // namespace
}  // namespace CVT
