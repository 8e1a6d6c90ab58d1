// The figures of file systems, and how long they take to answer: this program's own stat and statfs answer for the
// directories below /fake.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CVT/BRequestId.h"
#include "CVT/TThread.h"
#include "CVT/TTimer.h"
#include "groups/storage/DHrStorageTable.h"
#include "groups/storage/FileSystemType.h"
#include "groups/storage/MountProbe.h"
#include "tests/support/ReceivedWarnings.h"
#include "tests/support/ScratchFolder.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// A file system below /fake.
struct Fake {
    bool hasStat = true;
    bool hasSpace = true;
    bool statHangs = false;
    bool spaceHangs = false;
    int error = EIO;  ///< of the calls that fail
    milliseconds delay{0};
    long unit = 4096;
    struct statfs space {};
    int asked = 0;             ///< how often statfs was called
    std::thread::id askedBy;   ///< the last caller
    std::thread::id freed;     ///< does not hang, although the others do
    bool takesSignals = true;  ///< whether that thread accepted signals
};

std::mutex s_lock;
std::condition_variable s_released;
std::map<std::string, Fake> s_fakes;
std::atomic<bool> s_noThreads = false;

bool IsFake(const char* path) { return std::strncmp(path, "/fake/", 6) == 0; }

/// Returns -1 with ENOENT for a file system that no test created.
template <class Answer>
int Ask(const char* path, bool Fake::*hangs, bool Fake::*has, Answer answer) {
    std::unique_lock lock(s_lock);
    const auto found = s_fakes.find(path);
    if (found == s_fakes.end()) {
        errno = ENOENT;
        return -1;
    }
    Fake& fake = found->second;
    answer(fake, false);
    if (fake.delay.count() != 0) {
        const milliseconds delay = fake.delay;
        lock.unlock();
        std::this_thread::sleep_for(delay);
        lock.lock();
    }
    s_released.wait(lock, [&] { return !(fake.*hangs) || fake.freed == std::this_thread::get_id(); });
    if (!(fake.*has)) {
        errno = fake.error;
        return -1;
    }
    answer(fake, true);
    return 0;
}

}  // namespace

extern "C" int stat(const char* path, struct stat* out) noexcept {
    if (!IsFake(path)) {
        using Stat = int (*)(const char*, struct stat*);
        static const auto real = reinterpret_cast<Stat>(::dlsym(RTLD_NEXT, "stat"));
        return real(path, out);
    }
    return Ask(path, &Fake::statHangs, &Fake::hasStat, [&](const Fake& fake, bool hasAnswered) {
        if (hasAnswered) {
            std::memset(out, 0, sizeof *out);
            out->st_blksize = fake.unit;
        }
    });
}

extern "C" int statfs(const char* path, struct statfs* out) noexcept {
    if (!IsFake(path)) {
        using Statfs = int (*)(const char*, struct statfs*);
        static const auto real = reinterpret_cast<Statfs>(::dlsym(RTLD_NEXT, "statfs"));
        return real(path, out);
    }
    return Ask(path, &Fake::spaceHangs, &Fake::hasSpace, [&](Fake& fake, bool hasAnswered) {
        if (hasAnswered) {
            *out = fake.space;
            return;
        }
        ++fake.asked;
        fake.askedBy = std::this_thread::get_id();
        sigset_t blocked;
        ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        fake.takesSignals = ::sigismember(&blocked, SIGTERM) == 0;
    });
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                              void* argument) noexcept {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    return s_noThreads ? EAGAIN : real(thread, attributes, run, argument);
}

namespace {

struct statfs Space(unsigned long blocks, unsigned long free) {
    struct statfs space {};
    space.f_type = 0xEF53;
    space.f_bsize = 4096;
    space.f_blocks = blocks;
    space.f_bfree = free;
    return space;
}

class MountFigures : public testing::Test {
protected:
    void SetUp() override {
        ETC_MNTTAB = m_mountTable.c_str();
        lastTableIndex = vVMemIndex = vMemIndex = 0;
        stLastMntFileStat = {};
        s_fakes.clear();
        s_noThreads = false;
    }
    void TearDown() override {
        Release();
        EXPECT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
        ETC_MNTTAB = "/etc/mtab";
    }

    /// Creates a file system on /fake/NAME and adds it to the mount table.
    Fake& Mount(const std::string& name, const std::string& type, const struct statfs& space = Space(1000, 400)) {
        std::ofstream(m_mountTable, std::ios::app) << "server /fake/" << name << " " << type << " rw 0 0\n";
        const std::lock_guard guard(s_lock);
        Fake& fake = s_fakes["/fake/" + name];
        fake.space = space;
        return fake;
    }
    static void Change(Fake& fake, bool Fake::*member, bool value) {
        const std::lock_guard guard(s_lock);
        fake.*member = value;
        s_released.notify_all();
    }
    static int Asked(const Fake& fake) {
        const std::lock_guard guard(s_lock);
        return fake.asked;
    }
    static void Release() {
        const std::lock_guard guard(s_lock);
        for (auto& [path, fake] : s_fakes) {
            fake.statHangs = fake.spaceHangs = false;
        }
        s_released.notify_all();
    }

    using Get = int (DHrStorageTable::*)(const CVT::BObjectIdentifier&, unsigned int, int&);
    int Number(Get get, unsigned int row) {
        int value = -77;
        EXPECT_EQ(((*m_table).*get)(CVT::BObjectIdentifier(row), CVT::BRequestId::Next(), value), 0);
        return value;
    }
    int Units(unsigned int row) { return Number(&DHrStorageTable::OnGet_HrStorageAllocationUnits, row); }
    int Size(unsigned int row) { return Number(&DHrStorageTable::OnGet_HrStorageSize, row); }
    /// Runs a phase of a SET of the size; `undo` is passed from phase to phase.
    int SetSize(CVT::ESnmpSetOpCode phase, unsigned int row, int value, void*& undo) {
        return m_table->OnSet_HrStorageSize(CVT::BObjectIdentifier(row), phase, 1, value, &undo);
    }
    int Used(unsigned int row) { return Number(&DHrStorageTable::OnGet_HrStorageUsed, row); }

    std::unique_ptr<DHrStorageTable> m_table = std::make_unique<DHrStorageTable>(nullptr);

private:
    const ScratchFolder m_folder;
    const std::string m_mountTable = m_folder / "mtab";
};

TEST_F(MountFigures, MapEveryMagicNumberToItsFileSystemType) {
    for (const auto& [magic, type] : {
             std::pair(0xADFFL, 16),
             {0x00011954L, 3},
             {0x012FF7B4L, 4},
             {0x012FF7B5L, 4},
             {0x012FF7B6L, 4},
             {0x012FF7B7L, 4},
             {0xEF51L, 23},
             {0xEF53L, 23},
             {0x4D44L, 5},
             {0x6969L, 14},
             {0x9660L, 12},
             {0xF995E849L, 6},
             {-107616183L, 6},
             {0L, 2},
             {0x58465342L, 1},
             {0x01021994L, 1},
             {-1L, 1},
             {0x100000000L, 2},
         }) {
        struct statfs space {};
        space.f_type = magic;
        Mount("magic", "ext4", space);
        struct statfs answer {};
        ASSERT_EQ(::statfs("/fake/magic", &answer), 0);
        EXPECT_EQ(FSTypeOid(answer).ToString(), CVT::BString(("1.3.6.1.2.1.25.3.9." + std::to_string(type)).c_str()))
            << std::hex << magic;
    }
}

TEST_F(MountFigures, CountBlocksButReportTheUnitFromStat) {
    Mount("a", "ext4", Space(1000, 400)).unit = 512;
    m_table->Initialize();
    EXPECT_EQ(Units(1), 512) << "not f_bsize";
    EXPECT_EQ(Size(1), 1000);
    EXPECT_EQ(Used(1), 600);
}

TEST_F(MountFigures, AreCutToThirtyTwoBits) {
    constexpr unsigned long kTiB = 1UL << 40U;
    constexpr unsigned long kEiB = 1UL << 60U;
    Mount("small-blocks", "ext4", Space(2 * kTiB / 1024, 1));
    Mount("two", "xfs", Space(2 * kTiB / 4096, 4096));
    Mount("sixteen", "btrfs", Space(16 * kTiB / 4096, 5));
    Mount("sixteen-and-some", "btrfs", Space(16 * kTiB / 4096 + 77, 7));
    Mount("exa", "xfs", Space(kEiB / 4096 + 3, kEiB / 4096));
    Mount("free-beyond", "xfs", Space(10, 12));
    Mount("wide-unit", "xfs", Space(10, 1)).unit = (1L << 32U) + 8192;
    m_table->Initialize();
    EXPECT_EQ(Size(1), -2147483647 - 1);
    EXPECT_EQ(Used(1), 2147483647);
    EXPECT_EQ(Size(2), 536870912);
    EXPECT_EQ(Used(2), 536870912 - 4096);
    EXPECT_EQ(Size(3), 0);
    EXPECT_EQ(Used(3), -5);
    EXPECT_EQ(Size(4), 77);
    EXPECT_EQ(Used(4), 70);
    EXPECT_EQ(Size(5), 3);
    EXPECT_EQ(Used(5), 3);
    EXPECT_EQ(Size(6), 10);
    EXPECT_EQ(Used(6), -2);
    EXPECT_EQ(Units(7), 8192);
}

TEST_F(MountFigures, AreMeasuredAgainForUsedSpaceOnly) {
    Fake& fake = Mount("a", "ext4", Space(1000, 400));
    m_table->Initialize();
    fake.space = Space(2000, 300);
    fake.unit = 1;
    EXPECT_EQ(Used(1), 1700);
    EXPECT_EQ(Size(1), 1000);
    EXPECT_EQ(Units(1), 4096);
}

TEST_F(MountFigures, StayUnchangedWhenTheyCannotBeMeasured) {
    Fake& fake = Mount("a", "ext4", Space(1000, 400));
    m_table->Initialize();
    fake.hasSpace = false;
    EXPECT_EQ(Used(1), 600);
    fake.hasSpace = true;
    fake.space.f_bfree = 100;
    EXPECT_EQ(Used(1), 900);
}

TEST_F(MountFigures, AreZeroInARowWhoseStatfsFailsWhenItIsMade) {
    Mount("a", "ext4").hasSpace = false;
    m_table->Initialize();
    EXPECT_EQ(Units(1), 4096);
    EXPECT_EQ(Size(1), 0);
    EXPECT_EQ(Used(1), 0);
}

TEST_F(MountFigures, AreNotQueriedWhenStatFails) {
    Fake& fake = Mount("a", "ext4");
    fake.hasStat = false;
    Fake& remote = Mount("b", "nfs4");
    remote.hasStat = false;
    m_table->Initialize();
    EXPECT_EQ(Asked(fake), 0);
    EXPECT_EQ(Asked(remote), 0);
    EXPECT_EQ(Units(1), 0);
    EXPECT_EQ(Size(1), 0);
}

TEST_F(MountFigures, CostNoThreadForATypeThatCannotHang) {
    const Fake& disk = Mount("disk", "ext4");
    const Fake& remote = Mount("remote", "nfs4");
    const Fake& below = Mount("remote/below", "ext4");
    m_table->Initialize();
    EXPECT_EQ(disk.askedBy, std::this_thread::get_id());
    EXPECT_TRUE(disk.takesSignals);
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_NE(remote.askedBy, std::this_thread::get_id());
    EXPECT_FALSE(remote.takesSignals) << "a signal must not end up on a thread that is stuck";
    EXPECT_NE(below.askedBy, std::this_thread::get_id()) << "the way there leads through one that may hang";
    EXPECT_EQ(Size(2), 1000);
    EXPECT_EQ(Used(2), 600);
    Used(1);
    EXPECT_EQ(disk.askedBy, std::this_thread::get_id());
}

TEST_F(MountFigures, AreQueriedOnAThreadOnceSomethingThatMayHangIsMountedAbove) {
    const Fake& fake = Mount("a", "ext4");
    m_table->Initialize();
    Used(1);
    EXPECT_EQ(fake.askedBy, std::this_thread::get_id());
    Mount("a", "nfs");
    stLastMntFileStat.st_mtime = 1;
    Used(1);
    EXPECT_EQ(m_table->GetNumRows(), 3U);
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_NE(fake.askedBy, std::this_thread::get_id());
}

TEST_F(MountFigures, OfAFileSystemThatStopsAnsweringStayAndCostOneSecondOnlyOnce) {
    Fake& dead = Mount("dead", "fuse.test", Space(1000, 400));
    Mount("alive", "fuse.test", Space(50, 20));
    m_table->Initialize();
    EXPECT_EQ(Used(1), 600);
    Change(dead, &Fake::spaceHangs, true);
    dead.space.f_bfree = 100;
    const int asked = Asked(dead);

    const auto begin = Clock::now();
    EXPECT_EQ(Used(1), 600) << "the stored value stays";
    EXPECT_GE(Clock::now() - begin, milliseconds(950));
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(Used(1), 600);
        EXPECT_EQ(Used(2), 30) << "the others are measured meanwhile";
    }
    EXPECT_LT(Clock::now() - begin, seconds(60)) << "each of the hundred would cost a second";
    EXPECT_EQ(Asked(dead), asked + 1) << "not queried again until the call has returned";
    EXPECT_GE(CVT::TThread::NumSelfDeleting(), 1U);

    Release();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_EQ(Used(1), 900);
    EXPECT_EQ(Asked(dead), asked + 2);
}

DMountProbe Question() { return {"/fake/dead", true, DMountProbe::kSpace}; }

template <class Condition>
void WaitUntil(Condition condition) {
    const auto deadline = Clock::now() + seconds(30);
    while (!condition()) {
        ASSERT_LT(Clock::now(), deadline);
        CVT::TTimer().Sleep(1);
    }
}

TEST_F(MountFigures, AreNotQueriedWhileOneOfSeveralSimultaneousCallersIsStuck) {
    Fake& dead = Mount("dead", "nfs4");
    dead.spaceHangs = true;
    DMountProbe first = Question();
    WaitUntil([&] { return Asked(dead) == 1; });
    DMountProbe second = Question();
    WaitUntil([&] { return Asked(dead) == 2; });
    EXPECT_FALSE(first.Answer().space);
    EXPECT_FALSE(second.Answer().space);
    {
        const std::lock_guard guard(s_lock);
        dead.freed = dead.askedBy;
        s_released.notify_all();
    }
    WaitUntil([] { return CVT::TThread::NumSelfDeleting() == 1; });
    EXPECT_FALSE(Question().Answer().space);
    EXPECT_EQ(Asked(dead), 2);
    Release();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_TRUE(Question().Answer().space);
}

TEST_F(MountFigures, OfASlowFileSystemAreAwaited) {
    Fake& slow = Mount("slow", "cifs");
    slow.delay = milliseconds(700);
    m_table->Initialize();
    EXPECT_EQ(Size(1), 1000);
    EXPECT_EQ(Used(1), 600);
}

TEST_F(MountFigures, ThatArriveLateAreUsedByTheNextRequest) {
    Fake& noStat = Mount("a", "cifs");
    Fake& noSpace = Mount("b", "cifs");
    noStat.statHangs = true;
    noSpace.spaceHangs = true;
    m_table->Initialize();
    EXPECT_EQ(Units(1), 0);
    EXPECT_EQ(Units(2), 4096);
    EXPECT_EQ(Size(1), 0);
    EXPECT_EQ(Size(2), 0);

    Release();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    for (const unsigned int row : {1U, 2U}) {
        EXPECT_EQ(Units(row), 4096);
        EXPECT_EQ(Size(row), 1000);
        CVT::BObjectIdentifier type;
        EXPECT_EQ(m_table->OnGet_HrStorageType(CVT::BObjectIdentifier(row), CVT::BRequestId::Next(), type), 0);
        EXPECT_EQ(type.ToString().View(), "1.3.6.1.2.1.25.2.1.4");
    }
    EXPECT_EQ(Asked(noStat), 1) << "the late answer is used: nothing is queried again";
    EXPECT_EQ(Asked(noSpace), 1);
    noStat.space.f_blocks = 2000;
    EXPECT_EQ(Size(1), 1000) << "used once";
}

TEST_F(MountFigures, ThatArriveLateDoNotReplaceASizeThatAManagerHasWritten) {
    Mount("late", "cifs").spaceHangs = true;
    Mount("undone", "cifs").spaceHangs = true;
    m_table->Initialize();
    void* undo = nullptr;
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::CheckAndSave, 1, 77, undo), CVT::noError);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::Commit, 1, 77, undo), CVT::noError);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::Release, 1, 77, undo), CVT::noError);
    EXPECT_EQ(Size(1), 77);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::CheckAndSave, 2, 77, undo), CVT::noError);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::Commit, 2, 77, undo), CVT::noError);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::Undo, 2, 77, undo), CVT::noError);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::Release, 2, 77, undo), CVT::noError);

    Release();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_EQ(Size(1), 77);
    EXPECT_EQ(Used(1), 600) << "everything else is updated";
    EXPECT_EQ(Size(2), 1000) << "an undone size does not count as written";
}

TEST_F(MountFigures, ThatArriveDuringASetRemainAfterItsUndo) {
    Fake& first = Mount("first", "cifs");
    Mount("second", "cifs").spaceHangs = true;
    first.spaceHangs = true;
    m_table->Initialize();
    void* undo = nullptr;
    void* other = nullptr;
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::CheckAndSave, 1, 77, undo), CVT::noError);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::CheckAndSave, 2, 88, other), CVT::noError);
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::Commit, 1, 77, undo), CVT::noError);
    Release();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_EQ(Size(1), 77) << "committed before the answer came";
    EXPECT_EQ(Size(2), 1000) << "only checked";
    ASSERT_EQ(SetSize(CVT::ESnmpSetOpCode::Commit, 2, 88, other), CVT::noError);
    EXPECT_EQ(Size(2), 88);
    for (const auto phase : {CVT::ESnmpSetOpCode::Undo, CVT::ESnmpSetOpCode::Release}) {
        ASSERT_EQ(SetSize(phase, 1, 77, undo), CVT::noError);
        ASSERT_EQ(SetSize(phase, 2, 88, other), CVT::noError);
    }
    EXPECT_EQ(Size(1), 1000);
    EXPECT_EQ(Size(2), 1000);
}

TEST_F(MountFigures, OfAForbiddenDirectoryCauseOneWarning) {
    ReceivedWarnings warnings;
    const auto forbid = [this](const char* name, const char* type) {
        Fake& fake = Mount(name, type);
        fake.hasStat = false;
        fake.error = EACCES;
    };
    forbid("closed", "ext4");
    forbid("closed", "ext4");
    forbid("remote", "nfs4");
    Mount("broken", "ext4").hasStat = false;
    m_table->Initialize();
    EXPECT_EQ(m_table->GetNumRows(), 6U);
    const std::vector<std::string> said = warnings.Take();
    ASSERT_EQ(said.size(), 2U) << "once for each directory, and only for what is forbidden";
    EXPECT_EQ(
        said[0],
        "/fake/closed may not be looked at (Permission denied): its row in hrStorageTable has no type and no figures, "
        "which a check may take for 0 % used; let the agent's user search the folders above it");
    EXPECT_EQ(said[1].substr(0, 13), "/fake/remote ");
    forbid("new", "ext4");
    stLastMntFileStat.st_mtime = 1;
    Used(1);
    stLastMntFileStat.st_mtime = 1;
    Used(1);
    EXPECT_EQ(warnings.Take().size(), 1U) << "the new one, and not again at each look";
}

TEST_F(MountFigures, OfADirectoryThatTurnsOutLateToBeForbiddenCauseAWarningToo) {
    ReceivedWarnings warnings;
    Fake& fake = Mount("late", "nfs4");
    fake.statHangs = true;
    fake.hasStat = false;
    fake.error = EACCES;
    m_table->Initialize();
    EXPECT_EQ(warnings.Take().size(), 0U);
    Release();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    Used(1);
    EXPECT_EQ(warnings.Take().size(), 1U);
    Used(1);
    EXPECT_EQ(warnings.Take().size(), 0U);
}

TEST_F(MountFigures, TakeLongToReadWhereAFileSystemMayHangOrANewOneIsToBeAsked) {
    Mount("local", "ext4");
    Mount("remote", "nfs4");
    m_table->Initialize();
    const auto takesLong = [&](CVT::EReading call, unsigned int requestId, unsigned int column, unsigned int row) {
        CVT::BObjectIdentifier name(m_table->Oid());
        name.Append(column);
        name.Append(row);
        return m_table->MayTakeLong(call, requestId, name);
    };
    const unsigned int request = CVT::BRequestId::Next();
    EXPECT_TRUE(takesLong(CVT::EReading::Get, request, 6, 2)) << "the used blocks, which are measured";
    EXPECT_FALSE(takesLong(CVT::EReading::Get, request, 6, 1)) << "it cannot hang";
    EXPECT_FALSE(takesLong(CVT::EReading::Get, request, 6, 3)) << "memory";
    EXPECT_FALSE(takesLong(CVT::EReading::Get, request, 5, 2)) << "it is not measured again";
    EXPECT_FALSE(takesLong(CVT::EReading::NextInstance, request, 6, 2)) << "reads nothing";

    int size = 0;
    m_table->OnGet_HrStorageSize(CVT::BObjectIdentifier(1), request, size);
    Mount("new", "cifs");
    stLastMntFileStat.st_mtime = 1;
    EXPECT_FALSE(takesLong(CVT::EReading::Get, request, 5, 1)) << "it does not look a second time";
    const unsigned int next = CVT::BRequestId::Next();
    EXPECT_TRUE(takesLong(CVT::EReading::Get, next, 5, 1));
    m_table->OnGet_HrStorageSize(CVT::BObjectIdentifier(1), next, size);
    EXPECT_EQ(m_table->GetNumRows(), 5U);
    EXPECT_FALSE(takesLong(CVT::EReading::Get, CVT::BRequestId::Next(), 5, 1));
}

TEST_F(MountFigures, OfANewFileSystemAreNotAskedForInACallAnnouncedAsFast) {
    Mount("local", "ext4");
    m_table->Initialize();
    CVT::BObjectIdentifier name(m_table->Oid());
    name.Append(5);
    name.Append(1);
    const unsigned int request = CVT::BRequestId::Next();
    EXPECT_FALSE(m_table->MayTakeLong(CVT::EReading::Get, request, name));
    Mount("new", "nfs4");  // between the question and the call
    stLastMntFileStat.st_mtime = 1;
    int size = 0;
    m_table->OnGet_HrStorageSize(CVT::BObjectIdentifier(1), request, size);
    EXPECT_EQ(m_table->GetNumRows(), 3U);
    const unsigned int next = CVT::BRequestId::Next();
    EXPECT_TRUE(m_table->MayTakeLong(CVT::EReading::Get, next, name));
    m_table->OnGet_HrStorageSize(CVT::BObjectIdentifier(1), next, size);
    EXPECT_EQ(m_table->GetNumRows(), 4U);
}

TEST_F(MountFigures, OfManyDeadFileSystemsDelayTheStartUpLittleMoreThanOne) {
    for (int i = 0; i < 30; ++i) {
        Fake& dead = Mount("dead" + std::to_string(i), "nfs4");
        (i % 2 == 0 ? dead.statHangs : dead.spaceHangs) = true;
    }
    Mount("alive", "ext4");
    const auto begin = Clock::now();
    m_table->Initialize();
    const auto duration = Clock::now() - begin;
    EXPECT_GE(duration, milliseconds(950));
    EXPECT_LT(duration, seconds(15)) << "thirty seconds if the waits added up";
    EXPECT_EQ(Units(1), 0) << "its stat hangs";
    EXPECT_EQ(Units(2), 4096) << "only its statfs hangs";
    EXPECT_EQ(Size(2), 0);
    EXPECT_EQ(Size(31), 1000);
    EXPECT_EQ(m_table->GetNumRows(), 33U);
}

TEST_F(MountFigures, CountAsFailedWhenNoThreadCanBeCreated) {
    Mount("a", "nfs4");
    m_table->Initialize();
    EXPECT_EQ(Used(1), 600);
    s_fakes["/fake/a"].space.f_bfree = 0;
    s_noThreads = true;
    EXPECT_EQ(Used(1), 600);
    s_noThreads = false;
    EXPECT_EQ(Used(1), 1000);
}

TEST_F(MountFigures, OfANewRowAreAskedForAgainWhereNoThreadCouldBeCreated) {
    Mount("a", "nfs4");
    s_noThreads = true;
    m_table->Initialize();
    EXPECT_EQ(Units(1), 0);
    s_noThreads = false;
    Units(1);
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_EQ(Units(1), 4096);
    EXPECT_EQ(Size(1), 1000);
}

TEST_F(MountFigures, OfANewRowAreAskedForAgainWhereTheDirectoryDidNotAnswerBefore) {
    Mount("dead", "nfs4").statHangs = true;
    m_table->Initialize();
    DHrStorageTable other(nullptr);
    other.Initialize();  // the call to the directory has still not returned
    m_table = nullptr;
    Release();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    const auto units = [&] {
        int value = -77;
        EXPECT_EQ(other.OnGet_HrStorageAllocationUnits(CVT::BObjectIdentifier(other.FindRow("/fake/dead")),
                                                       CVT::BRequestId::Next(), value),
                  0);
        return value;
    };
    units();
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_EQ(units(), 4096);
}

TEST_F(MountFigures, AreServedAtOnceAfterTheMountTableWasFoundMissing) {
    Mount("a", "ext4");
    m_table->Initialize();
    CVT::BObjectIdentifier name(m_table->Oid());
    name.Append(5);
    name.Append(1);
    const auto takesLong = [&] { return m_table->MayTakeLong(CVT::EReading::Get, CVT::BRequestId::Next(), name); };
    std::filesystem::remove(ETC_MNTTAB);
    EXPECT_TRUE(takesLong());
    EXPECT_EQ(Size(1), 1000);
    EXPECT_FALSE(takesLong());
    Mount("a", "ext4");
    Mount("b", "ext4");
    EXPECT_TRUE(takesLong());
    EXPECT_EQ(Size(1), 1000);
    EXPECT_EQ(m_table->GetNumRows(), 4U);
    EXPECT_FALSE(takesLong());
}

TEST_F(MountFigures, ThatNeverArriveDelayNeitherCleanupNorTheTablesDestruction) {
    Mount("dead", "fuse").spaceHangs = true;
    m_table->Initialize();
    const auto begin = Clock::now();
    m_table->Cleanup();
    m_table.reset();
    EXPECT_LT(Clock::now() - begin, milliseconds(900));
    EXPECT_EQ(CVT::TThread::NumSelfDeleting(), 1U) << "a host sees that one is left";
    EXPECT_FALSE(CVT::TThread::WaitForSelfDeleting(0));
    Release();
    EXPECT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000)) << "and that it has gone";
}

TEST_F(MountFigures, OfARowCreatedByACallerAreQueriedLikeAnyOther) {
    Mount("remote", "nfs4");
    m_table->Initialize();
    const Fake& disk = s_fakes["/fake/remote/disk"];
    std::string device = "/dev/sda1";
    std::string directory = "/fake/remote/disk";
    std::string type = "ext4";
    const mntent mount = {device.data(), directory.data(), type.data(), type.data(), 0, 0};
    m_table->CreateDemoRow(9, &mount);
    ASSERT_TRUE(CVT::TThread::WaitForSelfDeleting(30'000));
    EXPECT_EQ(Asked(disk), 1);
    EXPECT_NE(disk.askedBy, std::this_thread::get_id()) << "the way there leads through one that may hang";
    EXPECT_TRUE(m_table->GetRow(CVT::BObjectIdentifier(9))->mayHang);
}

TEST_F(MountFigures, FillARowWhenItIsConstructed) {
    Mount("a", "nfs4");
    std::string device = "server:/a";
    std::string directory = "/fake/a";
    std::string type = "nfs4";
    const mntent mount = {device.data(), directory.data(), type.data(), type.data(), 0, 0};
    const DHrStorageEntry row(7, &mount);
    EXPECT_EQ(row.index, 7U);
    EXPECT_EQ(row.size, 1000);
    EXPECT_EQ(row.used, 600);
    EXPECT_TRUE(row.mayHang);
}

}  // namespace
