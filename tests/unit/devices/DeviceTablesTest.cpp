#include <gtest/gtest.h>

#include <string>

#include "CVT/TextualConventions.h"
#include "groups/devices/DHrDeviceTable.h"
#include "groups/devices/DHrDiskStorageTable.h"
#include "groups/devices/DHrPartitionTable.h"
#include "module/DCVHost.h"
#include "tests/support/Declarations.h"

namespace {

CVT::BObjectIdentifier Oid(const char* dotted) { return CVT::BObjectIdentifier(CVT::BString(dotted)); }

TEST(DHrDeviceTable, IsRegisteredWithItsColumnsAndConstraints) {
    DHrDeviceTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrDeviceTable");
    EXPECT_STREQ(table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.3.2.1");
    EXPECT_STREQ(DHrDeviceTable::s_pszNVSection, "hrDeviceTable");
    ExpectColumns(table.GetRqHndlrMap(), {{1, "hrDeviceIndex", 2, 3, 1},
                                          {2, "hrDeviceType", 6, 3, 3},
                                          {3, "hrDeviceDescr", 4, 3, 5},
                                          {4, "hrDeviceID", 6, 3, 3},
                                          {5, "hrDeviceStatus", 2, 3, 1},
                                          {6, "hrDeviceErrors", 0x41, 3, 4}});
    ExpectConstraints(table.GetConstraintMap(), {{CVT::kRange, 1, nullptr, 1, 2147483647},
                                                 {CVT::kConvention, 3, CVT::cszDisplayString, 0, 64},
                                                 {CVT::kEnumeration, 5, nullptr, 0, 0},
                                                 {CVT::kEnumValue, 0, "unknown", 1, 0},
                                                 {CVT::kEnumValue, 0, "running", 2, 0},
                                                 {CVT::kEnumValue, 0, "warning", 3, 0},
                                                 {CVT::kEnumValue, 0, "testing", 4, 0},
                                                 {CVT::kEnumValue, 0, "down", 5, 0}});
}

TEST(DHrDeviceTable, GivesANewRowItsIndexAndDefaults) {
    DHrDeviceTable table(nullptr);
    const DHrDeviceTable::Entry* const row = table.CreateNewRow(CVT::BObjectIdentifier(12));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->index, 12);
    EXPECT_STREQ(row->type.ToString().c_str(), "1.3.6.1.2.1.25.3.1");
    EXPECT_EQ(row->description, CVT::BString(""));
    EXPECT_STREQ(row->id.ToString().c_str(), "0.0");
    EXPECT_EQ(row->status, 1);
    EXPECT_EQ(row->errors, 0U);
    EXPECT_EQ(table.CreateNewRow(CVT::BObjectIdentifier(12)), nullptr) << "taken";
    EXPECT_EQ(table.CreateNewRow(Oid("1.2")), nullptr) << "no index of this table";
    EXPECT_EQ(table.GetNumRows(), 1U);
}

TEST(DHrDeviceTable, KnowsARowByItsWholeDescription) {
    DHrDeviceTable table(nullptr);
    EXPECT_FALSE(table.bRowExists("")) << "an empty table has no row, not even one without a description";
    table.CreateNewRow(CVT::BObjectIdentifier(1))->description = "eth0";
    table.CreateNewRow(CVT::BObjectIdentifier(2))->description = "lo";
    EXPECT_TRUE(table.bRowExists("eth0"));
    EXPECT_TRUE(table.bRowExists("lo"));
    for (const char* const other : {"eth", "eth01", "ETH0", "eth0\n", ""}) {
        EXPECT_FALSE(table.bRowExists(other)) << other;
    }
}

TEST(DHrDeviceTable, HasNoValuesForAnAbsentRow) {
    DHrDeviceTable table(nullptr);
    int number = 9;
    unsigned int errors = 9;
    CVT::BObjectIdentifier identifier(9);
    CVT::BOctetString text("x", 1);
    for (const char* const absent : {"1", "1.1"}) {
        EXPECT_EQ(table.OnGet_HrDeviceIndex(Oid(absent), 1, number), 2);
        EXPECT_EQ(table.OnGet_HrDeviceType(Oid(absent), 1, identifier), 2);
        EXPECT_EQ(table.OnGet_HrDeviceDescr(Oid(absent), 1, text), 2);
        EXPECT_EQ(table.OnGet_HrDeviceID(Oid(absent), 1, identifier), 2);
        EXPECT_EQ(table.OnGet_HrDeviceStatus(Oid(absent), 1, number), 2);
        EXPECT_EQ(table.OnGet_HrDeviceErrors(Oid(absent), 1, errors), 2);
    }
    EXPECT_EQ(number, 9);
    EXPECT_EQ(errors, 9U);
    EXPECT_EQ(identifier, CVT::BObjectIdentifier(9));
    EXPECT_EQ(text.View(), "x");
}

TEST(DHrDiskStorageTable, IsRegisteredWithItsColumnsAndConstraints) {
    DHrDiskStorageTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrDiskStorageTable");
    EXPECT_STREQ(table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.3.6.1");
    EXPECT_STREQ(DHrDiskStorageTable::s_pszNVSection, "hrDiskStorageTable");
    ExpectColumns(table.GetRqHndlrMap(), {{1, "hrDiskStorageAccess", 2, 3, 1},
                                          {2, "hrDiskStorageMedia", 2, 3, 1},
                                          {3, "hrDiskStorageRemoveble", 2, 3, 1},
                                          {4, "hrDiskStorageCapacity", 2, 3, 1}});
    ExpectConstraints(table.GetConstraintMap(), {{CVT::kEnumeration, 1, nullptr, 0, 0},
                                                 {CVT::kEnumValue, 0, "readWrite", 1, 0},
                                                 {CVT::kEnumValue, 0, "readOnly", 2, 0},
                                                 {CVT::kEnumeration, 2, nullptr, 0, 0},
                                                 {CVT::kEnumValue, 0, "other", 1, 0},
                                                 {CVT::kEnumValue, 0, "unknown", 2, 0},
                                                 {CVT::kEnumValue, 0, "hardDisk", 3, 0},
                                                 {CVT::kEnumValue, 0, "floppyDisk", 4, 0},
                                                 {CVT::kEnumValue, 0, "opticalDiskROM", 5, 0},
                                                 {CVT::kEnumValue, 0, "opticalDiskWORM", 6, 0},
                                                 {CVT::kEnumValue, 0, "opticalDiskRW", 7, 0},
                                                 {CVT::kEnumValue, 0, "ramDisk", 8, 0},
                                                 {CVT::kEnumConvention, 3, CVT::cszTruthValue, 0, 0},
                                                 {CVT::kConvention, 4, DCVHost::cszKBytes, 0, 0}});
}

TEST(DHrDiskStorageTable, ServesTheDefaultsOfANewRowAndNothingOfAnAbsentOne) {
    DHrDiskStorageTable table(nullptr);
    ASSERT_NE(table.CreateNewRow(CVT::BObjectIdentifier(6)), nullptr);
    int value = 9;
    CVT::BTruthValue removable = 9;
    EXPECT_EQ(table.OnGet_HrDiskStorageAccess(CVT::BObjectIdentifier(5), 1, value), 2);
    EXPECT_EQ(table.OnGet_HrDiskStorageMedia(CVT::BObjectIdentifier(5), 1, value), 2);
    EXPECT_EQ(table.OnGet_HrDiskStorageRemoveble(CVT::BObjectIdentifier(5), 1, removable), 2);
    EXPECT_EQ(table.OnGet_HrDiskStorageCapacity(CVT::BObjectIdentifier(5), 1, value), 2);
    EXPECT_EQ(value, 9);
    EXPECT_EQ(removable, 9);
    EXPECT_EQ(table.OnGet_HrDiskStorageAccess(CVT::BObjectIdentifier(6), 1, value), 0);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(table.OnGet_HrDiskStorageMedia(CVT::BObjectIdentifier(6), 1, value), 0);
    EXPECT_EQ(value, 8);
    EXPECT_EQ(table.OnGet_HrDiskStorageRemoveble(CVT::BObjectIdentifier(6), 1, removable), 0);
    EXPECT_EQ(removable, 2);
    EXPECT_EQ(table.OnGet_HrDiskStorageCapacity(CVT::BObjectIdentifier(6), 1, value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(table.GetRow(CVT::BObjectIdentifier(6))->mountDirectory, CVT::BString(""));
}

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
    ExpectConstraints(table.GetConstraintMap(), {{CVT::kRange, 1, nullptr, 1, 2147483647},
                                                 {CVT::kConvention, 2, DCVHost::cszInternationalDisplayString, 0, 128},
                                                 {CVT::kConvention, 4, DCVHost::cszKBytes, 0, 0},
                                                 {CVT::kRange, 5, nullptr, 0, 2147483647}});
}

TEST(DHrPartitionTable, HasAnIndexOfTwoPartsWithoutRange) {
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
    EXPECT_EQ(table.CreateNewRow(CVT::BObjectIdentifier(5)), nullptr) << "no index of this table";
    std::string order;
    CVT::BObjectIdentifier at;
    for (CVT::BObjectIdentifier next; table.NextInstanceInColumn(1, 1, at, next); at = next) {
        order += std::string(next.ToString().View()) + " ";
    }
    EXPECT_EQ(order, "5.1 5.3 5.15 10.1 ");
    int number = 9;
    EXPECT_EQ(table.OnGet_HrPartitionIndex(Oid("5.3"), 1, number), 0);
    EXPECT_EQ(number, 3);
    EXPECT_EQ(table.OnGet_HrPartitionIndex(CVT::BObjectIdentifier(5), 1, number), 2) << "a device is no partition";
}

TEST(DHrPartitionTable, ServesTheDefaultsOfANewRowAndNothingOfAnAbsentOne) {
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

TEST(DHrPartitionTable, KnowsARowByItsWholeLabelAndKeepsItsRowsWhenItComesUp) {
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
