// The backup dates of a file system that is really mounted, from a partition by the name that makes it one: an ext4 image on
// a loop device whose node stands under /dev/ide.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "CVT/BRequest.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/MadeUpHost.h"
#include "tests/support/Walk.h"

namespace {

using namespace std::string_literals;

constexpr unsigned int kLoopMajor = 7;
constexpr std::uintmax_t kImageSize = 16U << 20U;

class BackupDates : public testing::Test {
protected:
    static constexpr const char* kDisk = "/dev/ide/host0/bus0/target0/lun0";
    static constexpr const char* kPartition = "/dev/ide/host0/bus0/target0/lun0/part1";

    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine gives no mount namespace";
        }
        m_host = std::make_unique<MadeUpHost>();
        ASSERT_EQ(::chdir(m_host->Directory().c_str()), 0);
        m_directory = m_host->Directory() + "/disk";
        std::filesystem::create_directory(m_directory);
        m_module = std::make_unique<LoadedModule>();
        ASSERT_TRUE(m_module->IsLoaded());
        if (const std::string why = MountPartition(); !why.empty()) {
            GTEST_SKIP() << why;
        }
        m_started = true;
        ASSERT_EQ(m_module->Init(), 1);
        ASSERT_TRUE(m_module->WaitUntilActive());
        ASSERT_TRUE(m_engine.Add(m_module->Group()));
        for (const CVT::BVarBind& mountPoint : Walk(m_engine, "1.3.6.1.2.1.25.3.8.1.2")) {
            if (mountPoint.octets.View() == m_directory) {
                m_row = std::to_string(mountPoint.name[11]);
            }
        }
        ASSERT_NE(m_row, "") << "no row for " << m_directory;
    }
    void TearDown() override {
        if (m_started) {
            m_module->Close();
        }
        m_module.reset();
        if (m_mounted) {
            EXPECT_EQ(::umount2(m_directory.c_str(), MNT_DETACH), 0);
        }
        EXPECT_EQ(::chdir("/"), 0);
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
    /// The error-status of a whole SET; m_errorIndex is where it failed.
    int Set(const CVT::BVarBindList& dates) {
        m_errorIndex = 0;
        return m_engine.Set(CVT::BRequest().Id(), dates, m_errorIndex);
    }

    std::unique_ptr<MadeUpHost> m_host;
    std::unique_ptr<LoadedModule> m_module;
    CVT::BMibEngine m_engine;
    std::string m_directory;
    std::string m_row;
    unsigned int m_loop = 0;
    int m_errorIndex = 0;

private:
    /// Gives why it cannot be done; nothing when it is done.
    std::string MountPartition() {
        const std::string image = m_host->Directory() + "/image";
        std::ofstream(image).close();
        std::filesystem::resize_file(image, kImageSize);
        if (std::system(("mkfs.ext4 -q -F " + image + " >/dev/null 2>&1").c_str()) != 0) {
            return "there is no mkfs.ext4";
        }
        const int control = ::open("/dev/loop-control", O_RDWR | O_CLOEXEC);
        const int number = control < 0 ? -1 : ::ioctl(control, LOOP_CTL_GET_FREE);
        ::close(control);
        if (number < 0) {
            return "this machine gives no loop device";
        }
        m_loop = static_cast<unsigned int>(number);
        m_host->Empty("/dev");  // the node is not to be seen outside
        std::filesystem::create_directories(kDisk);
        if (::mknod(kPartition, S_IFBLK | 0600, makedev(kLoopMajor, m_loop)) != 0) {
            return "this machine lets us make no device node";
        }
        const int device = ::open(kPartition, O_RDWR | O_CLOEXEC);
        const int file = ::open(image.c_str(), O_RDWR | O_CLOEXEC);
        loop_info64 info{};
        info.lo_flags = LO_FLAGS_AUTOCLEAR;
        const bool attached =
            device >= 0 && ::ioctl(device, LOOP_SET_FD, file) == 0 && ::ioctl(device, LOOP_SET_STATUS64, &info) == 0;
        m_mounted = attached && ::mount(kPartition, m_directory.c_str(), "ext4", 0, nullptr) == 0;
        const std::string error = std::strerror(errno);
        ::close(file);
        ::close(device);
        return m_mounted ? "" : "this machine mounts no image: " + error;
    }

    bool m_started = false;
    bool m_mounted = false;
};

TEST_F(BackupDates, StandInTheRowOfAMountedPartition) {
    EXPECT_EQ(FileSystem(4).identifier.ToString(), CVT::BString("1.3.6.1.2.1.25.3.9.23"));
    EXPECT_EQ(FileSystem(5).integer, 1);
    EXPECT_EQ(FileSystem(6).integer, 2);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.2.3.1.3." + std::to_string(FileSystem(7).integer)).octets.View(),
              m_directory);
    EXPECT_EQ(Date(8), "\0\1\1\0\0\0\0\0"s);
    EXPECT_EQ(Date(9), "\0\1\1\0\0\0\0\0"s);
}

TEST_F(BackupDates, BelongToAPartitionOfADisk) {
    const auto labels = Walk(m_engine, "1.3.6.1.2.1.25.3.7.1.2");
    ASSERT_EQ(labels.size(), 1U);
    EXPECT_EQ(labels[0].octets.View(), kPartition);
    const std::string disk = std::to_string(labels[0].name[11]);
    EXPECT_EQ(labels[0].name[12], 1U);
    const auto partition = [&](int column) {
        return Get(m_engine, "1.3.6.1.2.1.25.3.7.1." + std::to_string(column) + "." + disk + ".1");
    };
    char id[16];
    std::snprintf(id, sizeof id, "0x%llx", static_cast<unsigned long long>(makedev(kLoopMajor, m_loop)));
    EXPECT_EQ(partition(3).octets.View(), id);
    if (m_loop < 256) {
        EXPECT_EQ(partition(4).integer, static_cast<int>(kImageSize >> 10U));
    }
    EXPECT_EQ(std::to_string(partition(5).integer), m_row);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.3.2.1.3." + disk).octets.View(), kPartition);
    struct statfs space {};
    ASSERT_EQ(::statfs(m_directory.c_str(), &space), 0);
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

TEST_F(BackupDates, OfOtherLengthsAreRefused) {
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

TEST_F(BackupDates, StayAsTheyAreWhenTheSecondOfTwoIsRefused) {
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

TEST_F(BackupDates, AreBroughtBackByAnUndo) {
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
