#include "CVT/BMibTableImpl.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Table = SampleTable;

class BMibTableImplTest : public testing::Test {
protected:
    BMibTableImplTest() { m_table.rows = {Oid("1"), Oid("2"), Oid("5")}; }

    BObjectIdentifier Next(const char* name) {
        BVarBind varBind = Named(name);
        const int status = m_table.GetNext(1, varBind);
        EXPECT_TRUE(status == noError || status == noSuchName) << status;
        return status == noError ? varBind.name : BObjectIdentifier();
    }

    ESnmpType TypeAt(const char* name) {
        BVarBind varBind = Named(name);
        EXPECT_EQ(m_table.Get(1, varBind), noError);
        return varBind.type;
    }

    SampleTable m_table{"1.3.9", {Table::ReadOnly(1), Table::Counter(2), Table::Int(4)}};
};

TEST_F(BMibTableImplTest, RegistersItsEntryAndKind) {
    EXPECT_EQ(m_table.Oid(), Oid("1.3.9.1"));
    EXPECT_EQ(m_table.HandlerKind(), 4U);
    EXPECT_EQ(m_table.ToString(), BString("SAMPLE-MIB.table (1.3.9.1)"));
    EXPECT_FALSE(m_table.HandlesInstance(Oid("1.3.9")));
    EXPECT_TRUE(m_table.HandlesInstance(Oid("1.3.9.1.4.5")));
}

TEST_F(BMibTableImplTest, ReadsACellAndPassesTheIndexOn) {
    BVarBind varBind = Named("1.3.9.1.2.5");
    m_table.answers.number = 4294967295U;
    EXPECT_EQ(m_table.Get(31, varBind), noError);
    EXPECT_EQ(varBind.type, kCounter32);
    EXPECT_EQ(varBind.number, 4294967295U);
    EXPECT_EQ(m_table.answers.lastIndex, Oid("5"));
    EXPECT_EQ(m_table.answers.lastRequestId, 31U);
}

TEST_F(BMibTableImplTest, DistinguishesAnUnservedColumnFromAnAbsentRow) {
    EXPECT_EQ(TypeAt("1.3.9.1.3.1"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9.1.5.1"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9.1"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9.2.1.1"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9.1.2.3"), kNoSuchInstance);
    EXPECT_EQ(TypeAt("1.3.9.1.2.0"), kNoSuchInstance);
    EXPECT_EQ(TypeAt("1.3.9.1.2.5.1"), kNoSuchInstance);
    EXPECT_EQ(m_table.answers.lastIndex, Oid("5.1"));
    EXPECT_EQ(TypeAt("1.3.9.1.2"), kNoSuchInstance);
    EXPECT_TRUE(m_table.answers.lastIndex.IsEmpty());
}

TEST_F(BMibTableImplTest, WalksColumnByColumn) {
    EXPECT_EQ(Next("1.3"), Oid("1.3.9.1.1.1"));
    EXPECT_EQ(Next("1.3.9.1.1.1"), Oid("1.3.9.1.1.2"));
    EXPECT_EQ(Next("1.3.9.1.1.2"), Oid("1.3.9.1.1.5"));
    EXPECT_EQ(Next("1.3.9.1.1.5"), Oid("1.3.9.1.2.1"));
    EXPECT_EQ(Next("1.3.9.1.2.5"), Oid("1.3.9.1.4.1"));
    EXPECT_EQ(Next("1.3.9.1.4.5"), BObjectIdentifier());
    EXPECT_EQ(Next("1.3.9.2"), BObjectIdentifier());
}

TEST_F(BMibTableImplTest, HasNoNextInstanceWithoutRowsOrColumns) {
    m_table.rows.clear();
    EXPECT_EQ(Next("1.3"), BObjectIdentifier());
    EXPECT_EQ(m_table.searches, 3);
    SampleTable none("1.3.9");
    BVarBind varBind = Named("1.3");
    EXPECT_EQ(none.GetNext(1, varBind), noSuchName);
}

TEST_F(BMibTableImplTest, SkipsARowThatVanishesBetweenFindingAndReading) {
    m_table.inNext = [&](unsigned int) {
        // The second row disappears before it is read.
        m_table.answers.inGet = [&] {
            const bool vanished = m_table.answers.lastIndex == Oid("2");
            m_table.answers.getResult = vanished ? noSuchName : noError;
        };
    };
    EXPECT_EQ(Next("1.3.9.1.1.1"), Oid("1.3.9.1.1.5"));
    m_table.inNext = [&](unsigned int) { m_table.answers.inGet = [&] { m_table.answers.getResult = noSuchName; }; };
    EXPECT_EQ(Next("1.3.9.1.1.1"), BObjectIdentifier());
}

TEST_F(BMibTableImplTest, FindsTheNextInstanceWithoutReadingIt) {
    BVarBind varBind = Named("1.3.9.1.1.2");
    EXPECT_EQ(m_table.NextInstance(1, varBind), noError);
    EXPECT_EQ(varBind.name, Oid("1.3.9.1.1.5"));
    EXPECT_EQ(varBind.type, kNull);
    EXPECT_EQ(m_table.answers.gets, 0);
    varBind = Named("1.3.9.1.4.5");
    EXPECT_EQ(m_table.NextInstance(1, varBind), noSuchName);
    EXPECT_EQ(varBind.name, Oid("1.3.9.1.4.5"));
}

TEST_F(BMibTableImplTest, ReturnsGenErrWhenASearchOrAGetThrows) {
    m_table.inNext = [](unsigned int) { throw std::runtime_error("no"); };
    BVarBind varBind = Named("1.3");
    EXPECT_EQ(m_table.GetNext(1, varBind), genErr);
    EXPECT_EQ(m_table.NextInstance(1, varBind), genErr);
    EXPECT_EQ(varBind.name, Oid("1.3"));
    m_table.inNext = [](unsigned int) {};
    m_table.answers.inGet = [] { throw 7; };
    EXPECT_EQ(m_table.GetNext(1, varBind), genErr);
    varBind = Named("1.3.9.1.1.1");
    EXPECT_EQ(m_table.Get(1, varBind), genErr);
}

/// A table whose search for the next row fails as the test chooses.
class StrayTable : public SampleTable {
public:
    using SampleTable::SampleTable;
    bool NextInstanceInColumn(unsigned int, unsigned int, const BObjectIdentifier&,
                              BObjectIdentifier& nextIndex) override {
        ++searches;
        nextIndex = stray;
        return true;
    }
    BObjectIdentifier stray;
};

TEST(BMibTableImplStray, ContinuesWithTheNextColumnWhenASearchDoesNotAdvance) {
    StrayTable table("1.3.9", {Table::Int(1), Table::Int(2)});
    table.stray = Oid("5");
    table.rows = {Oid("5")};
    BVarBind varBind = Named("1.3");
    EXPECT_EQ(table.GetNext(1, varBind), noError);
    EXPECT_EQ(varBind.name, Oid("1.3.9.1.1.5"));
    EXPECT_EQ(table.GetNext(1, varBind), noError);
    EXPECT_EQ(varBind.name, Oid("1.3.9.1.2.5"));
    EXPECT_EQ(table.GetNext(1, varBind), noSuchName);
    EXPECT_LE(table.searches, 6);
}

TEST_F(BMibTableImplTest, SkipsARowWhoseNameWouldBeTooLong) {
    BObjectIdentifier longest = Oid("2");  // 5 arcs of column, 123 of index
    while (longest.NumArcs() < 123) {
        EXPECT_TRUE(longest.Append(4294967295U));
    }
    BObjectIdentifier tooLong = longest;
    EXPECT_TRUE(tooLong.Append(0U));
    m_table.rows = {Oid("1"), longest, tooLong, Oid("3")};
    EXPECT_EQ(Next("1.3.9.1.1.1").NumArcs(), 128U);
    BVarBind varBind = Named("1.3.9.1.1");
    EXPECT_TRUE(varBind.name.Append(longest));
    EXPECT_EQ(m_table.GetNext(1, varBind), noError);
    EXPECT_EQ(varBind.name, Oid("1.3.9.1.1.3"));
}

}  // namespace
}  // namespace CVT::test
