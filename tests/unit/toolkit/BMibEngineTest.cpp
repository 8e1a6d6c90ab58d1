#include "CVT/BMibEngine.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "CVT/TextualConventions.h"
#include "tests/unit/toolkit/RecordingTable.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Phase = ESnmpSetOpCode;
using Counts = RecordingTable::Counts;
using Scalars = SampleScalars;
using Table = SampleTable;

/// A scalar group with a table nested between its columns 2 and 4, and a group after it.
class BMibEngineTest : public testing::Test {
protected:
    BMibEngineTest() {
        m_inner.rows = {Oid("1"), Oid("2")};
        EXPECT_TRUE(m_engine.Add(m_module));
    }

    BObjectIdentifier Next(const char* name) {
        BVarBind varBind = Named(name);
        EXPECT_EQ(m_engine.GetNext(1, varBind), noError);
        return varBind.type == kEndOfMibView ? BObjectIdentifier() : varBind.name;
    }

    SampleScalars m_outer{"1.3.2", {Scalars::ReadOnly(2), Scalars::ReadOnly(4)}};
    SampleTable m_inner{"1.3.2.3", {Table::ReadOnly(1), Table::Counter(5)}};
    SampleScalars m_behind{"1.3.9", {Scalars::Int(1)}};
    SampleModule m_module{{&m_behind, nullptr, &m_inner, &m_outer}};
    BMibEngine m_engine;
};

TEST_F(BMibEngineTest, ListsItsGroupsInOrderWithoutEmptyPlaces) {
    EXPECT_EQ(m_engine.Groups(), (std::vector<BMibImpl*>{&m_outer, &m_inner, &m_behind}));
}

TEST_F(BMibEngineTest, ReadsFromTheInnermostSubtree) {
    BVarBind varBind = Named("1.3.2.3.1.5.2");
    EXPECT_EQ(m_engine.Get(3, varBind), noError);
    EXPECT_EQ(varBind.type, kCounter32);
    varBind = Named("1.3.2.4.0");
    EXPECT_EQ(m_engine.Get(3, varBind), noError);
    EXPECT_EQ(varBind.type, kInteger);
    EXPECT_EQ(m_outer.answers.lastRequestId, 3U);
    for (const char* name : {"1", "1.3", "1.3.2", "1.3.2.3", "1.3.2.3.0", "1.3.2.3.1", "1.3.3.1.0", "1.3.10", "2"}) {
        varBind = Named(name);
        EXPECT_EQ(m_engine.Get(3, varBind), noError);
        EXPECT_EQ(varBind.type, kNoSuchObject) << name;
    }
    varBind = BVarBind();
    EXPECT_EQ(m_engine.Get(3, varBind), noError);
    EXPECT_EQ(varBind.type, kNoSuchObject);
}

TEST_F(BMibEngineTest, WalksThroughNestedSubtreesInOrder) {
    const char* expected[] = {"1.3.2.2.0",     "1.3.2.3.1.1.1", "1.3.2.3.1.1.2", "1.3.2.3.1.5.1",
                              "1.3.2.3.1.5.2", "1.3.2.4.0",     "1.3.9.1.0"};
    BVarBind varBind;
    for (const char* name : expected) {
        EXPECT_EQ(m_engine.GetNext(1, varBind), noError);
        EXPECT_EQ(varBind.name, Oid(name)) << name;
        EXPECT_FALSE(varBind.IsException()) << name;
    }
    EXPECT_EQ(m_engine.GetNext(1, varBind), noError);
    EXPECT_EQ(varBind.type, kEndOfMibView);
    EXPECT_EQ(varBind.name, Oid("1.3.9.1.0"));
}

TEST_F(BMibEngineTest, ServesNoInstanceHiddenByANestedSubtree) {
    m_outer.Serve({Scalars::ReadOnly(2), Scalars::ReadOnly(3)});
    SampleTable hiding("1.3.2.3", {Table::ReadOnly(1)});
    SampleScalars over("1.3.2.3.0", {Scalars::ReadOnly(8)});
    SampleModule module({&over});
    EXPECT_TRUE(m_engine.Add(module));
    EXPECT_EQ(Next("1.3.2.2.0"), Oid("1.3.2.3.0.8.0"));
    BVarBind varBind = Named("1.3.2.3.0");
    EXPECT_EQ(m_engine.Get(1, varBind), noError);
    EXPECT_EQ(varBind.type, kNoSuchObject);
}

TEST_F(BMibEngineTest, ReachesANestedTableEvenWhenTheOuterGroupFailsAfterIt) {
    m_outer.answers.inGet = [&] {
        if (m_outer.answers.gets > 1) {
            throw std::runtime_error("column 4 cannot be read");
        }
    };
    EXPECT_EQ(Next("1.3.2"), Oid("1.3.2.2.0"));
    EXPECT_EQ(Next("1.3.2.2.0"), Oid("1.3.2.3.1.1.1"));
    BVarBind varBind = Named("1.3.2.3.1.5.2");
    EXPECT_EQ(m_engine.GetNext(1, varBind), genErr);
    EXPECT_EQ(varBind.name, Oid("1.3.2.3.1.5.2"));
}

TEST_F(BMibEngineTest, ReturnsGenErrWhenAGroupThrows) {
    m_inner.answers.inGet = [] { throw 1; };
    BVarBind varBind = Named("1.3.2.3.1.1.1");
    EXPECT_EQ(m_engine.Get(1, varBind), genErr);
    varBind = Named("1.3.2.2.0");
    EXPECT_EQ(m_engine.GetNext(1, varBind), genErr);
    m_inner.inNext = [](unsigned int) { throw 1; };
    EXPECT_EQ(m_engine.GetNext(1, varBind), genErr);
    EXPECT_EQ(varBind.name, Oid("1.3.2.2.0"));
}

TEST_F(BMibEngineTest, AddsAndRemovesASecondModule) {
    SampleScalars second("1.3.3", {Scalars::ReadOnly(1)});
    SampleModule module({&second});
    EXPECT_TRUE(m_engine.Add(module));
    EXPECT_EQ(Next("1.3.2.4.0"), Oid("1.3.3.1.0"));
    m_engine.Remove(module);
    EXPECT_EQ(Next("1.3.2.4.0"), Oid("1.3.9.1.0"));
    m_engine.Remove(m_module);
    EXPECT_EQ(Next("1.3"), BObjectIdentifier());
    EXPECT_TRUE(m_engine.Groups().empty());
}

TEST_F(BMibEngineTest, RejectsAModuleWithASubtreeInUse) {
    SampleScalars free("1.3.3", {Scalars::ReadOnly(1)});
    SampleScalars taken("1.3.9", {Scalars::ReadOnly(1)});
    const BConstraintEntry conventions[] = {{}};
    SampleModule module({&free, &taken});
    module.conventions = conventions;
    EXPECT_FALSE(m_engine.Add(module));
    EXPECT_EQ(free.ModuleConventions(), nullptr);
    EXPECT_EQ(m_engine.Groups().size(), 3U);
    EXPECT_FALSE(m_engine.Add(m_module));
    EXPECT_EQ(m_engine.Groups().size(), 3U);
    EXPECT_EQ(Next("1.3.2.4.0"), Oid("1.3.9.1.0"));
}

TEST_F(BMibEngineTest, RejectsAModuleWithAGroupWithoutASubtree) {
    SampleScalars bad("not an oid", {Scalars::ReadOnly(1)});
    SampleModule module({&bad});
    EXPECT_FALSE(m_engine.Add(module));
    EXPECT_EQ(Next("0"), Oid("1.3.2.2.0"));
}

TEST_F(BMibEngineTest, AppliesTheModulesConventionsToASet) {
    const BConstraintEntry conventions[] = {{kRange, 0, "Small", 0, 3}, {}};
    SampleScalars group("1.3.3", {Scalars::Int(1)});
    group.Constrain({{kConvention, 1, "Small", 0, 0}});
    SampleModule module({&group});
    module.conventions = conventions;
    EXPECT_TRUE(m_engine.Add(module));
    int errorIndex = 0;
    EXPECT_EQ(m_engine.Set(1, {Integer("1.3.3.1.0", 4)}, errorIndex), wrongValue);
    EXPECT_EQ(errorIndex, 1);
    EXPECT_EQ(m_engine.Set(1, {Integer("1.3.3.1.0", 3)}, errorIndex), noError);
}

/// Two tables, so that a SET spans groups: rows 1..3 of each.
class BMibEngineSetTest : public testing::Test {
protected:
    BMibEngineSetTest() {
        EXPECT_TRUE(m_engine.Add(m_module));
        m_first.values.fill(7);
        m_second.values.fill(7);
    }

    int Set() {
        BVarBindList list;
        for (const char* name : {"1.3.1.1.1.1", "1.3.2.1.1.1", "1.3.1.1.1.2", "1.3.2.1.1.2"}) {
            list.push_back(Integer(name, 100));
        }
        return m_engine.Set(1, list, m_errorIndex);
    }

    void ExpectCounts(const Counts& a1, const Counts& b1, const Counts& a2, const Counts& b2) {
        EXPECT_EQ(m_first.counts[1], a1);
        EXPECT_EQ(m_second.counts[1], b1);
        EXPECT_EQ(m_first.counts[2], a2);
        EXPECT_EQ(m_second.counts[2], b2);
        EXPECT_EQ(m_first.openCells, 0);
        EXPECT_EQ(m_second.openCells, 0);
    }

    void ExpectValues(int value) {
        EXPECT_EQ(m_first.values[1], value);
        EXPECT_EQ(m_second.values[1], value);
        EXPECT_EQ(m_first.values[2], value);
        EXPECT_EQ(m_second.values[2], value);
    }

    RecordingTable m_first{"1.3.1"};
    RecordingTable m_second{"1.3.2"};
    SampleModule m_module{{&m_first, &m_second}};
    BMibEngine m_engine;
    int m_errorIndex = -1;
};

TEST_F(BMibEngineSetTest, SetsAllVarbinds) {
    EXPECT_EQ(Set(), noError);
    EXPECT_EQ(m_errorIndex, 0);
    const Counts done{1, 1, 0, 1};
    ExpectCounts(done, done, done, done);
    ExpectValues(100);
}

TEST_F(BMibEngineSetTest, CommitsNothingWhenACheckFails) {
    for (const int failure : {static_cast<int>(inconsistentName), RecordingTable::kThrow}) {
        m_first.counts.fill({});
        m_second.counts.fill({});
        m_first.Fail(2, Phase::CheckAndSave, failure);
        EXPECT_EQ(Set(), failure == RecordingTable::kThrow ? genErr : failure);
        EXPECT_EQ(m_errorIndex, 3);
        ExpectCounts({1, 0, 0, 1}, {1, 0, 0, 1}, {}, {});
        ExpectValues(7);
    }
}

TEST_F(BMibEngineSetTest, UndoesWhatItCommittedWhenACommitFails) {
    for (const int failure : {static_cast<int>(commitFailed), RecordingTable::kThrow}) {
        m_first.counts.fill({});
        m_second.counts.fill({});
        m_first.Fail(2, Phase::Commit, failure);
        EXPECT_EQ(Set(), failure == RecordingTable::kThrow ? genErr : failure);
        EXPECT_EQ(m_errorIndex, 3);
        ExpectCounts({1, 1, 1, 1}, {1, 1, 1, 1}, {1, 0, 0, 1}, {1, 0, 0, 1});
        ExpectValues(7);
    }
}

TEST_F(BMibEngineSetTest, ReturnsUndoFailedWhenAnUndoFailsAndUndoesTheRest) {
    m_second.Fail(2, Phase::Commit, commitFailed);
    m_second.Fail(1, Phase::Undo, RecordingTable::kThrow);
    EXPECT_EQ(Set(), undoFailed);
    EXPECT_EQ(m_errorIndex, 0);
    ExpectCounts({1, 1, 1, 1}, {1, 1, 0, 1}, {1, 1, 1, 1}, {1, 0, 0, 1});
    EXPECT_EQ(m_first.values[2], 7);
    EXPECT_EQ(m_second.values[1], 100);
}

TEST_F(BMibEngineSetTest, KeepsItsResultWhenAReleaseFails) {
    m_first.Fail(1, Phase::Release, genErr);
    EXPECT_EQ(Set(), noError);
    const Counts done{1, 1, 0, 1};
    ExpectCounts(done, done, done, done);
}

TEST_F(BMibEngineSetTest, RejectsAnUnservedNameAsNotWritable) {
    const BVarBindList list = {Integer("1.3.1.1.1.1", 1), Integer("1.4.1.0", 1)};
    EXPECT_EQ(m_engine.Set(1, list, m_errorIndex), notWritable);
    EXPECT_EQ(m_errorIndex, 2);
    ExpectCounts({1, 0, 0, 1}, {}, {}, {});
}

TEST_F(BMibEngineSetTest, SetsARowTwiceInTheOrderOfTheList) {
    const BVarBindList list = {Integer("1.3.1.1.1.1", 1), Integer("1.3.1.1.1.1", 2)};
    EXPECT_EQ(m_engine.Set(1, list, m_errorIndex), noError);
    EXPECT_EQ(m_first.values[1], 2);
    EXPECT_EQ(m_first.counts[1], (Counts{2, 2, 0, 2}));
    EXPECT_EQ(m_engine.Set(1, {}, m_errorIndex), noError);
    EXPECT_EQ(m_errorIndex, 0);
}

}  // namespace
}  // namespace CVT::test
