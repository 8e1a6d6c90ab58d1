#include <gtest/gtest.h>

#include <string_view>

#include "groups/software/DHrSWInstalled.h"
#include "groups/software/DHrSWInstalledTable.h"
#include "groups/software/DHrSWRun.h"
#include "groups/software/DHrSWRunPerfTable.h"
#include "groups/software/DHrSWRunTable.h"
#include "module/DCVHost.h"
#include "tests/support/Declarations.h"

namespace {

constexpr int kMax = 2147483647;

TEST(DHrSWRun, DeclaresItsColumnAndConstraint) {
    const DHrSWRun group(nullptr);
    EXPECT_STREQ(group.Name().c_str(), "HOST-RESOURCES-MIB.hrSWRun");
    EXPECT_EQ(group.Oid().ToString(), CVT::BString("1.3.6.1.2.1.25.4"));
    EXPECT_STREQ(DHrSWRun::s_pszNVSection, "hrSWRun");
    ExpectColumns(DHrSWRun::s_rqhndlrEntries, {{1, "hrSWOSIndex", 2, 3, 1}});
    ExpectConstraints(DHrSWRun::s_sonstraintEntries, {{4, 1, nullptr, 1, kMax}});
}

TEST(DHrSWRun, ReportsTheIndexOneOnceItIsUp) {
    DHrSWRun group(nullptr);
    int value = -1;
    EXPECT_EQ(group.OnGet_HrSWOSIndex(1, value), 0);
    EXPECT_EQ(value, 0);
    group.Initialize();
    EXPECT_EQ(group.OnGet_HrSWOSIndex(1, value), 0);
    EXPECT_EQ(value, 1);
    group.Cleanup();
    EXPECT_FALSE(group.IsActive());
}

TEST(DHrSWRunTable, DeclaresItsColumnsAndConstraints) {
    const DHrSWRunTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrSWRunTable");
    EXPECT_EQ(table.Oid().ToString(), CVT::BString("1.3.6.1.2.1.25.4.2.1"));
    EXPECT_STREQ(DHrSWRunTable::s_pszNVSection, "hrSWRunTable");
    ExpectColumns(DHrSWRunTable::s_rqhndlrEntries, {{1, "hrSWRunIndex", 2, 3, 1},
                                                    {2, "hrSWRunName", 4, 3, 2},
                                                    {3, "hrSWRunID", 6, 3, 3},
                                                    {4, "hrSWRunPath", 4, 3, 2},
                                                    {5, "hrSWRunParameters", 4, 3, 2},
                                                    {6, "hrSWRunType", 2, 3, 1},
                                                    {7, "hrSWRunStatus", 2, 4, 1}});
    ExpectConstraints(DHrSWRunTable::s_sonstraintEntries, {{4, 1, nullptr, 1, kMax},
                                                           {5, 2, "InternationalDisplayString", 0, 64},
                                                           {5, 4, "InternationalDisplayString", 0, 128},
                                                           {5, 5, "InternationalDisplayString", 0, 128},
                                                           {1, 6, nullptr, 0, 0},
                                                           {3, 0, "unknown", 1, 0},
                                                           {3, 0, "operatingSystem", 2, 0},
                                                           {3, 0, "deviceDriver", 3, 0},
                                                           {3, 0, "application", 4, 0},
                                                           {1, 7, nullptr, 0, 0},
                                                           {3, 0, "running", 1, 0},
                                                           {3, 0, "runnable", 2, 0},
                                                           {3, 0, "notRunnable", 3, 0},
                                                           {3, 0, "invalid", 4, 0}});
}

TEST(DHrSWRunTable, ANewRowHasItsDefaults) {
    DHrSWRunTable table(nullptr);
    const DHrSWRunTable::Entry* const row = table.CreateNewRow(CVT::BObjectIdentifier(77U));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->index, 77U);
    EXPECT_TRUE(row->name.IsEmpty());
    EXPECT_EQ(row->id.ToString(), CVT::BString("0.0"));
    EXPECT_TRUE(row->path.IsEmpty());
    EXPECT_TRUE(row->parameters.IsEmpty());
    EXPECT_EQ(row->type, 4);
    EXPECT_EQ(row->status, 2);
    EXPECT_EQ(row->perfCPU, 1) << "one, not zero";
    EXPECT_EQ(row->perfMem, 0);
    table.vDeleteAllEntries();
    EXPECT_EQ(table.GetNumRows(), 0U);
}

TEST(DHrSWRunPerfTable, DeclaresItsColumnsAndConstraints) {
    DHrSWRunTable runTable(nullptr);
    const DHrSWRunPerfTable table(runTable);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrSWRunPerfTable");
    EXPECT_EQ(table.Oid().ToString(), CVT::BString("1.3.6.1.2.1.25.5.1.1"));
    ExpectColumns(DHrSWRunPerfTable::s_rqhndlrEntries,
                  {{1, "hrSWRunPerfCPU", 2, 3, 1}, {2, "hrSWRunPerfMem", 2, 3, 1}});
    ExpectConstraints(DHrSWRunPerfTable::s_sonstraintEntries, {{4, 1, nullptr, 0, kMax}, {5, 2, "KBytes", 0, 0}});
}

TEST(DHrSWRunPerfTable, SharesTheLockAndTheIndexesOfTheRunTable) {
    DHrSWRunTable runTable(nullptr);
    DHrSWRunPerfTable table(runTable);
    EXPECT_EQ(&table.RequestLock(), &runTable.RequestLock());
    DHrSWRunTable::Index index;
    EXPECT_TRUE(table.SplitIndex(CVT::BObjectIdentifier(9U), index));
    EXPECT_EQ(index.row, 9U);
    EXPECT_FALSE(table.IsIndexValid(CVT::BObjectIdentifier()));
}

TEST(DHrSWRunPerfTable, MayOutliveTheRunTable) {
    auto runTable = std::make_unique<DHrSWRunTable>(nullptr);
    auto table = std::make_unique<DHrSWRunPerfTable>(*runTable);
    runTable.reset();
    table.reset();  // the address sanitizer detects any use of the run table
    EXPECT_EQ(runTable, nullptr);
}

TEST(DHrSWInstalled, DeclaresItsColumnsAndNoConstraints) {
    const DHrSWInstalled group(nullptr);
    EXPECT_STREQ(group.Name().c_str(), "HOST-RESOURCES-MIB.hrSWInstalled");
    EXPECT_EQ(group.Oid().ToString(), CVT::BString("1.3.6.1.2.1.25.6"));
    EXPECT_STREQ(DHrSWInstalled::s_pszNVSection, "hrSWInstalled");
    ExpectColumns(DHrSWInstalled::s_rqhndlrEntries,
                  {{1, "hrSWInstalledLastChange", 0x43, 3, 4}, {2, "hrSWInstalledLastUpdateTime", 0x43, 3, 4}});
    ExpectConstraints(DHrSWInstalled::s_sonstraintEntries, {});
}

TEST(DHrSWInstalled, HasNeverChanged) {
    DHrSWInstalled group(nullptr);
    group.Initialize();
    unsigned int value = 5;
    EXPECT_EQ(group.OnGet_HrSWInstalledLastChange(1, value), 0);
    EXPECT_EQ(value, 0U);
    value = 5;
    EXPECT_EQ(group.OnGet_HrSWInstalledLastUpdateTime(1, value), 0);
    EXPECT_EQ(value, 0U);
}

TEST(DHrSWInstalledTable, DeclaresItsColumnsWithoutTheIdentifierAndItsConstraints) {
    const DHrSWInstalledTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrSWInstalledTable");
    EXPECT_EQ(table.Oid().ToString(), CVT::BString("1.3.6.1.2.1.25.6.3.1"));
    EXPECT_STREQ(DHrSWInstalledTable::s_pszNVSection, "hrSWInstalledTable");
    ExpectColumns(DHrSWInstalledTable::s_rqhndlrEntries, {{1, "hrSWInstalledIndex", 2, 3, 1},
                                                          {2, "hrSWInstalledName", 4, 3, 2},
                                                          {4, "hrSWInstalledType", 2, 3, 1},
                                                          {5, "hrSWInstalledDate", 4, 3, 2}});
    ExpectConstraints(DHrSWInstalledTable::s_sonstraintEntries, {{4, 1, nullptr, 1, kMax},
                                                                 {5, 2, "InternationalDisplayString", 0, 64},
                                                                 {1, 4, nullptr, 0, 0},
                                                                 {3, 0, "unknown", 1, 0},
                                                                 {3, 0, "operatingSystem", 2, 0},
                                                                 {3, 0, "deviceDriver", 3, 0},
                                                                 {3, 0, "application", 4, 0},
                                                                 {5, 5, "DateAndTime", 0, 0}});
}

TEST(DHrSWInstalledTable, ServesARowThatAnExtensionCreates) {
    DHrSWInstalledTable table(nullptr);
    table.Initialize();
    ASSERT_NE(table.CreateNewRow(CVT::BObjectIdentifier(3U)), nullptr);
    const CVT::BObjectIdentifier index(3U);
    int number = 0;
    CVT::BOctetString octets("x", 0);
    EXPECT_EQ(table.OnGet_HrSWInstalledIndex(index, 1, number), 0);
    EXPECT_EQ(number, 3);
    EXPECT_EQ(table.OnGet_HrSWInstalledType(index, 1, number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(table.OnGet_HrSWInstalledName(index, 1, octets), 0);
    EXPECT_TRUE(octets.IsEmpty());
    EXPECT_EQ(table.OnGet_HrSWInstalledDate(index, 1, octets), 0);
    EXPECT_EQ(octets.View(), std::string_view("\0\0\1\1\0\0\0\0", 8));
    CVT::BVarBind id;
    id.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.6.3.1.3.3");
    EXPECT_EQ(table.Get(1, id), 0);
    EXPECT_EQ(id.type, CVT::kNoSuchObject) << "hrSWInstalledID is not served";
}

TEST(DHrSWInstalledTable, FindsARowByItsNameAndClears) {
    DHrSWInstalledTable table(nullptr);
    EXPECT_EQ(table.pFindEntry("bash"), nullptr);
    table.CreateNewRow(CVT::BObjectIdentifier(1U))->name.Assign("bash");
    table.CreateNewRow(CVT::BObjectIdentifier(2U))->name.Assign("dash");
    table.CreateNewRow(CVT::BObjectIdentifier(3U))->name.Assign("dash");
    EXPECT_EQ(table.pFindEntry("dash"), table.GetRow(CVT::BObjectIdentifier(2U)));
    EXPECT_EQ(table.pFindEntry("das"), nullptr);
    table.CreateNewRow(CVT::BObjectIdentifier(4U));
    EXPECT_EQ(table.pFindEntry(nullptr), nullptr);
    EXPECT_EQ(table.pFindEntry(""), table.GetRow(CVT::BObjectIdentifier(4U)));
    CVT::TEvent stop(true);
    EXPECT_TRUE(table.vUpdate(stop));
    table.vClearTable();
    EXPECT_EQ(table.GetNumRows(), 0U);
}

TEST(DHrSWInstalledTable, AnAbsentRowLeavesTheValueUntouched) {
    DHrSWInstalledTable table(nullptr);
    int number = 77;
    CVT::BOctetString octets("kept", 0);
    const CVT::BObjectIdentifier index(3U);
    EXPECT_EQ(table.OnGet_HrSWInstalledIndex(index, 1, number), 2);
    EXPECT_EQ(table.OnGet_HrSWInstalledType(index, 1, number), 2);
    EXPECT_EQ(table.OnGet_HrSWInstalledName(index, 1, octets), 2);
    EXPECT_EQ(table.OnGet_HrSWInstalledDate(index, 1, octets), 2);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(octets.View(), "kept");
}

}  // namespace
