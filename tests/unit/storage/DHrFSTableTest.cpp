#include "groups/storage/DHrFSTable.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "CVT/TextualConventions.h"
#include "groups/common/DConventions.h"
#include "tests/support/Declarations.h"

namespace {

using namespace std::string_view_literals;
using CVT::ESnmpSetOpCode;

const CVT::BObjectIdentifier kOne(1);

TEST(DHrFSTable, IsRegisteredUnderItsNameAndOid) {
    DHrFSTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrFSTable");
    EXPECT_STREQ(table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.3.8.1") << "the entry's OID";
    EXPECT_STREQ(DHrFSTable::s_pszNVSection, "hrFSTable");
    EXPECT_EQ(table.HandlerKind(), 4U);
    EXPECT_EQ(table.LoadFromNV(), 0);
    EXPECT_EQ(table.SaveToNV(), 0);
}

TEST(DHrFSTable, DeclaresItsNineColumns) {
    ExpectColumns(DHrFSTable::s_rqhndlrEntries, {{1, "hrFSIndex", 2, 3, 1},
                                                 {2, "hrFSMountPoint", 4, 3, 2},
                                                 {3, "hrFSRemoteMountPoint", 4, 3, 2},
                                                 {4, "hrFSType", 6, 3, 3},
                                                 {5, "hrFSAccess", 2, 3, 1},
                                                 {6, "hrFSBootable", 2, 3, 1},
                                                 {7, "hrFSStorageIndex", 2, 3, 1},
                                                 {8, "hrFSLastFullBackupDate", 4, 4, 2},
                                                 {9, "hrFSLastPartialBackupDate", 4, 4, 2}});
}

TEST(DHrFSTable, ConstrainsItsColumns) {
    ExpectConstraints(DHrFSTable::s_sonstraintEntries, {{4, 1, nullptr, 1, 2147483647},
                                                        {5, 2, DConventions::cszInternationalDisplayString, 0, 128},
                                                        {5, 3, DConventions::cszInternationalDisplayString, 0, 128},
                                                        {1, 5, nullptr, 0, 0},
                                                        {3, 0, "readWrite", 1, 0},
                                                        {3, 0, "readOnly", 2, 0},
                                                        {2, 6, CVT::cszTruthValue, 0, 0},
                                                        {4, 7, nullptr, 0, 2147483647},
                                                        {5, 8, CVT::cszDateAndTime, 0, 0},
                                                        {5, 9, CVT::cszDateAndTime, 0, 0}});
}

TEST(DHrFSTable, CreatesARowWithDefaultsForDiscoveryToFill) {
    DHrFSTable table(nullptr);
    const DHrFSTable::Entry* const row = table.CreateNewRow(kOne);
    ASSERT_NE(row, nullptr);
    int number = 0;
    CVT::BOctetString octets(std::string_view("x"));
    CVT::BObjectIdentifier type;
    EXPECT_EQ(table.OnGet_HrFSIndex(kOne, 1, number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(table.OnGet_HrFSMountPoint(kOne, 1, octets), 0);
    EXPECT_TRUE(octets.IsEmpty());
    octets.Assign("x");
    EXPECT_EQ(table.OnGet_HrFSRemoteMountPoint(kOne, 1, octets), 0);
    EXPECT_TRUE(octets.IsEmpty());
    EXPECT_EQ(table.OnGet_HrFSType(kOne, 1, type), 0);
    EXPECT_STREQ(type.ToString().c_str(), "1.3.6.1.2.1.25.3.9");
    EXPECT_EQ(table.OnGet_HrFSAccess(kOne, 1, number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(table.OnGet_HrFSBootable(kOne, 1, number), 0);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(table.OnGet_HrFSStorageIndex(kOne, 1, number), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(table.OnGet_HrFSLastFullBackupDate(kOne, 1, octets), 0);
    EXPECT_EQ(octets.View(), "\0\1\1\0\0\0\0\0"sv);
    octets.Clear();
    EXPECT_EQ(table.OnGet_HrFSLastPartialBackupDate(kOne, 1, octets), 0);
    EXPECT_EQ(octets.View(), "\0\1\1\0\0\0\0\0"sv);
}

TEST(DHrFSTable, ServesWhatDiscoveryFillsIn) {
    DHrFSTable table(nullptr);
    DHrFSTable::Entry* const row = table.CreateNewRow(CVT::BObjectIdentifier(7));
    ASSERT_NE(row, nullptr);
    row->mountPoint.Assign("/");
    row->remoteMountPoint.Assign("server:/export");
    row->type.Append(23);
    row->access = 2;
    row->bootable = 1;
    row->storageIndex = 12;
    const CVT::BObjectIdentifier seven(7);
    int number = 0;
    CVT::BOctetString octets;
    CVT::BObjectIdentifier type;
    EXPECT_EQ(table.OnGet_HrFSIndex(seven, 1, number), 0);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(table.OnGet_HrFSMountPoint(seven, 1, octets), 0);
    EXPECT_EQ(octets.View(), "/");
    EXPECT_EQ(table.OnGet_HrFSRemoteMountPoint(seven, 1, octets), 0);
    EXPECT_EQ(octets.View(), "server:/export");
    EXPECT_EQ(table.OnGet_HrFSType(seven, 1, type), 0);
    EXPECT_STREQ(type.ToString().c_str(), "1.3.6.1.2.1.25.3.9.23");
    EXPECT_EQ(table.OnGet_HrFSAccess(seven, 1, number), 0);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(table.OnGet_HrFSBootable(seven, 1, number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(table.OnGet_HrFSStorageIndex(seven, 1, number), 0);
    EXPECT_EQ(number, 12);
}

TEST(DHrFSTable, CreatesNoRowUnderAUsedOrInvalidIndex) {
    DHrFSTable table(nullptr);
    EXPECT_NE(table.CreateNewRow(kOne), nullptr);
    EXPECT_EQ(table.CreateNewRow(kOne), nullptr);
    EXPECT_EQ(table.CreateNewRow(CVT::BObjectIdentifier()), nullptr);
    EXPECT_EQ(table.CreateNewRow(CVT::BObjectIdentifier(CVT::BString("1.2"))), nullptr);
    EXPECT_EQ(table.GetNumRows(), 1U);
}

TEST(DHrFSTable, FindsAMountPointOctetForOctet) {
    DHrFSTable table(nullptr);
    EXPECT_FALSE(table.bIsInTable("/"));
    table.CreateNewRow(kOne)->mountPoint.Assign("/");
    table.CreateNewRow(CVT::BObjectIdentifier(2))->mountPoint.Assign("/mnt/a b");
    EXPECT_TRUE(table.bIsInTable("/"));
    EXPECT_TRUE(table.bIsInTable("/mnt/a b"));
    EXPECT_FALSE(table.bIsInTable("/mnt/a"));
    EXPECT_FALSE(table.bIsInTable("/MNT/A B"));
    EXPECT_FALSE(table.bIsInTable(""));
    table.CreateNewRow(CVT::BObjectIdentifier(3));
    EXPECT_TRUE(table.bIsInTable("")) << "a row that is not filled yet";
}

TEST(DHrFSTable, HasNoValueForAnAbsentRow) {
    DHrFSTable table(nullptr);
    table.CreateNewRow(kOne);
    for (const CVT::BObjectIdentifier& index :
         {CVT::BObjectIdentifier(2), CVT::BObjectIdentifier(), CVT::BObjectIdentifier(CVT::BString("1.1"))}) {
        int number = 77;
        CVT::BOctetString octets(std::string_view("kept"));
        CVT::BObjectIdentifier type(42);
        EXPECT_EQ(table.OnGet_HrFSIndex(index, 1, number), 2);
        EXPECT_EQ(table.OnGet_HrFSMountPoint(index, 1, octets), 2);
        EXPECT_EQ(table.OnGet_HrFSRemoteMountPoint(index, 1, octets), 2);
        EXPECT_EQ(table.OnGet_HrFSType(index, 1, type), 2);
        EXPECT_EQ(table.OnGet_HrFSAccess(index, 1, number), 2);
        EXPECT_EQ(table.OnGet_HrFSBootable(index, 1, number), 2);
        EXPECT_EQ(table.OnGet_HrFSStorageIndex(index, 1, number), 2);
        EXPECT_EQ(table.OnGet_HrFSLastFullBackupDate(index, 1, octets), 2);
        EXPECT_EQ(table.OnGet_HrFSLastPartialBackupDate(index, 1, octets), 2);
        EXPECT_EQ(number, 77);
        EXPECT_EQ(octets.View(), "kept");
        EXPECT_EQ(type, CVT::BObjectIdentifier(42));
    }
}

TEST(DHrFSTable, KeepsItsRowsThroughInitializeAndCleanup) {
    DHrFSTable table(nullptr);
    table.CreateNewRow(kOne);
    EXPECT_FALSE(table.IsActive());
    table.Initialize();
    EXPECT_TRUE(table.IsActive());
    EXPECT_EQ(table.GetNumRows(), 1U);
    table.CreateDemoRow();
    table.Cleanup();
    EXPECT_FALSE(table.IsActive());
    EXPECT_EQ(table.GetNumRows(), 1U);
}

/// Both dates, each with the operations of its column.
class DHrFSTableBackupDate : public testing::TestWithParam<bool> {
protected:
    void SetUp() override { ASSERT_NE(m_table.CreateNewRow(kOne), nullptr); }

    int Set(ESnmpSetOpCode phase, std::string_view value, void** undo, unsigned int row = 1) {
        const CVT::BObjectIdentifier index(row);
        const CVT::BOctetString octets(value);
        return GetParam() ? m_table.OnSet_HrFSLastFullBackupDate(index, phase, 1, octets, undo)
                          : m_table.OnSet_HrFSLastPartialBackupDate(index, phase, 1, octets, undo);
    }
    std::string Date() { return Read(GetParam()); }
    std::string OtherDate() { return Read(!GetParam()); }

private:
    std::string Read(bool full) {
        CVT::BOctetString octets;
        EXPECT_EQ(full ? m_table.OnGet_HrFSLastFullBackupDate(kOne, 1, octets)
                       : m_table.OnGet_HrFSLastPartialBackupDate(kOne, 1, octets),
                  0);
        return std::string(octets.View());
    }

    DHrFSTable m_table{nullptr};
};

constexpr std::string_view kNever = "\0\1\1\0\0\0\0\0"sv;
constexpr std::string_view kDate = "\x07\xE8\x02\x1D\x0C\x1E\x0F\0+\1\x1E"sv;

TEST_P(DHrFSTableBackupDate, IsReadBackAsWritten) {
    void* undo = nullptr;
    EXPECT_EQ(Set(ESnmpSetOpCode::CheckAndSave, kDate, &undo), 0);
    EXPECT_NE(undo, nullptr);
    EXPECT_EQ(Date(), kNever) << "nothing is written before the commit";
    EXPECT_EQ(Set(ESnmpSetOpCode::Commit, kDate, &undo), 0);
    EXPECT_EQ(Date(), kDate);
    EXPECT_EQ(OtherDate(), kNever);
    EXPECT_EQ(Set(ESnmpSetOpCode::Release, kDate, &undo), 0);
    EXPECT_EQ(undo, nullptr);
    EXPECT_EQ(Date(), kDate);
}

TEST_P(DHrFSTableBackupDate, IsRestoredByAnUndo) {
    void* undo = nullptr;
    ASSERT_EQ(Set(ESnmpSetOpCode::CheckAndSave, kDate, &undo), 0);
    ASSERT_EQ(Set(ESnmpSetOpCode::Commit, kDate, &undo), 0);
    EXPECT_EQ(Set(ESnmpSetOpCode::Undo, kDate, &undo), 0);
    EXPECT_EQ(Date(), kNever);
    EXPECT_EQ(Set(ESnmpSetOpCode::Release, kDate, &undo), 0);
}

TEST_P(DHrFSTableBackupDate, MayOnlyHaveEightToElevenOctets) {
    const std::string octets(300, '\1');
    for (std::size_t length = 0; length <= 14; ++length) {
        void* undo = nullptr;
        const bool fits = length >= 8 && length <= 11;
        EXPECT_EQ(Set(ESnmpSetOpCode::CheckAndSave, octets.substr(0, length), &undo), fits ? 0 : 10) << length;
        EXPECT_EQ(undo != nullptr, fits) << length;
        EXPECT_EQ(Set(ESnmpSetOpCode::Release, "", &undo), 0);
    }
}

TEST_P(DHrFSTableBackupDate, HasItsOwnErrorInEachPhaseForAnAbsentRow) {
    void* undo = nullptr;
    EXPECT_EQ(Set(ESnmpSetOpCode::CheckAndSave, "short", &undo, 2), 10) << "the value is checked first";
    EXPECT_EQ(Set(ESnmpSetOpCode::CheckAndSave, kDate, &undo, 2), 18);
    EXPECT_EQ(Set(ESnmpSetOpCode::Commit, kDate, &undo, 2), 14);
    EXPECT_EQ(Set(ESnmpSetOpCode::Undo, kDate, &undo, 2), 15);
    EXPECT_EQ(Set(ESnmpSetOpCode::Release, kDate, &undo, 2), 0) << "there is nothing to release";
    EXPECT_EQ(undo, nullptr);
}

TEST_P(DHrFSTableBackupDate, RejectsAnUnknownPhase) {
    void* undo = nullptr;
    EXPECT_EQ(Set(static_cast<ESnmpSetOpCode>(0), kDate, &undo), 5);
    EXPECT_EQ(Set(static_cast<ESnmpSetOpCode>(227), kDate, &undo), 5);
    EXPECT_EQ(Date(), kNever);
}

INSTANTIATE_TEST_SUITE_P(FullAndPartial, DHrFSTableBackupDate, testing::Bool());

}  // namespace
