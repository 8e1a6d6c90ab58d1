#include "groups/hardware/DHrPrinterTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const CVT::BObjectIdentifier kSeven(7);

TEST(DHrPrinterTable, IsRegisteredWithItsColumns) {
    DHrPrinterTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrPrinterTable");
    EXPECT_STREQ(table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.3.5.1");
    EXPECT_STREQ(DHrPrinterTable::s_pszNVSection, "hrPrinterTable");
    EXPECT_STREQ(table.GetRqHndlrMap()[0].name, "hrPrinterStatus");
    EXPECT_STREQ(table.GetRqHndlrMap()[1].name, "hrPrinterDetectedErrorState");
    EXPECT_EQ(table.GetRqHndlrMap()[1].type, CVT::kOctetString);
    EXPECT_TRUE(table.GetRqHndlrMap()[2].IsEnd());
    const std::vector<std::string> states = {"other", "unknown", "idle", "printing", "warmup"};
    EXPECT_EQ(table.GetConstraintMap()[0].kind, CVT::kEnumeration);
    EXPECT_EQ(table.GetConstraintMap()[0].column, 1U);
    for (int state = 1; state <= 5; ++state) {
        EXPECT_EQ(table.GetConstraintMap()[state].label, states[static_cast<std::size_t>(state) - 1]);
        EXPECT_EQ(table.GetConstraintMap()[state].low, state);
    }
    EXPECT_EQ(table.GetConstraintMap()[6].kind, CVT::kEndOfConstraints);
}

TEST(DHrPrinterTable, ReportsTheSameForEveryPrinter) {
    DHrPrinterTable table(nullptr);
    int status = 9;
    CVT::BOctetString error("x", 1);
    EXPECT_EQ(table.OnGet_HrPrinterStatus(kSeven, 1, status), 2);
    EXPECT_EQ(table.OnGet_HrPrinterDetectedErrorState(kSeven, 1, error), 2);
    EXPECT_EQ(status, 9);
    EXPECT_EQ(error.View(), "x");
    ASSERT_NE(table.CreateNewRow(kSeven), nullptr);
    EXPECT_EQ(table.OnGet_HrPrinterStatus(kSeven, 1, status), 0);
    EXPECT_EQ(table.OnGet_HrPrinterDetectedErrorState(kSeven, 1, error), 0);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(error.View(), "\x30") << "the character zero, not a bit string";
    EXPECT_EQ(table.CreateNewRow(kSeven), nullptr);
}

}  // namespace
