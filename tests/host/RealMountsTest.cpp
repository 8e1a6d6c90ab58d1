// File systems that are really mounted, as the shipped library sees them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CVT/BRequestId.h"
#include "tests/support/FuseServer.h"
#include "tests/support/MadeUpHostTest.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

const std::string kEntry = "1.3.6.1.2.1.25.2.3.1.";

class RealMounts : public MadeUpHostTest {
protected:
    void TearDown() override {
        MadeUpHostTest::TearDown();
        for (auto mount = m_mounts.rbegin(); mount != m_mounts.rend(); ++mount) {
            ::umount2(mount->c_str(), MNT_DETACH);
        }
    }

    std::string Directory(const std::string& name) const {
        std::string path = m_host->Directory() + "/" + name;
        std::filesystem::create_directory(path);
        return path;
    }
    static bool IsInKernel(const std::string& type) {
        std::ifstream known("/proc/filesystems");
        for (std::string word; known >> word;) {
            if (word == type) {
                return true;
            }
        }
        return false;
    }
    static bool Runs(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

    /// Mounts without a device. Returns false, with errno, when the machine does not let us.
    bool Mount(const std::string& type, const std::string& directory, const std::string& options = "") {
        if (::mount(type.c_str(), directory.c_str(), type.c_str(), 0, options.c_str()) != 0) {
            return false;
        }
        m_mounts.push_back(directory);
        return true;
    }
    /// Mounts a new image of that type. Returns the reason when that is impossible; empty on success.
    std::string MountImage(const std::string& type, const std::string& directory) {
        if (!IsInKernel(type)) {
            return "this kernel has no " + type;
        }
        if (!Runs("command -v mkfs." + type)) {
            return "there is no mkfs." + type;
        }
        const std::string image = directory + ".image";
        std::ofstream(image).close();
        std::filesystem::resize_file(image, 320UL << 20U);  // sparse; xfs needs that much
        if (!Runs("mkfs." + type + " -q " + image)) {
            return "mkfs." + type + " fails";
        }
        if (!Runs("mount -o loop " + image + " " + directory)) {
            return "this machine cannot mount an image of " + type;
        }
        m_mounts.push_back(directory);
        return "";
    }

    /// Ends the module's work, but keeps the library loaded.
    void EndModule() {
        m_engine.Remove(m_module->Group());
        EXPECT_EQ(m_module->Close(), 1);
    }

    /// The index of the row of a mount directory, seen by one request; 0 when there is none.
    int RowOf(const std::string& descr) {
        const unsigned int request = CVT::BRequestId::Next();
        CVT::BVarBind at;
        at.name.AssignFromDottedDecimalStr((kEntry + "3").c_str());
        const CVT::BObjectIdentifier column = at.name;
        // The first read makes the table look for new mounts.
        while (m_engine.GetNext(request, at) == 0 && at.name.StartsWith(column)) {
            if (at.octets.View() == descr) {
                return static_cast<int>(at.name[at.name.NumArcs() - 1]);
            }
        }
        return 0;
    }
    int Number(int column, int row) {
        CVT::BVarBind varBind;
        varBind.name.AssignFromDottedDecimalStr((kEntry + std::to_string(column) + "." + std::to_string(row)).c_str());
        EXPECT_EQ(m_engine.Get(CVT::BRequestId::Next(), varBind), 0);
        EXPECT_EQ(varBind.type, CVT::kInteger);
        return varBind.integer;
    }
    int Units(int row) { return Number(4, row); }
    int Size(int row) { return Number(5, row); }
    int Used(int row) { return Number(6, row); }

    /// Expects the row's figures to be those of the file system mounted there.
    void ExpectFigures(const std::string& directory) {
        const int row = RowOf(directory);
        ASSERT_NE(row, 0);
        struct statfs space {};
        ASSERT_EQ(::statfs(directory.c_str(), &space), 0);
        EXPECT_EQ(Size(row), static_cast<int>(space.f_blocks));
        EXPECT_EQ(Used(row), static_cast<int>(space.f_blocks - space.f_bfree));
        struct stat status {};
        ASSERT_EQ(::stat(directory.c_str(), &status), 0);
        EXPECT_EQ(Units(row), static_cast<int>(status.st_blksize));
    }
    static void Fill(const std::string& directory) {
        std::ofstream(directory + "/file") << std::string(4U << 20U, 'x');
        const int file = ::open((directory + "/file").c_str(), O_RDONLY | O_CLOEXEC);
        ::syncfs(file);
        ::close(file);
    }

    std::vector<std::string> m_mounts;
};

class ImageOf : public RealMounts, public testing::WithParamInterface<const char*> {};

TEST_P(ImageOf, IsMeasuredWhileItIsMountedAndKeepsItsRowAfterwards) {
    const std::string directory = Directory("disk");
    const std::string why = MountImage(GetParam(), directory);
    if (!why.empty()) {
        GTEST_SKIP() << why;
    }
    StartUp();
    ExpectFigures(directory);
    const int row = RowOf(directory);
    const int size = Size(row);
    const int used = Used(row);
    Fill(directory);
    EXPECT_GT(Used(row), used);
    ExpectFigures(directory);

    ASSERT_EQ(::umount2(directory.c_str(), MNT_DETACH), 0);
    EXPECT_EQ(RowOf(directory), row);
    EXPECT_EQ(Size(row), size);
    struct statfs below {};
    ASSERT_EQ(::statfs(directory.c_str(), &below), 0);
    EXPECT_NEAR(Used(row), static_cast<double>(below.f_blocks - below.f_bfree), 100'000.0)
        << "the file system there now is measured";
}

INSTANTIATE_TEST_SUITE_P(EachType, ImageOf, testing::Values("ext4", "xfs", "btrfs"));

TEST_F(RealMounts, KeepTheirRowsWhenUnmountedAndThenShowTheUseOfTheBareDirectory) {
    const std::string directory = Directory("ramfs");
    ASSERT_TRUE(Mount("ramfs", directory));
    StartUp();
    const int row = RowOf(directory);
    ASSERT_NE(row, 0);
    EXPECT_EQ(Used(row), 0) << "a ramfs counts no blocks";
    const int units = Units(row);
    ASSERT_EQ(::umount2(directory.c_str(), 0), 0);
    m_mounts.clear();
    EXPECT_EQ(RowOf(directory), row);
    EXPECT_GT(Used(row), 0);
    EXPECT_EQ(Size(row), 0) << "measured when the row was made";
    EXPECT_EQ(Units(row), units);
}

TEST_F(RealMounts, IncludeAMeasuredOverlay) {
    const std::string base = Directory("base");
    if (!Mount("tmpfs", base)) {
        GTEST_SKIP() << "this machine cannot mount a tmpfs";
    }
    for (const char* const layer : {"lower", "upper", "work"}) {
        std::filesystem::create_directory(base + "/" + layer);
    }
    const std::string merged = Directory("merged");
    if (!IsInKernel("overlay") ||
        !Mount("overlay", merged,
               "lowerdir=" + base + "/lower,upperdir=" + base + "/upper,workdir=" + base + "/work")) {
        GTEST_SKIP() << "this machine cannot mount an overlay";
    }
    StartUp();
    ExpectFigures(merged);
    const int row = RowOf(merged);
    const int used = Used(row);
    Fill(merged);
    EXPECT_GT(Used(row), used);
    EXPECT_EQ(RowOf(base), 0) << "a tmpfs has no row";
}

TEST_F(RealMounts, AreMeasuredDespiteABlankInTheirDirectory) {
    const std::string directory = Directory("my disk");
    ASSERT_TRUE(Mount("ramfs", directory));
    StartUp();
    ExpectFigures(directory);
}

TEST_F(RealMounts, AppearAtTheNextRequestAlthoughTheTablesTimesDoNotChange) {
    StartUp();
    for (const char* const name : {"one", "two", "three"}) {
        const std::string directory = Directory(name);
        EXPECT_EQ(RowOf(directory), 0);
        ASSERT_TRUE(Mount("ramfs", directory));
        ExpectFigures(directory);
    }
    const int row = RowOf(Directory("three"));
    EXPECT_EQ(RowOf(Directory("two")), row - 1);
    EXPECT_EQ(RowOf("Physical Memory"), RowOf(Directory("one")) - 1);
}

TEST_F(RealMounts, AddNoRowTwice) {
    const std::string directory = Directory("disk");
    ASSERT_TRUE(Mount("ramfs", directory));
    StartUp();
    const int row = RowOf(directory);
    ASSERT_TRUE(Mount("ramfs", directory));
    EXPECT_EQ(RowOf(directory), row);
    ASSERT_TRUE(Mount("ramfs", Directory("other")));
    EXPECT_NE(RowOf(Directory("other")), 0);
    EXPECT_EQ(RowOf(directory), row);
}

/// With a file system of our own that can stop answering.
class FuseMount : public RealMounts {
protected:
    void SetUp() override {
        RealMounts::SetUp();
        if (IsSkipped()) {
            return;
        }
        const std::string missing = FuseServer::Missing();
        if (!missing.empty()) {
            GTEST_SKIP() << missing;
        }
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root may serve a file system here";
        }
        m_directory = Directory("share");
        m_server = std::make_unique<FuseServer>(m_directory);
    }
    void TearDown() override {
        m_server.reset();
        RealMounts::TearDown();
    }

    std::string m_directory;
    std::unique_ptr<FuseServer> m_server;
};

TEST_F(FuseMount, IsMeasuredWhileItAnswers) {
    StartUp();
    ExpectFigures(m_directory);
    const int row = RowOf(m_directory);
    EXPECT_EQ(Used(row), 600);
    m_server->SetFree(100);
    EXPECT_EQ(Used(row), 900);
}

TEST_F(FuseMount, OverAnotherMountDelaysNoRequestThatHasReadTheTableBefore) {
    const std::string covered = Directory("covered");
    ASSERT_TRUE(Mount("ramfs", covered));
    StartUp();
    const int row = RowOf(covered);
    ASSERT_NE(row, 0);
    CVT::BVarBind used;
    used.name.AssignFromDottedDecimalStr((kEntry + "6." + std::to_string(row)).c_str());
    const unsigned int request = CVT::BRequestId::Next();
    ASSERT_EQ(m_engine.Get(request, used), 0);
    CVT::BMibImpl& table = *m_module->Group().HandlerAt(2);
    EXPECT_FALSE(table.MayTakeLong(CVT::EReading::Get, request, used.name));
    FuseServer over(covered);
    over.FallSilent();
    ASSERT_TRUE(table.MayTakeLong(CVT::EReading::Get, request, used.name));
    const auto begin = Clock::now();
    EXPECT_EQ(m_engine.Get(request, used), 0);
    EXPECT_GE(Clock::now() - begin, milliseconds(950)) << "it is asked, within limits";
}

TEST_F(FuseMount, ThatStopsAnsweringKeepsItsFiguresAndDelaysNoRequest) {
    StartUp();
    const int row = RowOf(m_directory);
    ASSERT_EQ(Used(row), 600);
    const int memory = RowOf("Physical Memory");
    m_server->FallSilent();
    m_server->SetFree(100);
    const int requests = m_server->SpaceRequests();

    const auto begin = Clock::now();
    EXPECT_EQ(Used(row), 600);
    EXPECT_GE(Clock::now() - begin, milliseconds(950));
    for (int i = 0; i < 60; ++i) {
        EXPECT_EQ(Used(row), 600);
        EXPECT_GT(Used(memory), 0);
    }
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30)) << "sixty if each cost a second";
    EXPECT_EQ(m_server->SpaceRequests(), requests + 1);

    m_server->Resume();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_EQ(Used(row), 900);
}

TEST_F(FuseMount, ThatIsDeadFromTheStartGetsARowWithoutFigures) {
    m_server->FallSilent();
    ASSERT_TRUE(Mount("ramfs", Directory("disk")));
    StartUp();
    const int row = RowOf(m_directory);
    ASSERT_NE(row, 0);
    EXPECT_EQ(Size(row), 0);
    EXPECT_EQ(Used(row), 0);
    ExpectFigures(Directory("disk"));
}

TEST_F(FuseMount, ThatIsDeadDoesNotDelayCloseButTheLibraryStaysLoadedUntilItsThreadEnds) {
    StartUp();
    const int row = RowOf(m_directory);
    m_server->FallSilent();
    EXPECT_EQ(Used(row), 600);
    const auto begin = Clock::now();
    EndModule();
    EXPECT_LT(Clock::now() - begin, milliseconds(900));
    EXPECT_FALSE(CVT::TThread::WaitForSelfDeleting(100)) << "the host sees a thread that is left";
    m_server.reset();
    EXPECT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    m_module.reset();
    std::ifstream maps("/proc/self/maps");
    const std::string all{std::istreambuf_iterator<char>(maps), std::istreambuf_iterator<char>()};
    EXPECT_EQ(all.find("libCVHost.so"), std::string::npos);
}

}  // namespace
