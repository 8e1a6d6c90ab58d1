// The backup dates of a file system that is really mounted from a node with a partition's name: an ext4 image on a loop
// device whose node stands under /dev/ide.

#include <gtest/gtest.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "CVT/BRequest.h"
#include "tests/support/MadeUpHostTest.h"
#include "tests/support/MountedPartition.h"
#include "tests/support/Walk.h"

namespace {

using namespace std::string_literals;

class BackupDates : public MadeUpHostTest {
protected:
    void SetUp() override {
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        m_partition = std::make_unique<MountedPartition>(*m_host);
        if (!m_partition->Missing().empty()) {
            GTEST_SKIP() << m_partition->Missing();
        }
        StartUp();
        for (const CVT::BVarBind& mountPoint : Walk(m_engine, "1.3.6.1.2.1.25.3.8.1.2")) {
            if (mountPoint.octets.View() == m_partition->Directory()) {
                m_row = std::to_string(mountPoint.name[11]);
            }
        }
        ASSERT_NE(m_row, "") << "no row for " << m_partition->Directory();
    }
    void TearDown() override {
        MadeUpHostTest::TearDown();
        m_partition.reset();
    }

    CVT::BVarBind FileSystem(int column) {
        return Get(m_engine, "1.3.6.1.2.1.25.3.8.1." + std::to_string(column) + "." + m_row);
    }
    std::string Date(int column) { return std::string(FileSystem(column).octets.View()); }
    CVT::BVarBind DateToSet(int column, const std::string& octets, const std::string& row) {
        CVT::BVarBind date;
        date.name.AssignFromDottedDecimalStr(("1.3.6.1.2.1.25.3.8.1." + std::to_string(column) + "." + row).c_str());
        date.type = CVT::kOctetString;
        date.octets.Assign(octets);
        return date;
    }
    /// Returns the error-status of a whole SET; m_errorIndex is where it failed.
    int Set(const CVT::BVarBindList& dates) {
        m_errorIndex = 0;
        return m_engine.Set(CVT::BRequest().Id(), dates, m_errorIndex);
    }

    std::unique_ptr<MountedPartition> m_partition;
    std::string m_row;
    int m_errorIndex = 0;
};

TEST_F(BackupDates, AreServedInTheRowOfAMountedPartition) {
    EXPECT_EQ(FileSystem(4).identifier.ToString(), CVT::BString("1.3.6.1.2.1.25.3.9.23"));
    EXPECT_EQ(FileSystem(5).integer, 1);
    EXPECT_EQ(FileSystem(6).integer, 2);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.2.3.1.3." + std::to_string(FileSystem(7).integer)).octets.View(),
              m_partition->Directory());
    EXPECT_EQ(Date(8), "\0\1\1\0\0\0\0\0"s);
    EXPECT_EQ(Date(9), "\0\1\1\0\0\0\0\0"s);
}

TEST_F(BackupDates, BelongToAPartitionOfADisk) {
    const auto labels = Walk(m_engine, "1.3.6.1.2.1.25.3.7.1.2");
    ASSERT_EQ(labels.size(), 1U);
    EXPECT_EQ(labels[0].octets.View(), MountedPartition::kNode);
    const std::string disk = std::to_string(labels[0].name[11]);
    EXPECT_EQ(labels[0].name[12], 1U);
    const auto partition = [&](int column) {
        return Get(m_engine, "1.3.6.1.2.1.25.3.7.1." + std::to_string(column) + "." + disk + ".1");
    };
    char id[16];
    std::snprintf(id, sizeof id, "0x%llx", static_cast<unsigned long long>(m_partition->Device()));
    EXPECT_EQ(partition(3).octets.View(), id);
    if (minor(m_partition->Device()) < 256) {
        EXPECT_EQ(partition(4).integer, static_cast<int>(MountedPartition::kSize >> 10U));
    }
    EXPECT_EQ(std::to_string(partition(5).integer), m_row);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.2.1.3." + disk).octets.View(), MountedPartition::kNode);
    struct statfs space {};
    ASSERT_EQ(::statfs(m_partition->Directory().c_str(), &space), 0);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.6.1.4." + disk).integer,
              static_cast<int>(space.f_blocks * static_cast<unsigned long>(space.f_bsize) >> 10U));
}

TEST_F(BackupDates, AreStoredWithEightToElevenOctets) {
    const std::string date = "\x07\xEA\x0B\x15\x0A\x25\x13\x00+\x02\x00"s;
    for (const int column : {8, 9}) {
        for (const std::size_t length : {8U, 9U, 10U, 11U}) {
            EXPECT_EQ(Set({DateToSet(column, date.substr(0, length), m_row)}), 0) << length;
            EXPECT_EQ(Date(column), date.substr(0, length)) << length;
        }
    }
}

TEST_F(BackupDates, OfOtherLengthsAreRejected) {
    for (const int column : {8, 9}) {
        for (const std::size_t length : {0U, 7U, 12U, 200U}) {
            EXPECT_NE(Set({DateToSet(column, std::string(length, '\1'), m_row)}), 0) << length;
            EXPECT_EQ(m_errorIndex, 1);
            EXPECT_EQ(Date(column), "\0\1\1\0\0\0\0\0"s) << length;
        }
        EXPECT_EQ(Set({DateToSet(column, std::string(7, '\1'), m_row)}), 10);
        EXPECT_EQ(Set({DateToSet(column, std::string(12, '\1'), m_row)}), 10);
    }
}

TEST_F(BackupDates, StayUnchangedWhenTheSecondOfTwoIsRejected) {
    const std::string date(8, '\2');
    EXPECT_EQ(Set({DateToSet(8, date, m_row), DateToSet(9, std::string(7, '\2'), m_row)}), 10);
    EXPECT_EQ(m_errorIndex, 2);
    EXPECT_EQ(Date(8), "\0\1\1\0\0\0\0\0"s);
    EXPECT_EQ(Set({DateToSet(8, date, m_row), DateToSet(9, date, "4242")}), 18);
    EXPECT_EQ(m_errorIndex, 2);
    EXPECT_EQ(Date(8), "\0\1\1\0\0\0\0\0"s);
    EXPECT_EQ(Set({DateToSet(8, date, m_row), DateToSet(9, date, m_row)}), 0);
    EXPECT_EQ(Date(8), date);
    EXPECT_EQ(Date(9), date);
}

TEST_F(BackupDates, AreRestoredByAnUndo) {
    CVT::BMibImpl& table = *m_module->Group().HandlerAt(9);
    const CVT::BVarBind date = DateToSet(8, std::string(11, '\3'), m_row);
    void* undo = nullptr;
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::CheckAndSave, &undo, date), 0);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Commit, &undo, date), 0);
    EXPECT_EQ(Date(8), std::string(11, '\3'));
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Undo, &undo, date), 0);
    EXPECT_EQ(Date(8), "\0\1\1\0\0\0\0\0"s);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Release, &undo, date), 0);
}

}  // namespace
