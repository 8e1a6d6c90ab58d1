#include "groups/devices/DHrDeviceTable.h"

#include <gtest/gtest.h>

#include "CVT/TextualConventions.h"
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

TEST(DHrDeviceTable, CreatesANewRowWithItsIndexAndDefaults) {
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
    EXPECT_EQ(table.CreateNewRow(Oid("1.2")), nullptr) << "not an index of this table";
    EXPECT_EQ(table.GetNumRows(), 1U);
}

TEST(DHrDeviceTable, FindsARowByItsWholeDescription) {
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

}  // namespace
