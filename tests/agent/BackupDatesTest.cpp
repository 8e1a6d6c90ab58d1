// Writes the backup dates of a mounted file system through a real client.

#include <memory>
#include <string>

#include "tests/agent/AgentTest.h"
#include "tests/support/MadeUpHost.h"
#include "tests/support/MountedPartition.h"

namespace agent_test {
namespace {

const std::string kFileSystem = ".1.3.6.1.2.1.25.3.8.1.";
const std::string kPartition = ".1.3.6.1.2.1.25.3.7.1.";
const std::string kDescr = ".1.3.6.1.2.1.25.2.3.1.3.";

/// The value of a date before the first write.
const std::string kNever = "00 01 01 00 00 00 00 00";

class BackupDatesTest : public AgentTest {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "no mount namespace on this machine";
        }
        m_host = std::make_unique<MadeUpHost>();
        m_disk = std::make_unique<MountedPartition>(*m_host);
        if (!m_disk->Missing().empty()) {
            GTEST_SKIP() << m_disk->Missing();
        }
        StartWritable({"--module", kMainModule});  // in our namespace
        m_row = RowWith(kFileSystem + "2", "\"" + m_disk->Directory() + "\"");
        ASSERT_NE(m_row, "") << "no file system on " << m_disk->Directory();
    }
    void TearDown() override {
        AgentTest::TearDown();
        m_disk.reset();
    }

    /// The value of the one instance, as the client prints it after its type.
    std::string Value(const std::string& instance) const {
        const std::string line = Get(instance);
        const std::size_t begin = line.find(": ");
        return begin == std::string::npos ? line : line.substr(begin + 2, line.size() - begin - 3);
    }
    /// The index of the column's instance with this value; empty when there is none.
    std::string RowWith(const std::string& column, const std::string& value) const {
        const std::string all = V2c("snmpwalk", {column}).output;
        const std::size_t end = all.find(" = STRING: " + value + "\n");
        if (end == std::string::npos) {
            return "";
        }
        const std::size_t begin = all.rfind('\n', end) + 1 + column.size() + 1;
        return all.substr(begin, end - begin);
    }

    std::string Full() const { return kFileSystem + "8." + m_row; }
    std::string Partial() const { return kFileSystem + "9." + m_row; }
    void ExpectDate(const std::string& instance, const std::string& octets) const {
        EXPECT_EQ(Get(instance), instance + " = Hex-STRING: " + octets + " \n");
    }

    std::unique_ptr<MadeUpHost> m_host;
    std::unique_ptr<MountedPartition> m_disk;
    std::string m_row;
};

TEST_F(BackupDatesTest, AreStoredWithEightToElevenOctetsAndReadBack) {
    for (const std::string& instance : {Full(), Partial()}) {
        ExpectDate(instance, kNever);
        for (const char* const date : {"07 EA 0B 15 0A 25 13 00", "07 EA 0B 15 0A 25 13 00 2B",
                                       "07 EA 0B 15 0A 25 13 00 2B 02", "07 EA 0B 15 0A 25 13 00 2B 02 00"}) {
            const Outcome outcome = Set({instance, "x", date});
            EXPECT_EQ(outcome.status, 0) << outcome.output;
            ExpectDate(instance, date);
        }
    }
}

TEST_F(BackupDatesTest, OfOtherLengthsAreWrongValues) {
    for (const std::string& instance : {Full(), Partial()}) {
        ExpectSetRefused({instance, "x", "07 EA 0B 15 0A 25 13"}, "wrongValue", instance);
        ExpectSetRefused({instance, "x", "07 EA 0B 15 0A 25 13 00 2B 02 00 00"}, "wrongValue", instance);
        ExpectSetRefused({instance, "s", ""}, "wrongValue", instance);
        ExpectSetRefused({instance, "i", "8"}, "wrongType", instance);
        ExpectDate(instance, kNever);
    }
}

TEST_F(BackupDatesTest, StayAsTheyWereWhenTheSecondOfTwoFails) {
    const std::string first = "07 EA 0B 15 0A 25 13 00";
    const std::string second = "07 EA 0C 01 00 00 00 00 2B 01 00";
    ASSERT_EQ(Set({Full(), "x", first, Partial(), "x", second}).status, 0);
    ExpectSetRefused({Full(), "x", second, Partial(), "x", "07 EA"}, "wrongValue", Partial());
    ExpectSetRefused({Full(), "x", second, kFileSystem + "9.999999", "x", second}, "inconsistentName",
                     kFileSystem + "9.999999");
    ExpectDate(Full(), first);
    // This commit fails after the date has been written.
    ExpectSetRefused({Full(), "x", second, kValues + "2.0", "s", "commit fails"}, "commitFailed", kValues + "2.0");
    ExpectDate(Full(), first);
    ExpectDate(Partial(), second);
}

TEST_F(BackupDatesTest, AreInTheRowThatThePartitionAndTheStoragePointTo) {
    EXPECT_EQ(Value(kDescr + Value(kFileSystem + "7." + m_row)), "\"" + m_disk->Directory() + "\"");
    const std::string partition = RowWith(kPartition + "2", "\"" + std::string(MountedPartition::kNode) + "\"");
    ASSERT_NE(partition, "");
    EXPECT_EQ(Value(kPartition + "5." + partition), m_row);
    EXPECT_EQ(Value(kFileSystem + "4." + m_row), ".1.3.6.1.2.1.25.3.9.23");
}

}  // namespace
}  // namespace agent_test
