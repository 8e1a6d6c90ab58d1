#include "groups/storage/DHrStorage.h"

#include <gtest/gtest.h>
#include <sys/sysinfo.h>

#include "groups/common/DConventions.h"
#include "tests/support/Declarations.h"

namespace {

TEST(DHrStorage, IsRegisteredUnderItsNameAndOid) {
    DHrStorage group(nullptr);
    EXPECT_STREQ(group.Name().c_str(), "HOST-RESOURCES-MIB.hrStorage");
    EXPECT_STREQ(group.Oid().ToString().c_str(), "1.3.6.1.2.1.25.2");
    EXPECT_STREQ(DHrStorage::s_pszNVSection, "hrStorage");
    EXPECT_EQ(group.HandlerKind(), 3U);
}

TEST(DHrStorage, DeclaresItsOneColumn) {
    ExpectColumns(DHrStorage::s_rqhndlrEntries, {{2, "hrMemorySize", 2, 3, 1}});
    ExpectConstraints(DHrStorage::s_sonstraintEntries, {{5, 2, DConventions::cszKBytes, 0, 0}});
}

TEST(DHrStorage, ReportsZeroBeforeItComesUpAndThisHostsMemoryAfterwards) {
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
