#include "CVT/BObjectIdentifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace CVT {
namespace {

using Arcs = std::vector<unsigned int>;

/// The lengths at which the storage changes, and the extremes.
constexpr std::size_t kLengths[] = {0, 1, 2, 31, 32, 33, 64, 127, 128};

/// first, first + 1, ...
Arcs Counting(std::size_t count, unsigned int first = 1) {
    Arcs arcs(count);
    std::iota(arcs.begin(), arcs.end(), first);
    return arcs;
}

BObjectIdentifier Made(const Arcs& arcs) { return BObjectIdentifier(std::span<const unsigned int>(arcs)); }

Arcs ArcsOf(const BObjectIdentifier& oid) { return {oid.Arcs().begin(), oid.Arcs().end()}; }

std::string TextOf(const BObjectIdentifier& oid) { return oid.ToString().c_str(); }

std::string Repeated(std::size_t count) {
    std::string text = "1";
    for (std::size_t i = 1; i < count; ++i) {
        text += ".1";
    }
    return text;
}

TEST(BObjectIdentifier, IsEmptyAtFirst) {
    BObjectIdentifier oid;
    EXPECT_TRUE(oid.IsEmpty());
    EXPECT_EQ(oid.NumArcs(), 0U);
    EXPECT_EQ(TextOf(oid), "");
}

TEST(BObjectIdentifier, CanBeConstructedFromOneArc) {
    EXPECT_EQ(TextOf(BObjectIdentifier(0U)), "0");
    EXPECT_EQ(TextOf(BObjectIdentifier(4294967295U)), "4294967295");
}

TEST(BObjectIdentifier, ReadsDottedDecimalText) {
    BObjectIdentifier oid;
    EXPECT_TRUE(oid.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.0.4294967295"));
    EXPECT_EQ(ArcsOf(oid), (Arcs{1, 3, 6, 1, 2, 1, 25, 0, 4294967295U}));
    EXPECT_EQ(TextOf(BObjectIdentifier(BString("0.00.007"))), "0.0.7");
}

TEST(BObjectIdentifier, IsEmptyAfterMalformedText) {
    for (const char* text : {"",
                             ".",
                             ".1",
                             "1.",
                             "1..3",
                             "1.3.",
                             " 1",
                             "1 ",
                             "1.3 .6",
                             "-1",
                             "+1",
                             "1.-3",
                             "1.a",
                             "a",
                             "0x1",
                             "1,3",
                             "4294967296",
                             "1.4294967296",
                             "99999999999999999999999",
                             "1.3\n",
                             "\t"}) {
        BObjectIdentifier oid(9U);
        EXPECT_FALSE(oid.AssignFromDottedDecimalStr(text)) << '"' << text << '"';
        EXPECT_TRUE(oid.IsEmpty()) << '"' << text << '"';
    }
    BObjectIdentifier oid(9U);
    EXPECT_FALSE(oid.AssignFromDottedDecimalStr(nullptr));
    EXPECT_TRUE(oid.IsEmpty());
}

TEST(BObjectIdentifier, IsEmptyAfterTextThatContinuesAfterANul) {
    EXPECT_TRUE(BObjectIdentifier(BString("1.3\0.6", 6)).IsEmpty());
    EXPECT_TRUE(BObjectIdentifier(BString("1.3\0", 4)).IsEmpty());
}

TEST(BObjectIdentifier, Accepts128ArcsOfTextAndRejectsOneMore) {
    BObjectIdentifier oid;
    EXPECT_TRUE(oid.AssignFromDottedDecimalStr(Repeated(128).c_str()));
    EXPECT_EQ(oid.NumArcs(), 128U);
    EXPECT_EQ(TextOf(oid), Repeated(128));
    EXPECT_FALSE(oid.AssignFromDottedDecimalStr(Repeated(129).c_str()));
    EXPECT_TRUE(oid.IsEmpty());
}

TEST(BObjectIdentifier, DoesNotGrowBeyond128ArcsAndStaysUnchanged) {
    const Arcs full = Counting(128);
    BObjectIdentifier oid = Made(full);
    EXPECT_FALSE(oid.Append(1U));
    EXPECT_FALSE(oid.Append(BObjectIdentifier(1U)));
    EXPECT_FALSE(oid.Set(Counting(129)));
    EXPECT_EQ(ArcsOf(oid), full);
    EXPECT_TRUE(oid.Append(BObjectIdentifier()));
    EXPECT_EQ(ArcsOf(oid), full);

    oid.Truncate(127);
    EXPECT_FALSE(oid.Append(Made({1, 2})));
    EXPECT_EQ(ArcsOf(oid), Counting(127));
    EXPECT_TRUE(oid.Append(4294967295U));
    EXPECT_EQ(oid[127], 4294967295U);

    EXPECT_TRUE(Made(Counting(129)).IsEmpty());
}

TEST(BObjectIdentifier, AcceptsAnEmptySpan) {
    BObjectIdentifier oid = Made(Counting(40));
    EXPECT_TRUE(oid.Append(std::span<const unsigned int>()));
    EXPECT_EQ(oid.NumArcs(), 40U);
    EXPECT_TRUE(oid.Set(std::span<const unsigned int>()));
    EXPECT_TRUE(oid.IsEmpty());
    EXPECT_TRUE(BObjectIdentifier(std::span<const unsigned int>()).IsEmpty());
}

TEST(BObjectIdentifier, CopiesAndMovesAtEveryLength) {
    for (const std::size_t from : kLengths) {
        for (const std::size_t to : kLengths) {
            const Arcs arcs = Counting(from, 1000);
            BObjectIdentifier source = Made(arcs);

            BObjectIdentifier copied = Made(Counting(to));
            copied = source;
            EXPECT_EQ(ArcsOf(copied), arcs) << from << " over " << to;
            EXPECT_EQ(ArcsOf(source), arcs);

            BObjectIdentifier set = Made(Counting(to));
            set.Set(source);
            EXPECT_EQ(ArcsOf(set), arcs);

            BObjectIdentifier moved = Made(Counting(to));
            moved = std::move(copied);
            EXPECT_EQ(ArcsOf(moved), arcs) << from << " over " << to;
            EXPECT_TRUE(copied.IsEmpty());  // NOLINT(bugprone-use-after-move): a moved-from value is empty

            const BObjectIdentifier built = std::move(moved);
            EXPECT_EQ(ArcsOf(built), arcs);
            EXPECT_TRUE(moved.IsEmpty());  // NOLINT(bugprone-use-after-move): likewise
            EXPECT_TRUE(moved.Append(5U));
            EXPECT_EQ(ArcsOf(moved), Arcs{5});
        }
    }
}

TEST(BObjectIdentifier, SurvivesItsOwnAssignmentAndMove) {
    for (const std::size_t length : kLengths) {
        const Arcs arcs = Counting(length);
        BObjectIdentifier oid = Made(arcs);
        BObjectIdentifier& same = oid;
        oid = same;
        EXPECT_EQ(ArcsOf(oid), arcs);
        oid.Set(same);
        EXPECT_EQ(ArcsOf(oid), arcs);
        oid = std::move(same);
        EXPECT_EQ(ArcsOf(oid), arcs);
        EXPECT_TRUE(oid.Set(oid.Arcs()));
        EXPECT_EQ(ArcsOf(oid), arcs);
    }
}

TEST(BObjectIdentifier, AppendsItself) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{16}, std::size_t{17}, std::size_t{32},
                                     std::size_t{33}, std::size_t{63}, std::size_t{64}}) {
        const Arcs arcs = Counting(length);
        Arcs twice = arcs;
        twice.insert(twice.end(), arcs.begin(), arcs.end());
        BObjectIdentifier oid = Made(arcs);
        EXPECT_TRUE(oid.Append(oid));
        EXPECT_EQ(ArcsOf(oid), twice) << length;
    }
    BObjectIdentifier oid = Made(Counting(65));
    EXPECT_FALSE(oid.Append(oid));
    EXPECT_EQ(ArcsOf(oid), Counting(65));
}

TEST(BObjectIdentifier, AppendsAndKeepsPartsOfItself) {
    for (const std::size_t length : {std::size_t{20}, std::size_t{30}, std::size_t{32}, std::size_t{40}}) {
        BObjectIdentifier oid = Made(Counting(length));
        EXPECT_TRUE(oid.Append(oid.Arcs().subspan(10, 10)));
        EXPECT_EQ(oid.NumArcs(), length + 10);
        EXPECT_EQ(oid[static_cast<unsigned int>(length)], 11U);
        EXPECT_EQ(oid[static_cast<unsigned int>(length) + 9], 20U);

        EXPECT_TRUE(oid.Set(oid.Arcs().subspan(5, 12)));
        EXPECT_EQ(ArcsOf(oid), Counting(12, 6));
    }
}

TEST(BObjectIdentifier, TruncatesAndClears) {
    BObjectIdentifier oid = Made(Counting(40));
    oid.Truncate(41);
    EXPECT_EQ(oid.NumArcs(), 40U);
    oid.Truncate(3);
    EXPECT_EQ(ArcsOf(oid), Counting(3));
    EXPECT_TRUE(oid.Append(Made(Counting(30, 4))));
    EXPECT_EQ(ArcsOf(oid), Counting(33));
    oid.Clear();
    EXPECT_TRUE(oid.IsEmpty());
    EXPECT_TRUE(oid.Append(8U));
    EXPECT_EQ(ArcsOf(oid), Arcs{8});
}

TEST(BObjectIdentifier, ComparesArcByArcAndPutsAPrefixFirst) {
    const char* ordered[] = {"0",
                             "0.0",
                             "0.4294967295",
                             "1",
                             "1.3",
                             "1.3.0",
                             "1.3.6",
                             "1.3.6.0",
                             "1.3.10",
                             "1.20",
                             "2",
                             "10",
                             "2147483648",
                             "4294967295",
                             "4294967295.0",
                             "4294967295.4294967295"};
    BObjectIdentifier before;
    for (const char* text : ordered) {
        const BObjectIdentifier oid{BString(text)};
        EXPECT_LT(before, oid) << text;
        EXPECT_LT(before.Compare(oid), 0) << text;
        EXPECT_GT(oid.Compare(before), 0) << text;
        EXPECT_EQ(oid.Compare(oid), 0) << text;
        EXPECT_NE(before, oid) << text;
        before = oid;
    }
}

TEST(BObjectIdentifier, RecognisesItsPrefixes) {
    const BObjectIdentifier oid = Made(Counting(40));
    EXPECT_TRUE(oid.StartsWith(BObjectIdentifier()));
    EXPECT_TRUE(oid.StartsWith(Made(Counting(39))));
    EXPECT_TRUE(oid.StartsWith(oid));
    EXPECT_FALSE(oid.StartsWith(Made(Counting(41))));
    EXPECT_FALSE(oid.StartsWith(Made(Counting(39, 2))));
    EXPECT_FALSE(BObjectIdentifier().StartsWith(BObjectIdentifier(1U)));
    EXPECT_TRUE(BObjectIdentifier().StartsWith(BObjectIdentifier()));
}

TEST(BObjectIdentifier, AgreesWithAVectorThroughRandomChanges) {
    std::mt19937 random(20240611);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    std::vector<BObjectIdentifier> oids(6);
    std::vector<Arcs> models(6);
    for (int step = 0; step < 50000; ++step) {
        const std::size_t a = below(oids.size());
        const std::size_t b = below(oids.size());
        switch (below(7)) {
            case 0: {
                const auto arc = static_cast<unsigned int>(random());
                if (oids[a].Append(arc)) {
                    models[a].push_back(arc);
                }
                break;
            }
            case 1: {
                const Arcs extra = models[b];
                if (oids[a].Append(oids[b])) {
                    models[a].insert(models[a].end(), extra.begin(), extra.end());
                }
                break;
            }
            case 2: {
                const std::size_t keep = below(130);
                oids[a].Truncate(static_cast<unsigned int>(keep));
                models[a].resize(std::min(keep, models[a].size()));
                break;
            }
            case 3:
                oids[a] = oids[b];
                models[a] = models[b];
                break;
            case 4:
                std::swap(oids[a], oids[b]);
                std::swap(models[a], models[b]);
                break;
            case 5:
                EXPECT_TRUE(oids[a].AssignFromDottedDecimalStr(oids[b].ToString().c_str()) || models[b].empty());
                models[a] = models[b];
                break;
            default: {
                const std::size_t arcs = below(129);
                models[a] = Counting(arcs, static_cast<unsigned int>(below(3)));
                EXPECT_TRUE(oids[a].Set(models[a]));
            }
        }
        ASSERT_LE(models[a].size(), 128U);
        ASSERT_EQ(ArcsOf(oids[a]), models[a]) << "step " << step;
        ASSERT_EQ(ArcsOf(oids[b]), models[b]) << "step " << step;
        ASSERT_EQ(oids[a] <=> oids[b], models[a] <=> models[b]) << "step " << step;
    }
}

}  // namespace
}  // namespace CVT
