// The listing of mounts through the shell, with a stand-in for mount(8), and attempts of another user to replace the
// file.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <mntent.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "groups/common/HostFile.h"
#include "groups/devices/MountListing.h"
#include "groups/devices/TemporaryFile.h"
#include "tests/support/MadeUpHost.h"
#include "tests/support/ReceivedWarnings.h"

namespace {

std::string s_command;
long s_hoursLater = 0;

}  // namespace

/// The monotonic clock, which the tests can advance by hours.
extern "C" int clock_gettime(clockid_t clock, timespec* out) noexcept {
    const long result = ::syscall(SYS_clock_gettime, clock, out);
    out->tv_sec += clock == CLOCK_MONOTONIC ? s_hoursLater * 3600 : 0;
    return static_cast<int>(result);
}

/// Runs the command, and records its text for the tests.
extern "C" int system(const char* command) {
    s_command = command;
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl("/bin/sh", "sh", "-c", command, nullptr);
        ::_exit(127);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

namespace {

constexpr uid_t kSomebodyElse = 12345;

class MountListing : public testing::Test {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine does not allow a mount namespace";
        }
        s_hoursLater += 2;  // so that warnings of another test may be issued again
        m_host = std::make_unique<MadeUpHost>();
        m_programs = m_host->Directory() + "/bin";
        m_path = ::getenv("PATH");
        std::array<char, kTmpNameSize> name{};
        vGetTmpName(name.data());
        m_name = name.data();
        ::setenv("PATH", (m_programs + ":" + m_path).c_str(), 1);
        std::filesystem::create_directory(m_programs);
        m_secret = m_host->Directory() + "/secret";
        std::ofstream(m_secret) << "untouched\n";
    }
    void TearDown() override {
        if (m_host) {
            ::setenv("PATH", m_path.c_str(), 1);
            ::unlink(m_name.c_str());
        }
    }

    /// Sets the output of mount(8) from now on.
    void Mounts(const std::string& lines) {
        std::ofstream(m_programs + "/lines") << lines;
        std::ofstream(m_programs + "/mount") << "#!/bin/sh\ncat " << m_programs << "/lines\n";
        std::filesystem::permissions(m_programs + "/mount", std::filesystem::perms(0755));
    }
    std::string Entry(const std::string& key, unsigned int size = 512) {
        std::vector<char> line(size);
        return bGetMountTableEntry(key.c_str(), line.data(), size) == 1 ? line.data() : "none";
    }
    static std::string Content(const std::string& file) {
        std::stringstream all;
        all << std::ifstream(file).rdbuf();
        return all.str();
    }
    static int Descriptors() {
        return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
    }
    static std::set<std::string> NamesInTmp() {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
            names.insert(entry.path());
        }
        return names;
    }
    bool IsThere() const {
        struct stat there {};
        return ::lstat(m_name.c_str(), &there) == 0;
    }
    /// Expects an empty listing, and that the command was not even run.
    void ExpectEmptyListing() {
        s_command.clear();
        const int descriptors = Descriptors();
        std::array<char, kTmpNameSize> name{};
        EXPECT_EQ(fpOpenMountTable(name.data()), nullptr);
        EXPECT_EQ(name.data(), m_name);
        EXPECT_EQ(Entry("/"), "none");
        EXPECT_EQ(s_command, "");
        EXPECT_EQ(Descriptors(), descriptors);
    }

    std::unique_ptr<MadeUpHost> m_host;
    std::string m_name;
    std::string m_secret;

private:
    std::string m_programs;
    std::string m_path;
};

TEST_F(MountListing, UsesAFileNamedAfterTheProcess) {
    EXPECT_EQ(m_name, "/tmp/CVHost." + std::to_string(::getpid()));
    EXPECT_LT(m_name.size(), kTmpNameSize);
}

TEST_F(MountListing, RunsTheCommandWordForWord) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    Entry("/");
    EXPECT_EQ(s_command, "mount | sed -e 's/ on / /' -e 's/ type / /' -e 's/(//' -e 's/)//'  > " + m_name);
}

TEST_F(MountListing, CanBeReadAsMountEntries) {
    Mounts(
        "/dev/hda1 on / type ext3 (rw,noatime)\n"
        "/dev/sdb1 on /mnt/my disk type vfat (rw)\n"
        "server:/export on /nfs type nfs (ro)\n");
    std::array<char, kTmpNameSize> name{};
    const DHostFile listing(fpOpenMountTable(name.data()));
    ASSERT_TRUE(listing);
    mntent entry{};
    std::array<char, 4096> buffer{};
    ASSERT_NE(::getmntent_r(listing.get(), &entry, buffer.data(), 4096), nullptr);
    EXPECT_STREQ(entry.mnt_fsname, "/dev/hda1");
    EXPECT_STREQ(entry.mnt_dir, "/");
    EXPECT_STREQ(entry.mnt_type, "ext3");
    EXPECT_STREQ(entry.mnt_opts, "rw,noatime");
    ASSERT_NE(::getmntent_r(listing.get(), &entry, buffer.data(), 4096), nullptr);
    EXPECT_STREQ(entry.mnt_dir, "/mnt/my") << "a blank cuts a name here";
    ASSERT_NE(::getmntent_r(listing.get(), &entry, buffer.data(), 4096), nullptr);
    EXPECT_STREQ(entry.mnt_fsname, "server:/export");
    EXPECT_EQ(::getmntent_r(listing.get(), &entry, buffer.data(), 4096), nullptr);
    vRemoveTmpFile(name.data());
    EXPECT_FALSE(IsThere());
}

TEST_F(MountListing, FindsTheFirstLineThatHoldsTheKey) {
    Mounts("/dev/hda11 on /a type ext3 (rw)\n/dev/hda1 on /b type ext3 (rw)\n");
    EXPECT_EQ(Entry("/dev/hda1"), "/dev/hda11 /a ext3 rw\n") << "anywhere in the line";
    EXPECT_EQ(Entry("/b"), "/dev/hda1 /b ext3 rw\n");
    EXPECT_EQ(Entry("/dev/hda2"), "none");
    EXPECT_EQ(Entry(""), "/dev/hda11 /a ext3 rw\n");
    EXPECT_FALSE(IsThere()) << "found or not, the file is removed";
}

TEST_F(MountListing, ReturnsALongLineInPieces) {
    Mounts("/dev/hda1 on /somewhere type ext3 (rw)\n");
    EXPECT_EQ(Entry("/dev", 10), "/dev/hda1");
    EXPECT_EQ(Entry("ext3", 16), "where ext3 rw\n");
    EXPECT_EQ(Entry("/dev/hda1 /some", 10), "none");
}

TEST_F(MountListing, IsEmptyWhenTheCommandFails) {
    Mounts("");
    EXPECT_EQ(Entry("/"), "none");
    EXPECT_FALSE(IsThere());
}

TEST_F(MountListing, StaysReadableWhileAnotherIsCreatedAndRemoved) {
    std::string lines;
    for (int i = 0; i < 2000; ++i) {
        lines += "/dev/hd" + std::to_string(i) + " on /mnt/" + std::to_string(i) + " type ext3 (rw)\n";
    }
    Mounts(lines);
    std::array<char, kTmpNameSize> name{};
    const DHostFile listing(fpOpenMountTable(name.data()));
    ASSERT_TRUE(listing);
    mntent entry{};
    std::array<char, 4096> buffer{};
    int count = 0;
    while (::getmntent_r(listing.get(), &entry, buffer.data(), 4096) != nullptr) {
        EXPECT_EQ(entry.mnt_fsname, "/dev/hd" + std::to_string(count));
        if (count++ % 1000 == 0) {
            Mounts("/dev/other on /other type ext3 (rw)\n");
            EXPECT_EQ(Entry("other"), "/dev/other /other ext3 rw\n");
        }
    }
    EXPECT_EQ(count, 2000);
}

TEST_F(MountListing, IsReadableByItsOwnerOnly) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    const mode_t before = ::umask(0);
    std::array<char, kTmpNameSize> name{};
    const DHostFile listing(fpOpenMountTable(name.data()));
    ::umask(before);
    ASSERT_TRUE(listing);
    struct stat file {};
    ASSERT_EQ(::stat(name.data(), &file), 0);
    EXPECT_EQ(file.st_mode & 07777U, 0600U);
    EXPECT_NE(::fcntl(::fileno(listing.get()), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(MountListing, ReplacesAFileOfOurOwnThatWasLeftBehind) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    std::ofstream(m_name) << "old /old ext3 rw\n";
    ASSERT_EQ(::chmod(m_name.c_str(), 0666), 0);
    ASSERT_EQ(::link(m_name.c_str(), (m_name + ".other").c_str()), 0);
    EXPECT_EQ(Entry("/"), "/dev/hda1 / ext3 rw\n");
    EXPECT_EQ(Content(m_name + ".other"), "old /old ext3 rw\n") << "created afresh, not overwritten";
    ::unlink((m_name + ".other").c_str());
}

TEST_F(MountListing, IsEmptyAndFollowsNoPlantedLink) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    ASSERT_EQ(::symlink(m_secret.c_str(), m_name.c_str()), 0);
    ExpectEmptyListing();
    EXPECT_EQ(Content(m_secret), "untouched\n");
    EXPECT_TRUE(IsThere());

    ASSERT_EQ(::unlink(m_name.c_str()), 0);
    const std::string absent = m_secret + ".absent";
    ASSERT_EQ(::symlink(absent.c_str(), m_name.c_str()), 0);
    ExpectEmptyListing();
    EXPECT_FALSE(std::filesystem::exists(absent)) << "a dangling link creates no file";
}

TEST_F(MountListing, IsEmptyWhenItsNameIsADirectory) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    ASSERT_EQ(::mkdir(m_name.c_str(), 0777), 0);
    ExpectEmptyListing();
    EXPECT_TRUE(std::filesystem::is_directory(m_name));
    EXPECT_EQ(::rmdir(m_name.c_str()), 0);
}

TEST_F(MountListing, IsEmptyWhenItsNameIsAFileOfAnotherUser) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    std::ofstream(m_name) << "untouched\n";
    if (::chown(m_name.c_str(), kSomebodyElse, kSomebodyElse) != 0) {
        GTEST_SKIP() << "only root can make a file of somebody else";
    }
    ASSERT_EQ(::chmod(m_name.c_str(), 0666), 0);
    ExpectEmptyListing();
    EXPECT_EQ(Content(m_name), "untouched\n");
}

TEST_F(MountListing, IsEmptyWhenItsNameIsAPipeAndDoesNotWaitForIt) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    ASSERT_EQ(::mkfifo(m_name.c_str(), 0666), 0);
    ExpectEmptyListing();
    EXPECT_TRUE(IsThere());
}

TEST_F(MountListing, IsEmptyWhenEverybodyMayReplaceFilesOfOthers) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    m_host->Empty("/tmp");  // what is there is covered, the programs included
    ASSERT_EQ(::chmod("/tmp", 0777), 0);
    ExpectEmptyListing();
    ASSERT_EQ(::chmod("/tmp", 0775), 0);
    ExpectEmptyListing();
    ASSERT_EQ(::chmod("/tmp", 01777), 0);
    s_command.clear();
    Entry("/");
    EXPECT_NE(s_command, "") << "the sticky bit makes it safe";
    ASSERT_EQ(::chmod("/tmp", 0755), 0);
    s_command.clear();
    Entry("/");
    EXPECT_NE(s_command, "") << "so does a directory that only its owner writes to";
}

TEST_F(MountListing, WarnsOnceAnHourAboutAnythingElseUnderItsName) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    ASSERT_EQ(::mkdir(m_name.c_str(), 0777), 0);
    ReceivedWarnings warnings;
    ExpectEmptyListing();
    ExpectEmptyListing();
    const std::vector<std::string> said = warnings.Take();
    ASSERT_EQ(said.size(), 1U);
    EXPECT_TRUE(said[0].starts_with(m_name + " cannot be created: ")) << said[0];
    EXPECT_NE(said[0].find("belongs to user " + std::to_string(::geteuid()) + " and was not created"),
              std::string::npos)
        << said[0];
    ++s_hoursLater;
    ExpectEmptyListing();
    EXPECT_EQ(warnings.Take(), said) << "and again after an hour";
    EXPECT_EQ(::rmdir(m_name.c_str()), 0);
}

TEST_F(MountListing, WarnsThatOthersMayReplaceFilesInItsDirectory) {
    m_host->Empty("/tmp");
    ASSERT_EQ(::chmod("/tmp", 0777), 0);
    ReceivedWarnings warnings;
    EXPECT_EQ(Entry("/"), "none");
    const std::vector<std::string> said = warnings.Take();
    ASSERT_EQ(said.size(), 1U);
    EXPECT_NE(said[0].find("mode 1777"), std::string::npos) << said[0];
}

TEST_F(MountListing, WarnsOfNothingWhenAllIsWell) {
    Mounts("/dev/hda1 on / type ext3 (rw)\n");
    ReceivedWarnings warnings;
    EXPECT_NE(Entry("/"), "none");
    EXPECT_TRUE(warnings.Take().empty());
}

// No process has a number above 4,194,304, so processes 5,000,000 and above are certainly gone.

TEST_F(MountListing, RemovesFilesOfOurOwnWhoseProcessIsGone) {
    m_host->Empty("/tmp");
    ASSERT_EQ(::chmod("/tmp", 01777), 0);
    for (const char* const stale : {"/tmp/CVHost.5000000", "/tmp/CVHost.9999999"}) {
        std::ofstream(stale) << "left behind\n";
    }
    const std::string live = "/tmp/CVHost." + std::to_string(::getppid());
    for (const std::string& name : {m_name, live}) {
        std::ofstream(name) << "in use\n";
    }
    vRemoveStaleTmpFiles();
    EXPECT_EQ(NamesInTmp(), (std::set<std::string>{m_name, live}));
}

TEST_F(MountListing, LeavesFilesThatAnotherUserPlantedUnderTheNameOfADeadProcess) {
    m_host->Empty("/tmp");
    ASSERT_EQ(::chmod("/tmp", 01777), 0);
    std::ofstream("/tmp/secret") << "untouched\n";
    ASSERT_EQ(::symlink("/tmp/secret", "/tmp/CVHost.5000001"), 0);
    ASSERT_EQ(::link("/tmp/secret", "/tmp/CVHost.5000002"), 0);
    ASSERT_EQ(::mkdir("/tmp/CVHost.5000003", 0777), 0);
    ASSERT_EQ(::mkfifo("/tmp/CVHost.5000004", 0666), 0);
    std::ofstream("/tmp/CVHost.5000005") << "untouched\n";
    if (::chown("/tmp/CVHost.5000005", kSomebodyElse, kSomebodyElse) != 0) {
        GTEST_SKIP() << "only root can make a file of somebody else";
    }
    for (const char* const other : {"CVHost.", "CVHost.x", "CVHost.05000006", "CVHost.5000006.old", "CVHost.-5000006",
                                    "CVHost.50000060", "CVHost.99999999999999999999", "xCVHost.5000006"}) {
        std::ofstream(std::string("/tmp/") + other) << "untouched\n";
    }
    const std::set<std::string> before = NamesInTmp();
    vRemoveStaleTmpFiles();
    EXPECT_EQ(NamesInTmp(), before);
    EXPECT_EQ(Content("/tmp/secret"), "untouched\n");
}

TEST_F(MountListing, LeavesAFileInUseEvenWhenItsProcessIsNotVisible) {
    m_host->Empty("/tmp");
    ASSERT_EQ(::chmod("/tmp", 01777), 0);
    const std::string name = "/tmp/CVHost.5000007";
    {
        const DHostFile output(fpOpenCommandOutput("echo words > %s", name.c_str()));
        ASSERT_TRUE(output);
        vRemoveStaleTmpFiles();
        EXPECT_TRUE(std::filesystem::exists(name));
    }
    vRemoveStaleTmpFiles();
    EXPECT_FALSE(std::filesystem::exists(name));
}

TEST_F(MountListing, RemovesNothingWhenEverybodyMayReplaceFilesOfOthers) {
    m_host->Empty("/tmp");
    ASSERT_EQ(::chmod("/tmp", 0777), 0);
    std::ofstream("/tmp/CVHost.5000008") << "left behind\n";
    vRemoveStaleTmpFiles();
    EXPECT_TRUE(std::filesystem::exists("/tmp/CVHost.5000008"));
}

TEST_F(MountListing, NeverRemovesFilesOfOthers) {
    std::ofstream(m_name) << "x";
    vRemoveTmpFile("");
    EXPECT_TRUE(IsThere());
    vRemoveTmpFile(m_name.c_str());
    EXPECT_FALSE(IsThere());
    ASSERT_EQ(::symlink(m_secret.c_str(), m_name.c_str()), 0);
    vRemoveTmpFile(m_name.c_str());
    EXPECT_TRUE(IsThere());
    EXPECT_EQ(Content(m_secret), "untouched\n");
}

TEST_F(MountListing, RunsAnyOtherCommandIntoTheSameFile) {
    const DHostFile output(fpOpenCommandOutput("echo words > %s", m_name.c_str()));
    ASSERT_TRUE(output);
    std::array<char, 64> line{};
    EXPECT_TRUE(ReadLine(output.get(), line));
    EXPECT_STREQ(line.data(), "words\n");
    EXPECT_EQ(fpOpenCommandOutput((std::string(280, ':') + "%s").c_str(), m_name.c_str()), nullptr)
        << "a command too long for its buffer is not run";
    EXPECT_EQ(fpOpenCommandOutput("true > %s", ""), nullptr);
}

}  // namespace
