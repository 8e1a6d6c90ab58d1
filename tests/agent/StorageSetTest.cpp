// Writes hrStorageSize through a real client.

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

const std::string kStorage = ".1.3.6.1.2.1.25.2.3.1.";

class StorageSetTest : public AgentTest {
protected:
    void SetUp() override {
        StartWritable({"--module", kMainModule});
        // Two rows that every host has.
        m_physical = RowOf("Physical Memory");
        m_virtual = RowOf("Virtual Memory");
    }

    std::string RowOf(const std::string& descr) const {
        const std::string all = V2c("snmpwalk", {kStorage + "3"}).output;
        const std::size_t value = all.find(" = STRING: \"" + descr + "\"");
        EXPECT_NE(value, std::string::npos) << all;
        const std::size_t dot = all.rfind('.', value);
        return all.substr(dot + 1, value - dot - 1);
    }
    std::string Size(const std::string& row) const { return kStorage + "5." + row; }
    std::string SizeLine(const std::string& row, int value) const {
        return Size(row) + " = INTEGER: " + std::to_string(value) + "\n";
    }

    std::string m_physical;
    std::string m_virtual;
};

TEST_F(StorageSetTest, ASizeIsWrittenAndReadBackWhileUsedIsMeasured) {
    const Outcome outcome = Set({Size(m_physical), "i", "5"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(Get(Size(m_physical)), SizeLine(m_physical, 5));
    EXPECT_NE(Get(kStorage + "6." + m_physical), kStorage + "6." + m_physical + " = INTEGER: 5\n");
    EXPECT_EQ(Set({Size(m_physical), "i", "0"}).status, 0);
    EXPECT_EQ(Set({Size(m_physical), "i", "2147483647"}).status, 0);
    EXPECT_EQ(Get(Size(m_physical)), SizeLine(m_physical, 2147483647));
}

TEST_F(StorageSetTest, EachRefusalHasItsOwnError) {
    ASSERT_EQ(Set({Size(m_physical), "i", "5"}).status, 0);
    ExpectSetRefused({Size(m_physical), "i", "-1"}, "wrongValue", Size(m_physical));
    ExpectSetRefused({Size(m_physical), "s", "5"}, "wrongType", Size(m_physical));
    ExpectSetRefused({Size(m_physical), "u", "5"}, "wrongType", Size(m_physical));
    ExpectSetRefused({Size("999999"), "i", "5"}, "inconsistentName", Size("999999"));
    for (const char* const column : {"1.", "4.", "6."}) {
        const std::string instance = kStorage + column + m_physical;
        ExpectSetRefused({instance, "i", "5"}, "notWritable", instance);
    }
    EXPECT_EQ(Get(Size(m_physical)), SizeLine(m_physical, 5));
}

TEST_F(StorageSetTest, WhenTheSecondVarbindIsRefusedNothingIsWritten) {
    ASSERT_EQ(Set({Size(m_physical), "i", "5", Size(m_virtual), "i", "6"}).status, 0);
    ExpectSetRefused({Size(m_physical), "i", "7", Size(m_virtual), "i", "-1"}, "wrongValue", Size(m_virtual));
    ExpectSetRefused({Size(m_physical), "i", "7", Size("999999"), "i", "8"}, "inconsistentName", Size("999999"));
    EXPECT_EQ(Get(Size(m_physical)), SizeLine(m_physical, 5));
    EXPECT_EQ(Get(Size(m_virtual)), SizeLine(m_virtual, 6));
}

TEST_F(StorageSetTest, WhenALaterCommitFailsTheOldSizeIsRestored) {
    ASSERT_EQ(Set({Size(m_physical), "i", "5"}).status, 0);
    ExpectSetRefused({Size(m_physical), "i", "7", kValues + "2.0", "s", "commit fails"}, "commitFailed",
                     kValues + "2.0");
    EXPECT_EQ(Get(Size(m_physical)), SizeLine(m_physical, 5));
}

}  // namespace
}  // namespace agent_test
