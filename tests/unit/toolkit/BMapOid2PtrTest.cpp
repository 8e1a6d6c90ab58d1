#include "CVT/BMapOid2Ptr.h"

#include <gtest/gtest.h>

#include <array>
#include <iterator>
#include <map>
#include <random>
#include <vector>

namespace CVT {
namespace {

using Model = std::map<BObjectIdentifier, void*>;

BObjectIdentifier Key(const char* dotted) { return BObjectIdentifier(BString(dotted)); }

/// Mostly short keys of few arcs, so that many coincide, and an occasional long one.
BObjectIdentifier RandomKey(std::mt19937& random) {
    static constexpr std::array<unsigned int, 6> kArcs = {0, 1, 2, 300, 4294967294U, 4294967295U};
    BObjectIdentifier key;
    const std::size_t length = random() % 50 == 0 ? 30 + random() % 99 : random() % 5;
    for (std::size_t i = 0; i < length; ++i) {
        EXPECT_TRUE(key.Append(kArcs[random() % kArcs.size()]));
    }
    return key;
}

void ExpectTheSameOrder(const BMapOid2Ptr& map, const Model& model) {
    ASSERT_EQ(map.GetCount(), model.size());
    unsigned int position = 0;
    for (const auto& [key, data] : model) {
        EXPECT_EQ(map.KeyAt(position), key);
        EXPECT_EQ(map.DataAt(position), data);
        ++position;
    }
    EXPECT_EQ(map.DataAt(position), nullptr);
}

void ExpectTheSameNext(const BMapOid2Ptr& map, const Model& model, const BObjectIdentifier& key) {
    const BObjectIdentifier untouched = Key("9.9.9");
    BObjectIdentifier next = untouched;
    const auto expected = model.upper_bound(key);
    const bool found = map.Next(key, next);
    EXPECT_EQ(found, expected != model.end());
    EXPECT_EQ(next, found ? expected->first : untouched);
}

class BMapOid2PtrModel : public testing::TestWithParam<unsigned int> {};

TEST_P(BMapOid2PtrModel, AgreesWithAStandardMapThroughRandomOperations) {
    std::mt19937 random(GetParam());
    std::vector<int> targets(1000);
    BMapOid2Ptr map;
    Model model;
    for (int step = 0; step < 20000; ++step) {
        const BObjectIdentifier key = RandomKey(random);
        void* const data = &targets[random() % targets.size()];
        switch (random() % 8) {
            case 0:
            case 1:
            case 2: EXPECT_EQ(map.Insert(key, data), model.emplace(key, data).second); break;
            case 3:
            case 4: EXPECT_EQ(map.Remove(key), model.erase(key) != 0); break;
            case 5: {
                const auto at = model.find(key);
                EXPECT_EQ(map.GetData(key), at == model.end() ? nullptr : at->second);
                break;
            }
            default: ExpectTheSameNext(map, model, key);
        }
        if (step % 500 == 0) {
            ExpectTheSameOrder(map, model);
        }
        ASSERT_FALSE(HasFailure()) << "step " << step << ", key " << key.ToString().c_str();
    }
    ExpectTheSameOrder(map, model);
}

INSTANTIATE_TEST_SUITE_P(Seeds, BMapOid2PtrModel, testing::Values(1U, 2U, 20240611U));

TEST(BMapOid2Ptr, IsEmptyAtFirst) {
    BMapOid2Ptr map;
    BObjectIdentifier next(5U);
    EXPECT_EQ(map.GetCount(), 0U);
    EXPECT_EQ(map.DataAt(0), nullptr);
    EXPECT_EQ(map.GetData(Key("1")), nullptr);
    EXPECT_FALSE(map.Remove(Key("1")));
    EXPECT_FALSE(map.Next(BObjectIdentifier(), next));
    EXPECT_EQ(next, BObjectIdentifier(5U));
}

TEST(BMapOid2Ptr, ReturnsTheFirstKeyAfterTheEmptyKey) {
    int row = 0;
    BMapOid2Ptr map;
    EXPECT_TRUE(map.Insert(Key("7"), &row));
    EXPECT_TRUE(map.Insert(Key("0"), &row));
    BObjectIdentifier next;
    EXPECT_TRUE(map.Next(BObjectIdentifier(), next));
    EXPECT_EQ(next, Key("0"));
}

TEST(BMapOid2Ptr, ReturnsTheNextKeyAfterAnAbsentOne) {
    int row = 0;
    BMapOid2Ptr map;
    for (const char* key : {"1", "1.5", "3", "4294967295"}) {
        EXPECT_TRUE(map.Insert(Key(key), &row));
    }
    const std::pair<const char*, const char*> cases[] = {
        {"0", "1"},
        {"0.4294967295", "1"},
        {"1", "1.5"},
        {"1.4.9", "1.5"},
        {"1.5", "3"},
        {"1.5.0", "3"},
        {"2", "3"},
        {"3", "4294967295"},
        {"3.0", "4294967295"},
        {"4294967294.4294967295", "4294967295"},
    };
    for (const auto& [key, expected] : cases) {
        BObjectIdentifier next;
        EXPECT_TRUE(map.Next(Key(key), next)) << key;
        EXPECT_EQ(next, Key(expected)) << key;
    }
    BObjectIdentifier next = Key("8");
    EXPECT_FALSE(map.Next(Key("4294967295"), next));
    EXPECT_FALSE(map.Next(Key("4294967295.0"), next));
    EXPECT_EQ(next, Key("8"));
}

TEST(BMapOid2Ptr, WalksInPlace) {
    std::vector<int> rows(100);
    BMapOid2Ptr map;
    for (unsigned int i = 100; i-- > 0;) {
        EXPECT_TRUE(map.Insert(BObjectIdentifier(i), &rows[i]));
    }
    BObjectIdentifier at;
    unsigned int visited = 0;
    while (map.Next(at, at)) {
        EXPECT_EQ(at, BObjectIdentifier(visited));
        ++visited;
    }
    EXPECT_EQ(visited, 100U);
    EXPECT_EQ(at, BObjectIdentifier(99U));
}

TEST(BMapOid2Ptr, KeepsTheFirstPointerOfAKeyInsertedTwice) {
    int first = 0;
    int second = 0;
    BMapOid2Ptr map;
    EXPECT_TRUE(map.Insert(Key("1.2"), &first));
    EXPECT_FALSE(map.Insert(Key("1.2"), &second));
    EXPECT_EQ(map.GetCount(), 1U);
    EXPECT_EQ(map.GetData(Key("1.2")), &first);
}

TEST(BMapOid2Ptr, HoldsANullPointerUnderAKey) {
    BMapOid2Ptr map;
    EXPECT_TRUE(map.Insert(Key("1"), nullptr));
    EXPECT_FALSE(map.Insert(Key("1"), nullptr));
    EXPECT_EQ(map.GetCount(), 1U);
    EXPECT_TRUE(map.Remove(Key("1")));
    EXPECT_EQ(map.GetCount(), 0U);
}

TEST(BMapOid2Ptr, AcceptsItsOwnKeysAsArguments) {
    std::vector<int> rows(3);
    BMapOid2Ptr map;
    for (unsigned int i = 0; i < 3; ++i) {
        EXPECT_TRUE(map.Insert(BObjectIdentifier(i), &rows[i]));
    }
    EXPECT_FALSE(map.Insert(map.KeyAt(1), nullptr));
    EXPECT_EQ(map.GetData(map.KeyAt(1)), &rows[1]);
    EXPECT_TRUE(map.Remove(map.KeyAt(0)));
    EXPECT_EQ(map.KeyAt(0), BObjectIdentifier(1U));
    EXPECT_EQ(map.DataAt(0), &rows[1]);
}

TEST(BMapOid2Ptr, IsUsableAfterClear) {
    int row = 42;
    BMapOid2Ptr map;
    EXPECT_TRUE(map.Insert(Key("1"), &row));
    map.Clear();
    EXPECT_EQ(map.GetCount(), 0U);
    EXPECT_EQ(map.GetData(Key("1")), nullptr);
    EXPECT_EQ(map.DataAt(0), nullptr);
    EXPECT_EQ(row, 42);
    EXPECT_TRUE(map.Insert(Key("1"), &row));
    EXPECT_EQ(map.GetData(Key("1")), &row);
}

}  // namespace
TEST(BMapOid2Ptr, ARememberedPlaceDoesNotMisleadTheNextLookUp) {
    CVT::BMapOid2Ptr map;
    int data = 0;
    const auto key = [](unsigned int arc) { return CVT::BObjectIdentifier(arc); };
    for (unsigned int row = 2; row <= 10; row += 2) {
        ASSERT_TRUE(map.Insert(key(row), &data));
    }
    ASSERT_NE(map.GetData(key(6)), nullptr);
    ASSERT_TRUE(map.Remove(key(6)));
    EXPECT_EQ(map.GetData(key(6)), nullptr);
    EXPECT_NE(map.GetData(key(8)), nullptr);
    ASSERT_TRUE(map.Insert(key(1), &data));
    EXPECT_FALSE(map.Insert(key(8), &data));
    CVT::BObjectIdentifier next;
    ASSERT_TRUE(map.Next(key(4), next));
    EXPECT_EQ(next, key(8));
    ASSERT_TRUE(map.Next(key(7), next));
    EXPECT_EQ(next, key(8));
    map.Clear();
    EXPECT_EQ(map.GetData(key(8)), nullptr);
    EXPECT_FALSE(map.Next(key(8), next));
}

}  // namespace CVT
