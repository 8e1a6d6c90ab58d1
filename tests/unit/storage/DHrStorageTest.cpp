#include "groups/storage/DHrStorage.h"

#include <gtest/gtest.h>
#include <sys/sysinfo.h>

#include "module/DCVHost.h"

namespace {

TEST(DHrStorage, IsRegisteredUnderItsNameAndOid) {
    DHrStorage group(nullptr);
    EXPECT_STREQ(group.Name().c_str(), "HOST-RESOURCES-MIB.hrStorage");
    EXPECT_STREQ(group.Oid().ToString().c_str(), "1.3.6.1.2.1.25.2");
    EXPECT_STREQ(DHrStorage::s_pszNVSection, "hrStorage");
    EXPECT_EQ(group.HandlerKind(), 3U);
}

TEST(DHrStorage, DeclaresItsOneColumn) {
    const CVT::BRqHndlrEntry& column = DHrStorage::s_rqhndlrEntries[0];
    EXPECT_EQ(column.subId, 2U);
    EXPECT_STREQ(column.name, "hrMemorySize");
    EXPECT_EQ(column.type, 2U);
    EXPECT_EQ(column.access, 3U);
    EXPECT_EQ(column.valueKind, 1U);
    EXPECT_EQ(column.reserved, 0U);
    EXPECT_NE(column.get.index(), 0U);
    EXPECT_EQ(column.set.index(), 0U);
    EXPECT_TRUE(DHrStorage::s_rqhndlrEntries[1].IsEnd());
}

TEST(DHrStorage, ConstrainsItsColumnByTheConventionForKilobytes) {
    const CVT::BConstraintEntry& constraint = DHrStorage::s_sonstraintEntries[0];
    EXPECT_EQ(constraint.kind, 5U);
    EXPECT_EQ(constraint.column, 2U);
    EXPECT_EQ(constraint.label, DCVHost::cszKBytes);
    EXPECT_EQ(constraint.high, 0);
    EXPECT_EQ(DHrStorage::s_sonstraintEntries[1].kind, 0U);
}

TEST(DHrStorage, AnswersZeroBeforeItComesUpAndThisHostsMemoryAfterwards) {
    DHrStorage group(nullptr);
    int value = -1;
    EXPECT_EQ(group.OnGet_HrMemorySize(1, value), 0);
    EXPECT_EQ(value, 0);
    group.Initialize();
    EXPECT_TRUE(group.IsActive());
    EXPECT_EQ(group.OnGet_HrMemorySize(1, value), 0);
    struct sysinfo host {};
    ASSERT_EQ(::sysinfo(&host), 0);
    EXPECT_EQ(static_cast<unsigned int>(value), static_cast<unsigned int>(host.totalram));
    group.Cleanup();
    EXPECT_FALSE(group.IsActive());
}

TEST(DHrStorage, KeepsNothingInTheStore) {
    DHrStorage group(nullptr);
    EXPECT_EQ(group.LoadFromNV(), 0);
    EXPECT_EQ(group.SaveToNV(), 0);
}

}  // namespace
