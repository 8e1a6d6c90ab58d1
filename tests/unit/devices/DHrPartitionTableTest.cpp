#include "groups/devices/DHrPartitionTable.h"

#include <gtest/gtest.h>

#include <string>

#include "groups/common/DConventions.h"
#include "tests/support/Declarations.h"

namespace {

CVT::BObjectIdentifier Oid(const char* dotted) { return CVT::BObjectIdentifier(CVT::BString(dotted)); }

TEST(DHrPartitionTable, IsRegisteredWithItsColumnsAndConstraints) {
    DHrPartitionTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrPartitionTable");
    EXPECT_STREQ(table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.3.7.1");
    EXPECT_STREQ(DHrPartitionTable::s_pszNVSection, "hrPartitionTable");
    ExpectColumns(table.GetRqHndlrMap(), {{1, "hrPartitionIndex", 2, 3, 1},
                                          {2, "hrPartitionLabel", 4, 3, 2},
                                          {3, "hrPartitionID", 4, 3, 2},
                                          {4, "hrPartitionSize", 2, 3, 1},
                                          {5, "hrPartitionFSIndex", 2, 3, 1}});
    ExpectConstraints(table.GetConstraintMap(),
                      {{CVT::kRange, 1, nullptr, 1, 2147483647},
                       {CVT::kConvention, 2, DConventions::cszInternationalDisplayString, 0, 128},
                       {CVT::kConvention, 4, DConventions::cszKBytes, 0, 0},
                       {CVT::kRange, 5, nullptr, 0, 2147483647}});
}

TEST(DHrPartitionTable, HasAnIndexOfTwoPartsWithoutARange) {
    const DHrPartitionTable table(nullptr);
    DHrPartitionTable::Index index;
    EXPECT_EQ(index.device, 1);
    EXPECT_EQ(index.partition, 1);
    for (const char* const bad : {"", "5", "5.1.1"}) {
        EXPECT_FALSE(table.IsIndexValid(Oid(bad))) << bad;
        EXPECT_FALSE(table.SplitIndex(Oid(bad), index)) << bad;
    }
    EXPECT_TRUE(table.SplitIndex(Oid("0.4294967295"), index));
    EXPECT_EQ(index.device, 0);
    EXPECT_EQ(index.partition, -1);
    CVT::BObjectIdentifier oid(9);
    index.ToOid(oid);
    EXPECT_STREQ(oid.ToString().c_str(), "9.0.4294967295");
}

TEST(DHrPartitionTable, OrdersItsRowsByDeviceThenByNumber) {
    DHrPartitionTable table(nullptr);
    EXPECT_EQ(table.GetFirstRow(), nullptr);
    for (const char* const index : {"5.3", "10.1", "5.1", "5.15"}) {
        ASSERT_NE(table.CreateNewRow(Oid(index)), nullptr);
    }
    EXPECT_EQ(table.CreateNewRow(Oid("5.3")), nullptr) << "taken";
    EXPECT_EQ(table.CreateNewRow(CVT::BObjectIdentifier(5)), nullptr) << "not an index of this table";
    std::string order;
    CVT::BObjectIdentifier at;
    for (CVT::BObjectIdentifier next; table.NextInstanceInColumn(1, 1, at, next); at = next) {
        order += std::string(next.ToString().View()) + " ";
    }
    EXPECT_EQ(order, "5.1 5.3 5.15 10.1 ");
    int number = 9;
    EXPECT_EQ(table.OnGet_HrPartitionIndex(Oid("5.3"), 1, number), 0);
    EXPECT_EQ(number, 3);
    EXPECT_EQ(table.OnGet_HrPartitionIndex(CVT::BObjectIdentifier(5), 1, number), 2) << "a device is not a partition";
}

TEST(DHrPartitionTable, ServesTheDefaultsOfANewRowAndNothingForAnAbsentOne) {
    DHrPartitionTable table(nullptr);
    ASSERT_NE(table.CreateNewRow(Oid("5.2")), nullptr);
    CVT::BOctetString text("x", 1);
    int number = 9;
    EXPECT_EQ(table.OnGet_HrPartitionLabel(Oid("5.1"), 1, text), 2);
    EXPECT_EQ(table.OnGet_HrPartitionID(Oid("5.1"), 1, text), 2);
    EXPECT_EQ(table.OnGet_HrPartitionSize(Oid("5.1"), 1, number), 2);
    EXPECT_EQ(table.OnGet_HrPartitionFSIndex(Oid("5.1"), 1, number), 2);
    EXPECT_EQ(text.View(), "x");
    EXPECT_EQ(number, 9);
    EXPECT_EQ(table.OnGet_HrPartitionLabel(Oid("5.2"), 1, text), 0);
    EXPECT_EQ(text.View(), "");
    EXPECT_EQ(table.OnGet_HrPartitionID(Oid("5.2"), 1, text), 0);
    EXPECT_EQ(text.View(), "1");
    EXPECT_EQ(table.OnGet_HrPartitionSize(Oid("5.2"), 1, number), 0);
    EXPECT_EQ(number, 0);
    number = 9;
    EXPECT_EQ(table.OnGet_HrPartitionFSIndex(Oid("5.2"), 1, number), 0);
    EXPECT_EQ(number, 0);
}

TEST(DHrPartitionTable, FindsARowByItsWholeLabelAndKeepsItsRowsWhenItComesUp) {
    DHrPartitionTable table(nullptr);
    EXPECT_FALSE(table.bIsInTable(""));
    table.CreateNewRow(Oid("5.1"))->label.Assign("/dev/ide/part1");
    EXPECT_TRUE(table.bIsInTable("/dev/ide/part1"));
    EXPECT_FALSE(table.bIsInTable("/dev/ide/part"));
    EXPECT_FALSE(table.bIsInTable("/dev/ide/part10"));
    table.Initialize();
    EXPECT_TRUE(table.IsActive());
    EXPECT_EQ(table.GetNumRows(), 1U);
    table.Cleanup();
    EXPECT_FALSE(table.IsActive());
    EXPECT_EQ(table.GetNumRows(), 1U);
}

}  // namespace
