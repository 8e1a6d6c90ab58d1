// GETNEXT compared with a sorted list of all instances, from any starting point.

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "CVT/BMibEngine.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Names = std::set<BObjectIdentifier>;
using Scalars = SampleScalars;
using Table = SampleTable;

constexpr unsigned int kGreatest = 4294967295U;

unsigned int RandomArc(std::mt19937& random) {
    static constexpr std::array<unsigned int, 10> kArcs = {0, 0, 1, 2, 3, 4, 5, 6, kGreatest - 1, kGreatest};
    return kArcs[random() % kArcs.size()];
}

BObjectIdentifier RandomName(std::mt19937& random, std::size_t mostArcs) {
    BObjectIdentifier name;
    for (std::size_t count = random() % (mostArcs + 1); count > 0; --count) {
        name.Append(RandomArc(random));
    }
    return name;
}

/// A name near one of `names`: truncated, lengthened (occasionally to all 128 arcs), or with one arc changed.
BObjectIdentifier NameNear(const std::vector<BObjectIdentifier>& names, std::mt19937& random) {
    if (names.empty() || random() % 20 == 0) {
        return RandomName(random, 128);
    }
    BObjectIdentifier name = names[random() % names.size()];
    switch (random() % 6) {
        case 0: break;
        case 1: name.Truncate(static_cast<unsigned int>(random() % (name.NumArcs() + 1))); break;
        case 2: name.Append(RandomArc(random)); break;
        case 3: {
            const unsigned int fill = RandomArc(random);
            while (name.Append(fill)) {
            }
            break;
        }
        default: {
            std::vector<unsigned int> arcs(name.Arcs().begin(), name.Arcs().end());
            if (!arcs.empty()) {
                arcs[random() % arcs.size()] += static_cast<unsigned int>(random() % 3) - 1;
                arcs[random() % arcs.size()] = random() % 2 == 0 ? arcs.back() : RandomArc(random);
            }
            name.Set(arcs);
        }
    }
    return name;
}

/// `next` advances a name to the one after it, or returns false. From many names it must agree with the list; from the
/// empty name it must visit the whole list.
template <class NextName>
void ExpectWalks(const Names& instances, unsigned int seed, int probes, NextName next) {
    std::vector<BObjectIdentifier> visited;
    BObjectIdentifier at;
    while (visited.size() <= instances.size() && next(at)) {
        visited.push_back(at);
    }
    EXPECT_EQ(visited, std::vector<BObjectIdentifier>(instances.begin(), instances.end()));

    std::mt19937 random(seed);
    for (int i = 0; i < probes; ++i) {
        const BObjectIdentifier from = NameNear(visited, random);
        BObjectIdentifier name = from;
        const bool found = next(name);
        const auto expected = instances.upper_bound(from);
        ASSERT_EQ(found, expected != instances.end()) << "after " << from.ToString().c_str();
        ASSERT_EQ(name, found ? *expected : from)
            << "after " << from.ToString().c_str() << " came " << name.ToString().c_str();
    }
}

auto NextIn(BMibImpl& group) {
    return [&group](BObjectIdentifier& name) {
        BVarBind varBind = Named(name);
        const int status = group.GetNext(1, varBind);
        EXPECT_TRUE(status == noError || status == noSuchName) << status;
        EXPECT_FALSE(varBind.IsException());
        name = varBind.name;
        return status == noError;
    };
}

auto NextIn(BMibEngine& engine) {
    return [&engine](BObjectIdentifier& name) {
        BVarBind varBind = Named(name);
        EXPECT_EQ(engine.GetNext(1, varBind), noError);
        name = varBind.name;
        return varBind.type != kEndOfMibView;
    };
}

/// All instances that a group serves, according to its columns and rows.
Names InstancesOf(const BMibImpl& group, const std::vector<BRqHndlrEntry>& columns, const Names& rows) {
    Names names;
    for (const BRqHndlrEntry& column : columns) {
        for (const BObjectIdentifier& row : rows) {
            BObjectIdentifier name = group.Oid();
            if (!column.IsEnd() && name.Append(column.subId) && name.Append(row)) {
                names.insert(name);
            }
        }
    }
    return names;
}
Names InstancesOf(const SampleScalars& group) { return InstancesOf(group, group.columns, {BObjectIdentifier(0U)}); }
Names InstancesOf(const SampleTable& table) { return InstancesOf(table, table.columns, table.rows); }

TEST(Walk, OfScalarGroupsWithSparseColumns) {
    SampleScalars group("1.3.6",
                        {Scalars::ReadOnly(1), Scalars::Int(2), Scalars::OctetColumn(4), Scalars::OidColumn(5)});
    ExpectWalks(InstancesOf(group), 1, 20000, NextIn(group));
    SampleScalars high("1.3.6", {Scalars::ReadOnly(1), Scalars::ReadOnly(kGreatest - 1), Scalars::ReadOnly(kGreatest)});
    ExpectWalks(InstancesOf(high), 2, 20000, NextIn(high));
}

TEST(Walk, OfATableWithSparseColumnsAndSingleIndexes) {
    SampleTable table("1.3.6", {Table::ReadOnly(1), Table::Counter(2), Table::Int(4), Table::Int(5)});
    for (const unsigned int row : {0U, 1U, 2U, 7U, 300U, kGreatest - 1, kGreatest}) {
        table.rows.insert(BObjectIdentifier(row));
    }
    ExpectWalks(InstancesOf(table), 3, 20000, NextIn(table));
}

TEST(Walk, OfTablesWithIndexesOfManyArcs) {
    for (unsigned int seed = 1; seed <= 10; ++seed) {
        std::mt19937 random(seed);
        SampleTable table("1.3.6", {Table::ReadOnly(1), Table::Counter(2), Table::Int(4), Table::Int(5)});
        for (int row = 0; row < 30; ++row) {
            BObjectIdentifier index(RandomArc(random));
            index.Append(RandomName(random, row % 10 == 0 ? 122 : 4));
            table.rows.insert(index);
        }
        ExpectWalks(InstancesOf(table), seed, 3000, NextIn(table));
    }
}

TEST(Walk, OfAnEmptyTableAndOfAnEmptyTree) {
    SampleTable table("1.3.6", {Table::ReadOnly(1)});
    ExpectWalks({}, 1, 500, NextIn(table));
    BMibEngine engine;
    ExpectWalks({}, 2, 500, NextIn(engine));
}

TEST(Walk, OfATableNestedInAScalarGroup) {
    SampleScalars outer("1.3.2", {Scalars::ReadOnly(2), Scalars::ReadOnly(4)});
    SampleTable inner("1.3.2.3", {Table::ReadOnly(1), Table::Counter(2), Table::Int(4)});
    SampleTable other("1.3.3", {Table::ReadOnly(1)});
    inner.rows = {Oid("1"), Oid("1.0"), Oid("4294967295"), Oid("4294967295.4294967295")};
    other.rows = {Oid("0")};
    SampleModule module({&inner, &other, &outer});
    BMibEngine engine;
    EXPECT_TRUE(engine.Add(module));
    Names instances = InstancesOf(outer);
    instances.merge(InstancesOf(inner));
    instances.merge(InstancesOf(other));
    EXPECT_EQ(instances.size(), 15U);
    ExpectWalks(instances, 4, 20000, NextIn(engine));
}

/// Scalar groups and tables at random places of a small tree, nested at random.
class RandomTree {
public:
    explicit RandomTree(unsigned int seed) : m_random(seed) {
        for (std::size_t count = 1 + m_random() % 8; count > 0; --count) {
            BObjectIdentifier root(RandomArc(m_random));
            root.Append(RandomName(m_random, 3));
            if (m_random() % 2 == 0) {
                AddScalars(root);
            } else {
                AddTable(root);
            }
        }
    }

    std::vector<BMibImpl*> Groups() const {
        std::vector<BMibImpl*> groups;
        for (const auto& [group, instances] : m_groups) {
            groups.push_back(group.get());
        }
        return groups;
    }

    /// The instances that a walk must visit: those that lie in no subtree nested in their own group's.
    Names Instances() const {
        Names all;
        for (const auto& [group, instances] : m_groups) {
            for (const BObjectIdentifier& name : instances) {
                if (Innermost(name) == group.get()) {
                    all.insert(name);
                }
            }
        }
        return all;
    }

private:
    void AddScalars(const BObjectIdentifier& root) {
        auto group = std::make_unique<SampleScalars>(root.ToString().c_str());
        group->Serve({Scalars::ReadOnly(1), Scalars::ReadOnly(2), Scalars::ReadOnly(5), Scalars::ReadOnly(kGreatest)});
        const Names instances = InstancesOf(*group);
        Add(std::move(group), instances);
    }

    void AddTable(const BObjectIdentifier& root) {
        auto table = std::make_unique<SampleTable>(root.ToString().c_str());
        table->Serve({Table::ReadOnly(1), Table::ReadOnly(2), Table::ReadOnly(4)});
        for (std::size_t rows = m_random() % 6; rows > 0; --rows) {
            BObjectIdentifier index(RandomArc(m_random));
            index.Append(RandomName(m_random, 2));
            table->rows.insert(index);
        }
        const Names instances = InstancesOf(*table);
        Add(std::move(table), instances);
    }

    void Add(std::unique_ptr<BMibImpl> group, const Names& instances) {
        for (const auto& [other, unused] : m_groups) {
            if (other->Oid() == group->Oid()) {
                return;  // only one group for each subtree
            }
        }
        m_groups.emplace_back(std::move(group), instances);
    }

    const BMibImpl* Innermost(const BObjectIdentifier& name) const {
        const BMibImpl* innermost = nullptr;
        for (const auto& [group, instances] : m_groups) {
            if (name.StartsWith(group->Oid()) &&
                (innermost == nullptr || innermost->Oid().NumArcs() < group->Oid().NumArcs())) {
                innermost = group.get();
            }
        }
        return innermost;
    }

    std::mt19937 m_random;
    std::vector<std::pair<std::unique_ptr<BMibImpl>, Names>> m_groups;
};

TEST(Walk, OfManyRandomTrees) {
    std::size_t visited = 0;
    for (unsigned int seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        const RandomTree tree(seed);
        SampleModule module(tree.Groups());
        BMibEngine engine;
        ASSERT_TRUE(engine.Add(module));
        const Names instances = tree.Instances();
        visited += instances.size();
        ExpectWalks(instances, seed, 200, NextIn(engine));
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(visited, 3000U);
}

}  // namespace
}  // namespace CVT::test
