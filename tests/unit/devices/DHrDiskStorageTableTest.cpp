#include "groups/devices/DHrDiskStorageTable.h"

#include <gtest/gtest.h>

#include "CVT/TextualConventions.h"
#include "groups/common/DConventions.h"
#include "tests/support/Declarations.h"

namespace {

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
                                                 {CVT::kConvention, 4, DConventions::cszKBytes, 0, 0}});
}

TEST(DHrDiskStorageTable, ServesTheDefaultsOfANewRowAndNothingForAnAbsentOne) {
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

}  // namespace
