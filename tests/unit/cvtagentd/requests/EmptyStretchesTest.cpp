#include "agent/cvtagentd/requests/EmptyStretches.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace cvtagentd {
namespace {

CVT::BObjectIdentifier Name(unsigned int number) {
    const std::vector<unsigned int> arcs = {1, number / 4, number % 4};
    return CVT::BObjectIdentifier(arcs);
}

TEST(EmptyStretches, SkipToTheEndOfWhatHasBeenAddedAndNoFarther) {
    constexpr unsigned int kNames = 60;
    std::mt19937 random(7);  // NOLINT(cert-msc51-cpp): because a failure must come again
    for (int round = 0; round < 300; ++round) {
        EmptyStretches stretches;
        std::vector<bool> empty(kNames + 1, false);
        for (int added = 0; added < 12; ++added) {
            const unsigned int begin = static_cast<unsigned int>(random() % (kNames - 1));
            const unsigned int last =
                begin + 1 + static_cast<unsigned int>(random() % std::min(8U, kNames - 1 - begin));
            stretches.Add(Name(begin), Name(last));
            std::fill(empty.begin() + begin + 1, empty.begin() + last + 1, true);
            for (unsigned int from = 0; from < kNames; ++from) {
                unsigned int expected = from;
                while (empty[expected + 1]) {
                    ++expected;
                }
                CVT::BObjectIdentifier name = Name(from);
                stretches.Skip(name);
                ASSERT_EQ(name, Name(expected)) << "from " << from << " in round " << round;
            }
        }
        EXPECT_LE(stretches.Size(), 12U);
    }
}

}  // namespace
}  // namespace cvtagentd
