// Discovery when its next indexes are already in use. It uses the classes of the module directly, since no host can
// bring that about.

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "groups/devices/DHrDeviceTable.h"
#include "groups/devices/DHrDiskStorageTable.h"
#include "groups/devices/DHrPartitionTable.h"
#include "groups/devices/Discovery.h"
#include "groups/devices/FileSystemSetup.h"
#include "groups/hardware/DHrNetworkTable.h"
#include "groups/hardware/DHrProcessorTable.h"
#include "groups/storage/DHrFSTable.h"
#include "module/DCVHost.h"
#include "module/EntryPoints.h"
#include "tests/host/MadeUpCalls.h"
#include "tests/support/HostTree.h"
#include "tests/support/MadeUpHost.h"

namespace {

class TakenIndex : public testing::Test {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine does not allow a mount namespace";
        }
        m_host = std::make_unique<MadeUpHost>();
        ASSERT_EQ(::chdir(m_host->Directory().c_str()), 0);
        gpCVHost = new DCVHost(nullptr, false);
        nextDeviceIndex = 1;
        ifIndex = 1;
        fsIndex = 1;
    }
    void TearDown() override {
        delete std::exchange(gpCVHost, nullptr);
        MadeUpCalls::Instance().active = false;
        EXPECT_EQ(::chdir("/"), 0);
    }

    void Discover(const std::string& host) {
        m_tree = std::make_unique<HostTree>(*m_host, HostFolder(host));
        MadeUpCalls::Instance().Read(HostFolder(host) + "/figures");
        DHrDeviceTable& devices = *gpCVHost->DeviceTable();
        const CVT::TMutex::Guard guard(devices.RequestLock());
        devices.Initialize();
    }
    static std::string Description(unsigned int index) {
        const DHrDeviceTable::Entry* const row = gpCVHost->DeviceTable()->GetRow(CVT::BObjectIdentifier(index));
        return row == nullptr ? "no row" : row->description.c_str();
    }
    static CVT::BObjectIdentifier Oid(const char* dotted) { return CVT::BObjectIdentifier(CVT::BString(dotted)); }

    std::unique_ptr<MadeUpHost> m_host;
    std::unique_ptr<HostTree> m_tree;
};

TEST_F(TakenIndex, CostsOnlyTheDeviceThatNeededIt) {
    ASSERT_NE(gpCVHost->DeviceTable()->CreateNewRow(CVT::BObjectIdentifier(2)), nullptr);
    ASSERT_NE(gpCVHost->DeviceTable()->CreateNewRow(CVT::BObjectIdentifier(4)), nullptr);
    ASSERT_NE(gpCVHost->DeviceTable()->CreateNewRow(CVT::BObjectIdentifier(6)), nullptr);
    Discover("board");
    EXPECT_EQ(Description(1), "ARMv7 Processor rev 3 (v7l) #1");
    EXPECT_EQ(Description(2), "");
    EXPECT_EQ(Description(3), "lo");
    EXPECT_EQ(Description(4), "");
    EXPECT_EQ(Description(5), "wlan0");
    EXPECT_EQ(Description(6), "");
    EXPECT_EQ(Description(7), "sysfs");
    EXPECT_EQ(Description(8), "/dev/mmcblk0p1");
    EXPECT_EQ(nextDeviceIndex, 9U);
    EXPECT_EQ(gpCVHost->ProcessorTable()->GetNumRows(), 1U) << "without a device there is no row elsewhere";
    EXPECT_EQ(gpCVHost->NetworkTable()->GetNumRows(), 2U);
    EXPECT_EQ(gpCVHost->DiskStorageTable()->GetNumRows(), 2U);
    EXPECT_EQ(ifIndex, 3U);
}

TEST_F(TakenIndex, OfAnotherTableLeavesThatTablesRowUnchanged) {
    ASSERT_NE(gpCVHost->NetworkTable()->CreateNewRow(CVT::BObjectIdentifier(3)), nullptr);
    ASSERT_NE(gpCVHost->DiskStorageTable()->CreateNewRow(CVT::BObjectIdentifier(8)), nullptr);
    Discover("board");
    EXPECT_EQ(Description(3), "lo");
    EXPECT_EQ(gpCVHost->NetworkTable()->GetRow(CVT::BObjectIdentifier(3))->ifIndex, 0);
    EXPECT_EQ(gpCVHost->NetworkTable()->GetRow(CVT::BObjectIdentifier(4))->ifIndex, 1);
    EXPECT_EQ(gpCVHost->DiskStorageTable()->GetRow(CVT::BObjectIdentifier(8))->access, 1) << "mounted read-only";
}

TEST_F(TakenIndex, OfAFileSystemLeavesItsPartitionWithoutAFileSystem) {
    ASSERT_NE(gpCVHost->FSTable()->CreateNewRow(CVT::BObjectIdentifier(1)), nullptr);
    Discover("disks");
    EXPECT_EQ(gpCVHost->PartitionTable()->GetRow(Oid("1.1"))->fsIndex, 0);
    EXPECT_EQ(gpCVHost->FSTable()->GetRow(CVT::BObjectIdentifier(1))->mountPoint.View(), "");
    EXPECT_EQ(gpCVHost->FSTable()->GetRow(CVT::BObjectIdentifier(2))->mountPoint.View(), "/");
    EXPECT_EQ(gpCVHost->PartitionTable()->GetRow(Oid("1.5"))->fsIndex, 2) << "the next mounted file system has it";
}

TEST_F(TakenIndex, OfAPartitionSkipsThatPartition) {
    ASSERT_NE(gpCVHost->PartitionTable()->CreateNewRow(Oid("1.2")), nullptr);
    Discover("disks");
    EXPECT_EQ(gpCVHost->PartitionTable()->GetRow(Oid("1.2"))->label.View(), "");
    EXPECT_EQ(gpCVHost->PartitionTable()->GetRow(Oid("1.5"))->id.View(), "0x305");
}

TEST_F(TakenIndex, DoesNotAriseWithoutAModule) {
    const std::unique_ptr<DCVHost> host(std::exchange(gpCVHost, nullptr));
    host->DeviceTable()->Initialize();
    EXPECT_TRUE(host->DeviceTable()->IsActive());
    EXPECT_EQ(host->DeviceTable()->GetNumRows(), 0U);
}

TEST_F(TakenIndex, DoesNotOccurAndADiskRecordsItsMountDirectory) {
    Discover("removable");
    EXPECT_STREQ(gpCVHost->DiskStorageTable()->GetRow(CVT::BObjectIdentifier(2))->mountDirectory.c_str(), "/mnt/cdrom");
    EXPECT_STREQ(gpCVHost->DiskStorageTable()->GetRow(CVT::BObjectIdentifier(7))->mountDirectory.c_str(), "/dvd")
        << "the first of two";
}

}  // namespace
