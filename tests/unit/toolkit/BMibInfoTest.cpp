#include "CVT/BMibInfo.h"

#include <gtest/gtest.h>

#include <string_view>

#include "CVT/TextualConventions.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Scalars = SampleScalars;

TEST(BMibInfo, ReturnsNameSubtreeAndKindOfItsOwner) {
    SampleScalars scalars("1.3.6.1.3.1");
    EXPECT_EQ(scalars.GetIMibInfo()->Name(), BString("SAMPLE-MIB.scalars"));
    EXPECT_EQ(scalars.GetIMibInfo()->Oid(), Oid("1.3.6.1.3.1"));
    EXPECT_FALSE(scalars.GetIMibInfo()->IsTable());

    SampleTable table("1.3.6.1.3.2");
    EXPECT_EQ(table.GetIMibInfo()->Name(), BString("SAMPLE-MIB.table"));
    EXPECT_EQ(table.GetIMibInfo()->Oid(), Oid("1.3.6.1.3.2.1"));
    EXPECT_TRUE(table.GetIMibInfo()->IsTable());
}

TEST(BMibInfo, ListsTheColumnsWithoutTheEndMark) {
    SampleScalars scalars("1.3", {Scalars::Int(1), Scalars::OctetColumn(4)});
    const auto columns = scalars.GetIMibInfo()->Columns();
    ASSERT_EQ(columns.size(), 2U);
    EXPECT_EQ(columns[0].subId, 1U);
    EXPECT_EQ(columns[1].subId, 4U);
    EXPECT_EQ(columns[1].name, std::string_view("sampleOctets"));
    EXPECT_TRUE(SampleScalars("1.3").GetIMibInfo()->Columns().empty());
}

TEST(BMibInfo, FindsAColumnOrTheNextOneServed) {
    SampleScalars scalars("1.3", {Scalars::Int(1), Scalars::Int(2), Scalars::Int(4), Scalars::Int(4294967295U)});
    const IMibInfo& info = *scalars.GetIMibInfo();
    const std::pair<unsigned int, unsigned int> cases[] = {
        {0, 1}, {1, 1}, {2, 2}, {3, 4}, {4, 4}, {5, 4294967295U}, {4294967295U, 4294967295U}};
    for (const auto& [subId, found] : cases) {
        const auto at = info.ColumnFrom(subId);
        ASSERT_NE(at, info.Columns().end()) << subId;
        EXPECT_EQ(at->subId, found) << subId;
        const BRqHndlrEntry* const exact = info.FindColumn(subId);
        EXPECT_EQ(exact, subId == found ? &*at : nullptr) << subId;
    }
    SampleScalars few("1.3", {Scalars::Int(2)});
    EXPECT_EQ(few.GetIMibInfo()->ColumnFrom(3), few.GetIMibInfo()->Columns().end());
    EXPECT_EQ(few.GetIMibInfo()->FindColumn(3), nullptr);
}

TEST(BMibInfo, FindsNoColumnInAGroupWithoutColumns) {
    SampleScalars none("1.3");
    EXPECT_EQ(none.GetIMibInfo()->ColumnFrom(0), none.GetIMibInfo()->Columns().end());
    EXPECT_EQ(none.GetIMibInfo()->FindColumn(0), nullptr);
    EXPECT_EQ(none.GetIMibInfo()->FindColumn(1), nullptr);
}

TEST(BMibInfo, NamesTheValuesOfAnEnumeration) {
    SampleScalars scalars("1.3", {Scalars::Int(1), Scalars::Int(2), Scalars::Int(3)});
    scalars.Constrain({{kRange, 1, nullptr, 1, 5},
                       {kEnumeration, 2, nullptr, 0, 0},
                       {kEnumValue, 0, "unknown", 1, 0},
                       {kEnumValue, 0, "running", 2, 0},
                       {kEnumValue, 0, "lost", -3, 0},
                       {kEnumeration, 3, nullptr, 0, 0},
                       {kEnumValue, 0, "other", 1, 0}});
    const IMibInfo& info = *scalars.GetIMibInfo();
    EXPECT_STREQ(info.EnumerationName(2, 1), "unknown");
    EXPECT_STREQ(info.EnumerationName(2, 2), "running");
    EXPECT_STREQ(info.EnumerationName(2, -3), "lost");
    EXPECT_STREQ(info.EnumerationName(3, 1), "other");
    EXPECT_EQ(info.EnumerationName(3, 2), nullptr);
    EXPECT_EQ(info.EnumerationName(2, 3), nullptr);
    EXPECT_EQ(info.EnumerationName(1, 1), nullptr);
    EXPECT_EQ(info.EnumerationName(0, 1), nullptr);
    EXPECT_EQ(info.EnumerationName(9, 1), nullptr);
}

TEST(BMibInfo, NamesTruthValues) {
    SampleScalars scalars("1.3", {Scalars::Int(1)});
    scalars.Constrain({{kEnumConvention, 1, cszTruthValue, 0, 0}, {kEnumConvention, 2, nullptr, 0, 0}});
    const IMibInfo& info = *scalars.GetIMibInfo();
    EXPECT_STREQ(info.EnumerationName(1, 1), "true");
    EXPECT_STREQ(info.EnumerationName(1, 2), "false");
    EXPECT_EQ(info.EnumerationName(1, 0), nullptr);
    EXPECT_EQ(info.EnumerationName(1, 3), nullptr);
    EXPECT_EQ(info.EnumerationName(2, 1), nullptr);
}

}  // namespace
}  // namespace CVT::test
