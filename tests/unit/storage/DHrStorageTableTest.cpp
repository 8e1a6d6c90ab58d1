#include "groups/storage/DHrStorageTable.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "CVT/BMibEngine.h"
#include "CVT/BRequestId.h"
#include "CVT/TextualConventions.h"
#include "groups/storage/MemoryProbe.h"
#include "module/DCVHost.h"
#include "tests/support/Declarations.h"
#include "tests/support/NoStore.h"
#include "tests/support/ReceivedWarnings.h"
#include "tests/support/ScratchFolder.h"

namespace {

using CVT::ESnmpSetOpCode;

/// A table over a mount table of the test, whose mount directories are ordinary ones in a scratch folder.
class DHrStorageTableTest : public testing::Test {
protected:
    void SetUp() override {
        ETC_MNTTAB = m_mountTable.c_str();
        lastTableIndex = vVMemIndex = vMemIndex = 0;
        stLastMntFileStat = {};
    }
    void TearDown() override { ETC_MNTTAB = "/etc/mtab"; }

    std::string Path(const std::string& name) const { return m_folder / name; }
    std::string Directory(const std::string& name) const { return m_folder.MakeFolder(name); }
    /// Writes the mount table, each time with times that it did not have before.
    void Write(const std::string& lines) {
        std::ofstream(m_mountTable) << lines;
        m_time += 10;
        const timespec times[2] = {{m_time, 0}, {m_time, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, m_mountTable.c_str(), times, 0), 0);
    }
    std::string Line(const std::string& device, const std::string& name, const std::string& type) const {
        return device + " " + Directory(name) + " " + type + " rw 0 0\n";
    }

    std::string Descr(unsigned int row, unsigned int request = CVT::BRequestId::Next()) {
        CVT::BOctetString value;
        const int status = m_table.OnGet_HrStorageDescr(CVT::BObjectIdentifier(row), request, value);
        return status == 0 ? std::string(value.View()) : "status " + std::to_string(status);
    }
    std::string Type(unsigned int row) {
        CVT::BObjectIdentifier value;
        const int status = m_table.OnGet_HrStorageType(CVT::BObjectIdentifier(row), CVT::BRequestId::Next(), value);
        return status == 0 ? value.ToString().c_str() : "status " + std::to_string(status);
    }
    using IntGet = int (DHrStorageTable::*)(const CVT::BObjectIdentifier&, unsigned int, int&);
    int Number(IntGet get, unsigned int row) {
        int value = -77;
        EXPECT_EQ((m_table.*get)(CVT::BObjectIdentifier(row), CVT::BRequestId::Next(), value), 0);
        return value;
    }
    int SetSize(ESnmpSetOpCode phase, unsigned int row, int value, void** undo) {
        return m_table.OnSet_HrStorageSize(CVT::BObjectIdentifier(row), phase, 1, value, undo);
    }

    DHrStorageTable m_table{nullptr};

private:
    const ScratchFolder m_folder;
    const std::string m_mountTable = m_folder / "mtab";
    time_t m_time = 1'000'000'000;
};

TEST_F(DHrStorageTableTest, IsRegisteredUnderItsNameAndOid) {
    EXPECT_STREQ(m_table.Name().c_str(), "HOST-RESOURCES-MIB.hrStorageTable");
    EXPECT_STREQ(m_table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.2.3.1") << "the entry's OID";
    EXPECT_STREQ(DHrStorageTable::s_pszNVSection, "hrStorageTable");
    EXPECT_EQ(m_table.HandlerKind(), 4U);
    EXPECT_EQ(m_table.LoadFromNV(), 0);
    EXPECT_EQ(m_table.SaveToNV(), 0);
}

TEST_F(DHrStorageTableTest, DeclaresItsSevenColumns) {
    ExpectColumns(DHrStorageTable::s_rqhndlrEntries, {{1, "hrStorageIndex", 2, 3, 1},
                                                      {2, "hrStorageType", 6, 3, 3},
                                                      {3, "hrStorageDescr", 4, 3, 5},
                                                      {4, "hrStorageAllocationUnits", 2, 3, 1},
                                                      {5, "hrStorageSize", 2, 4, 1},
                                                      {6, "hrStorageUsed", 2, 3, 1},
                                                      {7, "hrStorageAllocationFailures", 0x41, 3, 4}});
}

TEST_F(DHrStorageTableTest, ConstrainsItsColumns) {
    ExpectConstraints(DHrStorageTable::s_sonstraintEntries, {{4, 1, nullptr, 1, 2147483647},
                                                             {5, 3, CVT::cszDisplayString, 0, 0},
                                                             {4, 4, nullptr, 1, 2147483647},
                                                             {4, 5, nullptr, 0, 2147483647},
                                                             {4, 6, nullptr, 0, 2147483647}});
}

TEST_F(DHrStorageTableTest, ListsFileSystemsThenVirtualThenPhysicalMemory) {
    Write(Line("/dev/hda1", "root", "ext3") + Line("none", "proc", "proc") + Line("devpts", "pts", "devpts") +
          Line("none", "super", "supermount") + Line("server:/x", "nfs", "nfs"));
    m_table.Initialize();
    EXPECT_TRUE(m_table.IsActive());
    ASSERT_EQ(m_table.GetNumRows(), 4U);
    EXPECT_EQ(Descr(1), Path("root"));
    EXPECT_EQ(Descr(2), Path("super"));
    EXPECT_EQ(Descr(3), "Virtual Memory");
    EXPECT_EQ(Descr(4), "Physical Memory");
    EXPECT_EQ(vVMemIndex, 3U);
    EXPECT_EQ(vMemIndex, 4U);
    EXPECT_EQ(lastTableIndex, 4U);
    for (unsigned int row = 1; row <= 4; ++row) {
        EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageIndex, row), static_cast<int>(row));
        unsigned int failures = 77;
        EXPECT_EQ(
            m_table.OnGet_HrStorageAllocationFailures(CVT::BObjectIdentifier(row), CVT::BRequestId::Next(), failures),
            0);
        EXPECT_EQ(failures, 0U);
    }
}

TEST_F(DHrStorageTableTest, ReportsTheTypeOfEachKindOfStorage) {
    Write(Line("/dev/hda1", "disk", "ext3") + Line("/dev/fd0", "floppy", "vfat") + Line("/dev/cdrom", "cd", "iso9660") +
          "none " + Directory("super") + " supermount rw,dev=/dev/fd0 0 0\n" + Line("/dev/sr0", "iso", "iso9660"));
    m_table.Initialize();
    EXPECT_EQ(Type(1), "1.3.6.1.2.1.25.2.1.4");
    EXPECT_EQ(Type(2), "1.3.6.1.2.1.25.2.1.6");
    EXPECT_EQ(Type(3), "1.3.6.1.2.1.25.2.1.7");
    EXPECT_EQ(Type(4), "1.3.6.1.2.1.25.2.1.6");
    EXPECT_EQ(Type(5), "1.3.6.1.2.1.25.2.1.7");
    EXPECT_EQ(Type(6), "1.3.6.1.2.1.25.2.1.3") << "virtual memory";
    EXPECT_EQ(Type(7), "1.3.6.1.2.1.25.2.1.2") << "physical memory";
}

TEST_F(DHrStorageTableTest, MeasuresMemoryInTheUnitOfThisKernelsFigures) {
    m_table.Initialize();
    EXPECT_EQ(Descr(1), "Virtual Memory");
    EXPECT_EQ(Descr(2), "Physical Memory");
    const int unit = bIsNewMemInfo ? 1024 : 1;
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageAllocationUnits, 1), unit);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageAllocationUnits, 2), unit);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageSize, 1), static_cast<int>(ui32GetMemory(kVirtualTotal)));
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageSize, 2), static_cast<int>(ui32GetMemory(kPhysicalTotal)));
    EXPECT_GT(Number(&DHrStorageTable::OnGet_HrStorageUsed, 2), 0);
}

TEST_F(DHrStorageTableTest, ListsADirectoryTwiceIfTheMountTableDoes) {
    Write(Line("/dev/hda1", "a", "ext3") + Line("/dev/hda2", "a", "ext3"));
    m_table.Initialize();
    EXPECT_EQ(Descr(1), Path("a"));
    EXPECT_EQ(Descr(2), Path("a"));
    EXPECT_EQ(m_table.FindRow(Path("a").c_str()), 1U);
}

TEST_F(DHrStorageTableTest, DecodesABlankInAMountDirectory) {
    const std::string directory = Directory("my disk");
    Write("/dev/sdb1 " + Path("my\\040disk") + " ext4 rw 0 0\n");
    m_table.Initialize();
    EXPECT_EQ(Descr(1), directory);
    EXPECT_GT(Number(&DHrStorageTable::OnGet_HrStorageAllocationUnits, 1), 0);
}

TEST_F(DHrStorageTableTest, KeepsARowWithoutFiguresForAMissingDirectory) {
    Write("/dev/hda1 " + Path("gone") + " ext3 rw 0 0\n" + Line("/dev/hda2", "there", "ext3"));
    m_table.Initialize();
    EXPECT_EQ(Descr(1), Path("gone"));
    EXPECT_EQ(Type(1), "");
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageAllocationUnits, 1), 0);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageSize, 1), 0);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageUsed, 1), 0);
    EXPECT_EQ(Type(2), "1.3.6.1.2.1.25.2.1.4");
}

TEST_F(DHrStorageTableTest, HasOnlyMemoryWithoutAMountTable) {
    m_table.Initialize();
    EXPECT_EQ(m_table.GetNumRows(), 2U);
    EXPECT_EQ(vVMemIndex, 1U);
    EXPECT_EQ(vMemIndex, 2U);
    EXPECT_EQ(Descr(1), "Virtual Memory");
    Write(Line("/dev/hda1", "late", "ext3"));
    EXPECT_EQ(Descr(3), Path("late")) << "it is read once there is one";
}

TEST_F(DHrStorageTableTest, WarnsOnceThatTheMountTableIsMissing) {
    ReceivedWarnings warnings;
    m_table.Initialize();
    const std::vector<std::string> said = warnings.Take();
    ASSERT_EQ(said.size(), 1U);
    EXPECT_EQ(said[0],
              std::string(ETC_MNTTAB) +
                  " cannot be read (No such file or directory), so hrStorageTable is missing mounted file systems; "
                  "make it a link to /proc/self/mounts");
    stLastMntFileStat.st_mtime = 1;
    Descr(1);
    Write(Line("/dev/hda1", "a", "ext3"));
    Descr(1);
    ::unlink(ETC_MNTTAB);
    Descr(1);
    EXPECT_TRUE(warnings.Take().empty()) << "once is enough";
}

TEST_F(DHrStorageTableTest, WarnsOnceThatTheMountTableHasDisappeared) {
    ReceivedWarnings warnings;
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    EXPECT_TRUE(warnings.Take().empty());
    ::unlink(ETC_MNTTAB);
    Descr(1);
    Descr(1);
    EXPECT_EQ(warnings.Take().size(), 1U);
}

TEST_F(DHrStorageTableTest, AnswersFromTheEmptyTableBeforeItComesUpAndStillBuildsIt) {
    Write(Line("/dev/hda1", "a", "ext3"));
    EXPECT_EQ(Descr(1), "status 2");
    EXPECT_EQ(m_table.GetNumRows(), 0U);
    m_table.Initialize();
    EXPECT_EQ(Descr(1), Path("a"));
    EXPECT_EQ(Descr(3), "Physical Memory");
}

TEST_F(DHrStorageTableTest, AddsARowForALaterMountAtTheNextRequest) {
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    Write(Line("/dev/hda1", "a", "ext3") + Line("/dev/hda2", "b", "ext3") + Line("/dev/hda2", "b", "ext3") +
          Line("none", "proc", "proc"));
    const unsigned int request = CVT::BRequestId::Next();
    EXPECT_EQ(Descr(1, request), Path("a"));
    ASSERT_EQ(m_table.GetNumRows(), 4U) << "one row for each new directory";
    EXPECT_EQ(Descr(4, request), Path("b"));
    EXPECT_EQ(lastTableIndex, 4U);
}

TEST_F(DHrStorageTableTest, LooksForNewMountsFirstWhicheverColumnIsRead) {
    using Index = CVT::BObjectIdentifier;
    int number = 0;
    unsigned int failures = 0;
    CVT::BObjectIdentifier type;
    CVT::BOctetString descr;
    const std::vector<std::function<int(const Index&, unsigned int)>> gets = {
        [&](const Index& row, unsigned int id) { return m_table.OnGet_HrStorageIndex(row, id, number); },
        [&](const Index& row, unsigned int id) { return m_table.OnGet_HrStorageType(row, id, type); },
        [&](const Index& row, unsigned int id) { return m_table.OnGet_HrStorageDescr(row, id, descr); },
        [&](const Index& row, unsigned int id) { return m_table.OnGet_HrStorageAllocationUnits(row, id, number); },
        [&](const Index& row, unsigned int id) { return m_table.OnGet_HrStorageSize(row, id, number); },
        [&](const Index& row, unsigned int id) { return m_table.OnGet_HrStorageUsed(row, id, number); },
        [&](const Index& row, unsigned int id) { return m_table.OnGet_HrStorageAllocationFailures(row, id, failures); },
    };
    m_table.Initialize();
    std::string mounts;
    for (std::size_t column = 0; column < gets.size(); ++column) {
        mounts += Line("/dev/hda", "mount" + std::to_string(column), "ext3");
        Write(mounts);
        const auto newRow = static_cast<unsigned int>(3 + column);
        EXPECT_EQ(gets[column](Index(newRow), CVT::BRequestId::Next()), 0) << "column " << column + 1;
    }
}

TEST_F(DHrStorageTableTest, ChecksTheMountTableOnlyOncePerRequest) {
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    const unsigned int request = CVT::BRequestId::Next();
    EXPECT_EQ(Descr(1, request), Path("a"));
    Write(Line("/dev/hda2", "b", "ext3"));
    EXPECT_EQ(Descr(4, request), "status 2");
    EXPECT_EQ(Descr(4), Path("b"));
}

TEST_F(DHrStorageTableTest, DoesNotReadAMountTableWhoseTimesHaveNotChanged) {
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    std::ofstream(ETC_MNTTAB, std::ios::app) << Line("/dev/hda2", "b", "ext3");
    ASSERT_EQ(::stat(ETC_MNTTAB, &stLastMntFileStat), 0) << "as if the file had been seen like this";
    EXPECT_EQ(Descr(4), "status 2");
    stLastMntFileStat.st_mtime -= 1;
    EXPECT_EQ(Descr(4), Path("b"));
    stLastMntFileStat.st_ctime -= 1;
    EXPECT_EQ(Descr(4), Path("b"));
    struct stat now {};
    ASSERT_EQ(::stat(ETC_MNTTAB, &now), 0);
    EXPECT_EQ(stLastMntFileStat.st_ctime, now.st_ctime);
    EXPECT_EQ(stLastMntFileStat.st_size, now.st_size) << "the whole record is kept";
}

TEST_F(DHrStorageTableTest, KeepsItsRowsAfterAnUnmountAndWhenTheMountTableVanishes) {
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    Write("");
    EXPECT_EQ(Descr(1), Path("a"));
    ::unlink(ETC_MNTTAB);
    EXPECT_EQ(Descr(1), Path("a"));
    EXPECT_EQ(m_table.GetNumRows(), 3U);
    Write(Line("/dev/hda1", "a", "ext3") + Line("/dev/hda2", "b", "ext3"));
    EXPECT_EQ(Descr(4), Path("b"));
}

TEST_F(DHrStorageTableTest, WalksWithoutCheckingTheMountTable) {
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    Write(Line("/dev/hda2", "b", "ext3"));
    CVT::BObjectIdentifier next;
    EXPECT_FALSE(m_table.NextInstanceInColumn(CVT::BRequestId::Next(), 1, CVT::BObjectIdentifier(3), next));
    EXPECT_EQ(m_table.GetNumRows(), 3U);
}

TEST_F(DHrStorageTableTest, BuildsNothingTwiceAndAddsTheMountsItMissed) {
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    m_table.Cleanup();
    EXPECT_FALSE(m_table.IsActive());
    Write(Line("/dev/hda2", "b", "ext3"));
    EXPECT_EQ(Descr(4), "status 2") << "nothing is added while it is down";
    m_table.Initialize();
    EXPECT_EQ(m_table.GetNumRows(), 3U);
    EXPECT_EQ(Descr(4), Path("b"));
}

TEST_F(DHrStorageTableTest, AssignsAnIndexOnlyOnceInTheLifeOfTheModule) {
    m_table.Initialize();
    DHrStorageTable second(nullptr);
    second.Initialize();
    EXPECT_EQ(vVMemIndex, 3U);
    EXPECT_EQ(vMemIndex, 4U);
    EXPECT_EQ(second.FindRow("Physical Memory"), 4U);
}

TEST_F(DHrStorageTableTest, FindsRowsByTheirWholeDescription) {
    EXPECT_EQ(m_table.FindRow("Physical Memory"), 0U);
    EXPECT_FALSE(m_table.bIsInTable(""));
    Write(Line("/dev/hda1", "a", "ext3"));
    m_table.Initialize();
    EXPECT_EQ(m_table.FindRow("Physical Memory"), vMemIndex);
    EXPECT_EQ(m_table.FindRow("Virtual Memory"), vVMemIndex);
    EXPECT_EQ(m_table.FindRow(Path("a").c_str()), 1U);
    EXPECT_EQ(m_table.FindRow("/no/such/path"), 0U);
    EXPECT_EQ(m_table.FindRow("Physical"), 0U);
    EXPECT_TRUE(m_table.bIsInTable("Physical Memory"));
    EXPECT_FALSE(m_table.bIsInTable("/no/such/path"));
    EXPECT_EQ(m_table.FindRow(""), 0U);
    m_table.CreateDemoRow(9, nullptr);
    EXPECT_EQ(m_table.FindRow(""), 9U) << "a row without a description";
    EXPECT_EQ(m_table.FindRow(nullptr), 9U);
}

TEST_F(DHrStorageTableTest, CreatesNoRowForAnIndexInUseNorWithoutAMount) {
    std::string device = "/dev/x";
    std::string directory = Directory("x");
    std::string type = "ext3";
    const mntent mount = {device.data(), directory.data(), type.data(), type.data(), 0, 0};
    m_table.CreateDemoRow(5, &mount);
    m_table.CreateDemoRow(5, &mount);
    m_table.CreateDemoRow(6, nullptr);
    EXPECT_EQ(m_table.GetNumRows(), 2U);
    EXPECT_EQ(Descr(5), directory);
    EXPECT_EQ(Descr(6), "");
}

TEST_F(DHrStorageTableTest, ANewRowIsTheCallersUntilItIsInserted) {
    EXPECT_EQ(m_table.CreateNewRow(CVT::BObjectIdentifier(CVT::BString("7.7"))), nullptr);
    m_table.CreateDemoRow(7, nullptr);
    const auto row = m_table.CreateNewRow(CVT::BObjectIdentifier(7));
    ASSERT_NE(row, nullptr) << "an index in use is not detected here";
    EXPECT_EQ(row->index, 7U);
    EXPECT_TRUE(row->type.IsEmpty());
    EXPECT_EQ(m_table.GetNumRows(), 1U);
}

TEST_F(DHrStorageTableTest, HasNoValueForAnAbsentRow) {
    m_table.Initialize();
    for (const CVT::BObjectIdentifier& index :
         {CVT::BObjectIdentifier(3), CVT::BObjectIdentifier(), CVT::BObjectIdentifier(CVT::BString("1.1"))}) {
        int number = 77;
        unsigned int failures = 77;
        CVT::BOctetString octets(std::string_view("kept"));
        CVT::BObjectIdentifier type(42);
        EXPECT_EQ(m_table.OnGet_HrStorageIndex(index, 1, number), 2);
        EXPECT_EQ(m_table.OnGet_HrStorageType(index, 1, type), 2);
        EXPECT_EQ(m_table.OnGet_HrStorageDescr(index, 1, octets), 2);
        EXPECT_EQ(m_table.OnGet_HrStorageAllocationUnits(index, 1, number), 2);
        EXPECT_EQ(m_table.OnGet_HrStorageSize(index, 1, number), 2);
        EXPECT_EQ(m_table.OnGet_HrStorageUsed(index, 1, number), 2);
        EXPECT_EQ(m_table.OnGet_HrStorageAllocationFailures(index, 1, failures), 2);
        EXPECT_EQ(number, 77);
        EXPECT_EQ(failures, 77U);
        EXPECT_EQ(octets.View(), "kept");
        EXPECT_EQ(type, CVT::BObjectIdentifier(42));
    }
}

TEST_F(DHrStorageTableTest, KeepsAWrittenSizeWhileUsedIsStillMeasured) {
    m_table.Initialize();
    void* undo = nullptr;
    EXPECT_EQ(SetSize(ESnmpSetOpCode::CheckAndSave, vMemIndex, 5, &undo), 0);
    EXPECT_NE(undo, nullptr);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::Commit, vMemIndex, 5, &undo), 0);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::Release, vMemIndex, 5, &undo), 0);
    EXPECT_EQ(undo, nullptr);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageSize, vMemIndex), 5);
    m_table.GetRow(CVT::BObjectIdentifier(vMemIndex))->used = -77;
    EXPECT_GT(Number(&DHrStorageTable::OnGet_HrStorageUsed, vMemIndex), 5);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageSize, vMemIndex), 5);
}

TEST_F(DHrStorageTableTest, RestoresTheSizeWhenASetIsUndone) {
    m_table.Initialize();
    const int before = Number(&DHrStorageTable::OnGet_HrStorageSize, vMemIndex);
    void* undo = nullptr;
    ASSERT_EQ(SetSize(ESnmpSetOpCode::CheckAndSave, vMemIndex, INT_MAX, &undo), 0);
    ASSERT_EQ(SetSize(ESnmpSetOpCode::Commit, vMemIndex, INT_MAX, &undo), 0);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageSize, vMemIndex), INT_MAX);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::Undo, vMemIndex, INT_MAX, &undo), 0);
    EXPECT_EQ(Number(&DHrStorageTable::OnGet_HrStorageSize, vMemIndex), before);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::Release, vMemIndex, INT_MAX, &undo), 0);
}

TEST_F(DHrStorageTableTest, RejectsANegativeSizeInTheCheckBeforeItLooksForTheRow) {
    m_table.Initialize();
    void* undo = nullptr;
    EXPECT_EQ(SetSize(ESnmpSetOpCode::CheckAndSave, vMemIndex, -1, &undo), 10);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::CheckAndSave, vMemIndex, INT_MIN, &undo), 10);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::CheckAndSave, 99, -1, &undo), 10);
    EXPECT_EQ(undo, nullptr);
}

TEST_F(DHrStorageTableTest, HasItsOwnErrorInEachPhaseOfASetOfAnAbsentRow) {
    m_table.Initialize();
    void* undo = nullptr;
    EXPECT_EQ(SetSize(ESnmpSetOpCode::CheckAndSave, 99, 5, &undo), 18);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::Commit, 99, 5, &undo), 14);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::Undo, 99, 5, &undo), 15);
    EXPECT_EQ(SetSize(ESnmpSetOpCode::Release, 99, 5, &undo), 0);
    EXPECT_EQ(SetSize(static_cast<ESnmpSetOpCode>(0), 1, 5, &undo), 5);
    EXPECT_EQ(SetSize(static_cast<ESnmpSetOpCode>(227), 1, 5, &undo), 5);
}

/// The module's engine, as in an agent, over the storage table alone.
class DHrStorageTableSet : public DHrStorageTableTest {
protected:
    void SetUp() override {
        DHrStorageTableTest::SetUp();
        ASSERT_TRUE(m_engine.Add(m_host));
        m_host.HandlerAt(2)->Initialize();
    }

    static CVT::BVarBind Number(const std::string& instance, int value) {
        CVT::BVarBind varBind;
        varBind.name.AssignFromDottedDecimalStr(("1.3.6.1.2.1.25.2.3.1." + instance).c_str());
        varBind.type = CVT::kInteger;
        varBind.integer = value;
        return varBind;
    }
    int Set(const CVT::BVarBindList& varBinds) { return m_engine.Set(CVT::BRequestId::Next(), varBinds, m_errorIndex); }
    int Get(const std::string& instance) {
        CVT::BVarBind varBind = Number(instance, -77);
        EXPECT_EQ(m_engine.Get(CVT::BRequestId::Next(), varBind), 0);
        EXPECT_EQ(varBind.type, CVT::kInteger);
        return varBind.integer;
    }

    NoStore m_store;
    DCVHost m_host{&m_store, false};
    CVT::BMibEngine m_engine;
    int m_errorIndex = 0;
};

TEST_F(DHrStorageTableSet, WritesASizeAndRejectsEverythingElse) {
    EXPECT_EQ(Set({Number("5.2", 5)}), 0);
    EXPECT_EQ(Get("5.2"), 5);
    EXPECT_EQ(Set({Number("5.2", -1)}), 10);
    EXPECT_EQ(Set({Number("5.9", 5)}), 18);
    EXPECT_EQ(Set({Number("6.2", 5)}), 17);
    CVT::BVarBind text = Number("5.2", 5);
    text.type = CVT::kOctetString;
    EXPECT_EQ(Set({text}), 7);
    EXPECT_EQ(Get("5.2"), 5);
}

TEST_F(DHrStorageTableSet, WritesNothingWhenTheSecondVarbindIsRejected) {
    const int before = Get("5.2");
    EXPECT_EQ(Set({Number("5.2", 5), Number("5.1", -1)}), 10);
    EXPECT_EQ(m_errorIndex, 2);
    EXPECT_EQ(Set({Number("5.2", 5), Number("5.9", 6)}), 18);
    EXPECT_EQ(m_errorIndex, 2);
    EXPECT_EQ(Get("5.2"), before);
}

TEST_F(DHrStorageTableSet, FindsTheTwoTablesThroughTheModule) {
    ASSERT_NE(m_host.StorageTable(), nullptr);
    ASSERT_NE(m_host.FSTable(), nullptr);
    EXPECT_EQ(m_host.StorageTable(), m_host.HandlerAt(2));
    EXPECT_STREQ(m_host.HandlerAt(9)->Name().c_str(), "HOST-RESOURCES-MIB.hrFSTable");
    DCVHost systemOnly(&m_store, true);
    EXPECT_EQ(systemOnly.StorageTable(), nullptr);
    EXPECT_EQ(systemOnly.FSTable(), nullptr);
}

}  // namespace
