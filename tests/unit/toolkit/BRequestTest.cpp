#include "CVT/BRequest.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <set>
#include <vector>

namespace CVT {
namespace {

TEST(BRequest, IsLiveUntilItIsDestroyedInWhateverOrder) {
    std::mt19937 random(5);
    std::vector<std::unique_ptr<BRequest>> live;
    std::set<unsigned int> ended;
    for (int round = 0; round < 500; ++round) {
        if (live.empty() || random() % 3 != 0) {
            live.push_back(std::make_unique<BRequest>());
        } else {
            const auto place = live.begin() + static_cast<std::ptrdiff_t>(random() % live.size());
            ended.insert((*place)->Id());
            live.erase(place);
        }
        for (const auto& request : live) {
            EXPECT_TRUE(BRequest::IsLive(request->Id()));
        }
        for (const unsigned int id : ended) {
            EXPECT_FALSE(BRequest::IsLive(id));
        }
    }
}

}  // namespace
}  // namespace CVT
