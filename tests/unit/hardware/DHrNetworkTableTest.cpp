#include "groups/hardware/DHrNetworkTable.h"

#include <gtest/gtest.h>

#include "groups/common/DConventions.h"

namespace {

const CVT::BObjectIdentifier kSeven(7);

TEST(DHrNetworkTable, IsRegisteredWithItsColumn) {
    DHrNetworkTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrNetworkTable");
    EXPECT_STREQ(table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.3.4.1");
    EXPECT_STREQ(DHrNetworkTable::s_pszNVSection, "hrNetworkTable");
    EXPECT_STREQ(table.GetRqHndlrMap()[0].name, "hrNetworkIfIndex");
    EXPECT_FALSE(table.GetRqHndlrMap()[0].IsWritable());
    EXPECT_TRUE(table.GetRqHndlrMap()[1].IsEnd());
    EXPECT_EQ(table.GetConstraintMap()[0].kind, CVT::kConvention);
    EXPECT_STREQ(table.GetConstraintMap()[0].label, DConventions::cszInterfaceIndexOrZero);
    EXPECT_EQ(table.GetConstraintMap()[0].high, 0);
    EXPECT_EQ(table.LoadFromNV(), 0);
}

TEST(DHrNetworkTable, ServesTheNumberStoredInItsRow) {
    DHrNetworkTable table(nullptr);
    table.Initialize();
    EXPECT_TRUE(table.IsActive());
    int number = 9;
    EXPECT_EQ(table.OnGet_HrNetworkIfIndex(kSeven, 1, number), 2) << "an empty table";
    EXPECT_EQ(number, 9);
    DHrNetworkTable::Entry* const row = table.CreateNewRow(kSeven);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(table.OnGet_HrNetworkIfIndex(kSeven, 1, number), 0);
    EXPECT_EQ(number, 0);
    row->ifIndex = 1;
    EXPECT_EQ(table.OnGet_HrNetworkIfIndex(kSeven, 1, number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(table.CreateNewRow(kSeven), nullptr) << "taken";
    EXPECT_EQ(table.CreateNewRow(CVT::BObjectIdentifier(CVT::BString("7.1"))), nullptr) << "not an index of this table";
    table.Cleanup();
    EXPECT_FALSE(table.IsActive());
    EXPECT_EQ(table.GetNumRows(), 1U) << "the rows stay";
}

}  // namespace
