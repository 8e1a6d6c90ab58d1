// The process tables of the shipped library, over a made-up /proc. The clock, the opening of directories and the shell
// are this program's own: they stand before the C library's.

#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tests/support/MadeUpHostTest.h"
#include "tests/support/ReceivedWarnings.h"
#include "tests/support/Walk.h"

namespace {

std::time_t s_now = 1'000'000;
int s_scans = 0;
int s_opendirError = 0;
bool s_hasNoMemory = false;  // for one scan, after its first process
std::vector<std::string> s_commands;

}  // namespace

extern "C" std::time_t time(std::time_t* out) noexcept {
    if (out != nullptr) {
        *out = s_now;
    }
    return s_now;
}

extern "C" DIR* opendir(const char* name) {
    using Open = DIR* (*)(const char*);
    static const auto real = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "opendir"));
    if (std::string_view(name) != "/proc") {
        return real(name);
    }
    ++s_scans;
    if (s_opendirError != 0) {
        errno = s_opendirError;
        return nullptr;
    }
    return real(name);
}

extern "C" struct dirent* readdir(DIR* directory) {
    using Read = struct dirent* (*)(DIR*);
    static const auto real = reinterpret_cast<Read>(::dlsym(RTLD_NEXT, "readdir"));
    struct dirent* const entry = real(directory);
    if (s_hasNoMemory && entry != nullptr && entry->d_name[0] == '3') {
        s_hasNoMemory = false;
        throw std::bad_alloc();
    }
    return entry;
}

extern "C" int system(const char* command) {
    s_commands.emplace_back(command == nullptr ? "" : command);
    return 0;
}

namespace {

using namespace std::string_literals;

constexpr const char* kStat = " 1 2 2 0 -1 4194560 100 200 3 4 50 60 ";

class RunTable : public MadeUpHostTest {
protected:
    static constexpr const char* kEntry = "1.3.6.1.2.1.25.4.2.1.";
    static constexpr const char* kPerfEntry = "1.3.6.1.2.1.25.5.1.1.";

    void SetUp() override {
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        StartUp();
        m_host->Empty("/proc");
        s_scans = 0;
        s_commands.clear();  // those of the start-up
    }

    /// Creates a process with the given files; "-" means no such file.
    static void Process(const std::string& name, const std::string& stat, const std::string& cmdline = "-",
                        const std::string& statm = "-", const std::string& cwd = "-") {
        const std::string directory = "/proc/" + name;
        ::mkdir(directory.c_str(), 0755);
        WriteFile(directory + "/stat", stat);
        WriteFile(directory + "/cmdline", cmdline);
        WriteFile(directory + "/statm", statm);
        if (cwd != "-") {
            EXPECT_EQ(::symlink(cwd.c_str(), (directory + "/cwd").c_str()), 0);
        }
    }
    static void WriteFile(const std::string& path, const std::string& content) {
        if (content != "-") {
            std::ofstream(path, std::ios::binary) << content;
        }
    }
    static std::string Stat(const std::string& pid, const std::string& name, char state,
                            const std::string& ticks = "7 8") {
        return pid + " (" + name + ") " + state + kStat + ticks + " 20 0 1 0 5 6 7\n";
    }

    /// A stat line of a process that was started `ticks` after the host; the process of Stat started 5 ticks after it.
    static std::string StatSince(const std::string& pid, int ticks, const std::string& name = "victim") {
        return pid + " (" + name + ") S" + kStat + "7 8 20 0 1 0 " + std::to_string(ticks) + " 6 7\n";
    }

    CVT::BVarBind Cell(int column, const std::string& pid) {
        return Get(m_engine, kEntry + std::to_string(column) + "." + pid);
    }
    std::string Text(int column, const std::string& pid) { return std::string(Cell(column, pid).octets.View()); }
    int Number(int column, const std::string& pid) {
        const CVT::BVarBind cell = Cell(column, pid);
        EXPECT_EQ(cell.type, CVT::kInteger);
        return cell.integer;
    }
    int PerfNumber(int column, const std::string& pid) {
        const CVT::BVarBind cell = Get(m_engine, kPerfEntry + std::to_string(column) + "." + pid);
        EXPECT_EQ(cell.type, CVT::kInteger);
        return cell.integer;
    }
    std::vector<unsigned int> Pids(const char* column = "1.3.6.1.2.1.25.4.2.1.1") {
        std::vector<unsigned int> pids;
        for (const CVT::BVarBind& varBind : Walk(m_engine, column)) {
            pids.push_back(varBind.name[varBind.name.NumArcs() - 1]);
        }
        return pids;
    }
    /// The processes in the table, as one request sees them.
    std::vector<unsigned int> PidsSeenBy(const CVT::BRequest& request, const char* entry = kEntry) {
        const CVT::BObjectIdentifier column{CVT::BString((std::string(entry) + "1").c_str())};
        std::vector<unsigned int> pids;
        CVT::BVarBind at;
        at.name = column;
        while (m_engine.GetNext(request.Id(), at) == CVT::noError && at.name.StartsWith(column)) {
            pids.push_back(at.name[at.name.NumArcs() - 1]);
        }
        return pids;
    }
};

TEST_F(RunTable, HasARowForEachProcessWithTheContentsOfItsFiles) {
    Process("1", Stat("1", "init", 'S'), "/sbin/init\0splash\0"s, "2000 300 40 5 0 6 0\n", "/");
    Process("42", Stat("42", "prog", 'R', "100 23"), "/usr/bin/prog\0-a\0-b\0"s, "77 1 1\n", "/home/user");
    WriteFile("/proc/uptime", "5.00 5.00\n");
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{1, 42}));
    EXPECT_EQ(Number(1, "42"), 42);
    EXPECT_EQ(Text(2, "42"), "prog");
    for (const char* const pid : {"1", "42"}) {
        EXPECT_EQ(Cell(3, pid).identifier.ToString(), CVT::BString("0.0"));
    }
    EXPECT_EQ(Text(4, "42"), "/home/user");
    EXPECT_EQ(Text(5, "42"), "-a -b ");
    EXPECT_EQ(PerfNumber(1, "42"), 123);
    EXPECT_EQ(PerfNumber(2, "42"), 77);
    EXPECT_EQ(Number(6, "1"), 2) << "process 1 is the operating system";
    EXPECT_EQ(Number(6, "42"), 4) << "any other is an application";
}

TEST_F(RunTable, DerivesTheStatusFromTheStateLetter) {
    const struct {
        char state;
        int status;
    } cases[] = {{'R', 1}, {'S', 2}, {'D', 2}, {'I', 2}, {'T', 3}, {'t', 2}, {'Z', 4}, {'X', 2}};
    for (int i = 0; i < 8; ++i) {
        const std::string pid = std::to_string(100 + i);
        Process(pid, Stat(pid, "p", cases[i].state));
    }
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(Number(7, std::to_string(100 + i)), cases[i].status) << cases[i].state;
    }
}

TEST_F(RunTable, SkipsEntriesThatAreNotProcesses) {
    Process("self", Stat("9", "self", 'S'));
    Process(".5", Stat("5", "dot", 'S'));
    ::mkdir("/proc/77", 0755);
    Process("8", Stat("8", "eight", 'S'));
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{8}));
}

TEST_F(RunTable, UsesTheNumberAtTheStartOfADirectoryNameAndKeepsTheFirstRow) {
    Process("12", Stat("12", "twelve", 'S'));
    ::mkdir("/proc/12abc", 0755);
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{12}));
    EXPECT_EQ(Text(2, "12"), "twelve");
}

TEST_F(RunTable, KeepsTheDefaultsWhereAProcessHasNoData) {
    Process("5", Stat("5", "kthread", 'S', "0 0"), "", "-", "-");
    EXPECT_EQ(Text(4, "5"), "");
    EXPECT_EQ(Text(5, "5"), "");
    EXPECT_EQ(PerfNumber(1, "5"), 0);
    EXPECT_EQ(PerfNumber(2, "5"), 0);
    EXPECT_EQ(Number(7, "5"), 2);
}

TEST_F(RunTable, CreatesAnEmptyRowForAStatFileThatOpensButCannotBeRead) {
    Process("4", Stat("4", "before", 'R', "500 5"), "before\0x\0"s, "99\n", "/before");
    ::mkdir("/proc/5", 0755);
    ::mkdir("/proc/5/stat", 0755);  // a directory opens, and cannot be read
    Process("6", "", "-", "-", "-");
    for (const char* const pid : {"5", "6"}) {
        EXPECT_EQ(Text(2, pid), "") << pid;
        EXPECT_EQ(PerfNumber(1, pid), 0) << pid;
        EXPECT_EQ(Number(7, pid), 2) << pid;
        EXPECT_EQ(Text(5, pid), "") << pid;
        EXPECT_EQ(PerfNumber(2, pid), 0) << pid;
    }
}

TEST_F(RunTable, KeepsNothingOfALongerLineInAShorterOne) {
    Process("7", Stat("7", "long", 'S'), "long\0"s + std::string(400, 'a') + "\0tail\0"s, "12345678\n", "/a/long/path");
    Process("8", Stat("8", "s", 'S'), "s\0"s, "1\n", "/");
    EXPECT_EQ(Text(5, "8"), "");
    EXPECT_EQ(Text(4, "8"), "/");
    EXPECT_EQ(PerfNumber(2, "8"), 1);
}

TEST_F(RunTable, ReadsAHostileNameUpToTheEndOfItsLine) {
    Process("2", Stat("2", "Web Content", 'S'));
    Process("3", Stat("3", "a)b(c", 'S'));
    Process("4", "4 (new\nline) R" + std::string(kStat) + "1 2\n");
    Process("5", std::string("5 (nu") + '\0' + "l) R" + kStat + "1 2\n");
    Process("6", Stat("6", "\xFF\xFE", 'S'));
    EXPECT_EQ(Text(2, "2"), "We");
    EXPECT_EQ(PerfNumber(1, "2"), 0);
    EXPECT_EQ(Text(2, "3"), "a)b(c");
    EXPECT_EQ(Text(2, "4"), "ne");
    EXPECT_EQ(Number(7, "4"), 2);
    EXPECT_EQ(Text(2, "5"), "n");
    EXPECT_EQ(Text(2, "6"), "\xFF\xFE");
}

TEST_F(RunTable, ReadsCommandLinesOfAnyLength) {
    Process("2", Stat("2", "p", 'S'), "");
    Process("3", Stat("3", "p", 'S'), "p\0"s + std::string(509, 'a'));
    Process("4", Stat("4", "p", 'S'), "p\0"s + std::string(510, 'a'));
    Process("5", Stat("5", "p", 'S'), "p\0"s + std::string(99'998, 'a'));
    Process("6", Stat("6", "p", 'S'), std::string(506, 'x') + "\0ab cd\0"s);
    Process("7", Stat("7", "daemon", 'S'), "daemon: worker"s);
    EXPECT_EQ(Text(5, "2"), "");
    EXPECT_EQ(Text(5, "3"), "...");
    EXPECT_EQ(Text(5, "4"), "...");
    EXPECT_EQ(Text(5, "5"), "...");
    EXPECT_EQ(Text(5, "6"), "ab c ") << "511 octets are read, and the last argument is cut there";
    EXPECT_EQ(Text(5, "7"), " worker");
}

TEST_F(RunTable, CutsADirectoryThatIsLongerThanItsBuffer) {
    const std::string longest = "/" + std::string(510, 'd');
    Process("2", Stat("2", "p", 'S'), "-", "-", longest);
    Process("3", Stat("3", "p", 'S'), "-", "-", longest + "e");
    Process("4", Stat("4", "p", 'S'), "-", "-", longest + std::string(1000, 'f'));
    EXPECT_EQ(Text(4, "2"), longest);
    EXPECT_EQ(Text(4, "3"), longest);
    EXPECT_EQ(Text(4, "4"), longest);
}

TEST_F(RunTable, WrapsFiguresThatDoNotFit) {
    Process("2", Stat("2", "p", 'S', "2147483647 1"), "-", "4294967295\n");
    Process("3", Stat("3", "p", 'S', "9223372036854775807 1"), "-", "99999999999999999999\n");
    EXPECT_EQ(PerfNumber(1, "2"), -2147483647 - 1);
    EXPECT_EQ(PerfNumber(2, "2"), -1);
    EXPECT_EQ(PerfNumber(1, "3"), 0) << "the largest number cut to 32 bits is -1";
    EXPECT_EQ(PerfNumber(2, "3"), -1);
}

TEST_F(RunTable, ScansOncePerRequestAndAtMostEveryFifteenSeconds) {
    Process("2", Stat("2", "p", 'S'));
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2}));
    EXPECT_EQ(s_scans, 1) << "a whole walk is one request";
    Process("3", Stat("3", "p", 'S'));
    s_now += 14;
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2}));
    EXPECT_EQ(s_scans, 1);
    s_now += 1;
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2, 3}));
    EXPECT_EQ(s_scans, 2);
}

TEST_F(RunTable, SaysOfEitherTableThatACallTakesLongAsLongAsItWouldScan) {
    Process("2", Stat("2", "p", 'S'));
    const auto takesLong = [&](const CVT::BRequest& request) -> bool {
        std::vector<bool> answers;
        for (CVT::BMibImpl* const group : m_engine.Groups()) {
            const std::string root(group->Oid().ToString().View());
            for (const char* const table : {kEntry, kPerfEntry}) {
                if (root + "." == table) {
                    const CVT::BObjectIdentifier name{CVT::BString((root + ".1.2").c_str())};
                    answers.push_back(group->MayTakeLong(CVT::EReading::Get, request.Id(), name));
                    answers.push_back(group->MayTakeLong(CVT::EReading::NextInstance, request.Id(), name));
                }
            }
        }
        EXPECT_EQ(answers.size(), 4U);
        EXPECT_EQ(std::adjacent_find(answers.begin(), answers.end(), std::not_equal_to()), answers.end());
        return answers.at(0);
    };
    const CVT::BRequest first;
    EXPECT_TRUE(takesLong(first));
    EXPECT_EQ(s_scans, 0) << "to ask is not to do";
    EXPECT_EQ(PidsSeenBy(first), (std::vector<unsigned int>{2}));
    EXPECT_FALSE(takesLong(first));
    const CVT::BRequest second;
    EXPECT_FALSE(takesLong(second)) << "the snapshot is new";
    s_now += 15;
    EXPECT_TRUE(takesLong(second));
    EXPECT_FALSE(takesLong(first)) << "it keeps the snapshot that it has seen";
    EXPECT_EQ(PidsSeenBy(second, kPerfEntry), (std::vector<unsigned int>{2}));
    EXPECT_FALSE(takesLong(second));
    EXPECT_FALSE(takesLong(first));
    s_now -= 100;
    const CVT::BRequest third;
    EXPECT_TRUE(takesLong(third)) << "the clock was set back";
}

TEST_F(RunTable, DoesNotScanInACallAnnouncedAsFast) {
    Process("2", Stat("2", "p", 'S'));
    Pids();
    Process("3", Stat("3", "p", 'S'));
    const auto takesLong = [&](const CVT::BRequest& request) {
        for (CVT::BMibImpl* const group : m_engine.Groups()) {
            const std::string root(group->Oid().ToString().View());
            if (root + "." == kEntry) {
                return group->MayTakeLong(CVT::EReading::NextInstance, request.Id(), group->Oid());
            }
        }
        ADD_FAILURE() << "no such group";
        return false;
    };
    s_now += 14;
    const CVT::BRequest first;
    const CVT::BRequest second;
    EXPECT_FALSE(takesLong(second));
    EXPECT_FALSE(takesLong(first));
    s_now += 1;  // between the question and the call
    EXPECT_EQ(PidsSeenBy(first), (std::vector<unsigned int>{2}));
    EXPECT_EQ(s_scans, 1);
    EXPECT_EQ(PidsSeenBy(first), (std::vector<unsigned int>{2}));
    EXPECT_EQ(s_scans, 1);
    EXPECT_TRUE(takesLong(second)) << "the earlier answer no longer counts";
    EXPECT_EQ(PidsSeenBy(second), (std::vector<unsigned int>{2, 3}));
    EXPECT_EQ(s_scans, 2);
}

TEST_F(RunTable, ScansAgainWhenThereWasNoMemoryForAllProcesses) {
    Process("2", Stat("2", "p", 'S'));
    Process("3", Stat("3", "p", 'S'));
    s_hasNoMemory = true;
    CVT::BVarBind cell;
    cell.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.4.2.1.1.3");
    EXPECT_EQ(m_engine.Get(4000, cell), CVT::genErr);
    EXPECT_FALSE(s_hasNoMemory);
    EXPECT_EQ(m_engine.Get(4000, cell), 0);
    EXPECT_EQ(cell.type, CVT::kInteger);
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2, 3}));
    EXPECT_EQ(s_scans, 2);
}

TEST_F(RunTable, RemembersAThrottledRequestAndNeverScansForItLater) {
    Process("2", Stat("2", "p", 'S'));
    Pids();
    Process("3", Stat("3", "p", 'S'));
    CVT::BVarBind cell;
    cell.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.4.2.1.1.3");
    s_now += 1;
    EXPECT_EQ(m_engine.Get(4000, cell), 0);
    EXPECT_EQ(cell.type, CVT::kNoSuchInstance);
    s_now += 100;
    EXPECT_EQ(m_engine.Get(4000, cell), 0);
    EXPECT_EQ(cell.type, CVT::kNoSuchInstance);
    EXPECT_EQ(s_scans, 1);
    EXPECT_EQ(m_engine.Get(4001, cell), 0);
    EXPECT_EQ(cell.type, CVT::kInteger);
    EXPECT_EQ(s_scans, 2);
}

TEST_F(RunTable, ScansForTheFirstRequestWhateverTheTime) {
    for (const std::time_t now :
         {std::time_t{0}, std::time_t{5}, std::time_t{2'147'483'640}, std::time_t{5'000'000'000}}) {
        s_now = now;
        m_module->Close();
        m_engine = CVT::BMibEngine();
        m_module->Init();
        ASSERT_TRUE(m_module->WaitUntilActive());
        ASSERT_TRUE(m_engine.Add(m_module->Group()));
        s_scans = 0;
        Pids();
        EXPECT_EQ(s_scans, 1) << now;
    }
}

TEST_F(RunTable, ScansAtOnceWhenTheClockWasSetBackAndThenEveryFifteenSecondsAgain) {
    Process("2", Stat("2", "p", 'S'));
    Pids();
    Process("3", Stat("3", "p", 'S'));
    s_now -= 3600;
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2, 3})) << "not an hour later";
    EXPECT_EQ(s_scans, 2);
    s_now += 14;
    Pids();
    EXPECT_EQ(s_scans, 2);
    s_now += 1;
    Pids();
    EXPECT_EQ(s_scans, 3);
}

TEST_F(RunTable, ARequestKeepsTheFirstSnapshotItSawAndOthersGetNewOnes) {
    Process("2", Stat("2", "p", 'S'));
    const CVT::BRequest first;
    EXPECT_EQ(PidsSeenBy(first), (std::vector<unsigned int>{2}));
    ::rename("/proc/2", "/proc/3");
    s_now += 60;
    const CVT::BRequest second;
    EXPECT_EQ(PidsSeenBy(second, kPerfEntry), (std::vector<unsigned int>{3})) << "on either table";
    s_now += 600;
    for (int round = 0; round < 2; ++round) {
        for (const char* const table : {kEntry, kPerfEntry}) {
            EXPECT_EQ(PidsSeenBy(first, table), (std::vector<unsigned int>{2})) << "the request that waited goes on";
            EXPECT_EQ(PidsSeenBy(second, table), (std::vector<unsigned int>{3}));
        }
    }
    EXPECT_EQ(s_scans, 2) << "no request takes a second snapshot";
    Process("4", Stat("4", "p", 'S'));
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{3, 4}));
    EXPECT_EQ(s_scans, 3);
}

TEST_F(RunTable, ARequestHeldForMinutesHidesNoNewProcessesFromOthersAndCostsNoMoreMemory) {
    for (int pid = 1000; pid < 1200; ++pid) {
        Process(std::to_string(pid), Stat(std::to_string(pid), "p", 'S'), "p\0"s + std::string(100, 'a'));
    }
    const CVT::BRequest held;
    const std::vector<unsigned int> before = PidsSeenBy(held);
    std::size_t after10 = 0;
    std::string last = "2000";
    Process(last, Stat(last, "p", 'S'));
    for (int scan = 1; scan <= 100; ++scan) {
        const std::string next = std::to_string(2000 + scan);
        ::rename(("/proc/" + last).c_str(), ("/proc/" + next).c_str());
        last = next;
        s_now += 15;
        EXPECT_EQ(Pids().back(), 2000U + static_cast<unsigned int>(scan));
        if (scan == 10) {
            after10 = ::mallinfo2().uordblks;
        }
    }
    EXPECT_LT(::mallinfo2().uordblks, after10 + 20'000) << "less than half a snapshot";
    EXPECT_EQ(PidsSeenBy(held), before);
    EXPECT_EQ(PidsSeenBy(held, kPerfEntry), before);
}

TEST_F(RunTable, AnOldSnapshotIsDeletedAfterItsLastReader) {
    for (int pid = 1000; pid < 1200; ++pid) {
        Process(std::to_string(pid), Stat(std::to_string(pid), "p", 'S'), "p\0"s + std::string(100, 'a'));
    }
    Pids();
    const std::size_t one = ::mallinfo2().uordblks;
    auto first = std::make_unique<CVT::BRequest>();
    auto second = std::make_unique<CVT::BRequest>();
    PidsSeenBy(*first);
    PidsSeenBy(*second);
    s_now += 15;
    Pids();
    const std::size_t two = ::mallinfo2().uordblks;
    first.reset();
    Pids();
    EXPECT_EQ(PidsSeenBy(*second).size(), 200U) << "a request still sees it";
    second.reset();
    Pids();
    if (one != 0) {  // a sanitizer's allocator does not count
        EXPECT_GT(two, one + 20'000);
        EXPECT_LT(::mallinfo2().uordblks, one + 20'000);
    }
}

TEST_F(RunTable, TheOldestOfTooManySnapshotsIsDroppedAndItsReadersGetAnError) {
    Process("2", Stat("2", "p", 'S'));
    std::vector<std::unique_ptr<CVT::BRequest>> held;
    const auto hold = [&] {
        held.push_back(std::make_unique<CVT::BRequest>());
        PidsSeenBy(*held.back());
        s_now += 15;
    };
    ReceivedWarnings warnings;
    for (int snapshot = 0; snapshot < 5; ++snapshot) {
        hold();
    }
    EXPECT_EQ(PidsSeenBy(*held[0]), (std::vector<unsigned int>{2}));
    EXPECT_TRUE(warnings.Take().empty()) << "five are held";
    hold();
    ::rename("/proc/2", "/proc/3");
    hold();
    const std::vector<std::string> said = warnings.Take();
    ASSERT_EQ(said.size(), 1U) << "one warning for two dropped snapshots";
    EXPECT_NE(said[0].find("genErr"), std::string::npos) << said[0];
    for (const int lost : {0, 1}) {
        for (const char* const instance : {"1.3.6.1.2.1.25.4.2.1.2.2", "1.3.6.1.2.1.25.5.1.1.2.2"}) {
            CVT::BVarBind cell;
            cell.name.AssignFromDottedDecimalStr(instance);
            EXPECT_EQ(m_engine.Get(held[static_cast<std::size_t>(lost)]->Id(), cell), CVT::genErr) << instance;
        }
        for (const char* const column :
             {"1.3.6.1.2.1.25.4.2.1.2", "1.3.6.1.2.1.25.5.1.1.2", "1.3.6.1.2.1.25.4.2.1.7.9"}) {
            CVT::BVarBind at;
            at.name.AssignFromDottedDecimalStr(column);
            EXPECT_EQ(m_engine.GetNext(held[static_cast<std::size_t>(lost)]->Id(), at), CVT::genErr) << column;
        }
    }
    EXPECT_EQ(PidsSeenBy(*held[2]), (std::vector<unsigned int>{2})) << "the others keep theirs";
    EXPECT_EQ(PidsSeenBy(*held[6]), (std::vector<unsigned int>{3}));
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{3})) << "and a new request is served";
}

TEST_F(RunTable, ASetKeepsTheSnapshotOfItsCheckUntilItsReleaseAndOthersSeeWhatItWrote) {
    Process("42", Stat("42", "victim", 'S'));
    Pids();
    const CVT::BRequest request;
    CVT::BVarBind status;
    status.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.4.2.1.7.42");
    status.type = CVT::kInteger;
    status.integer = 4;
    CVT::BMibImpl& table = *m_module->Group().HandlerAt(11);
    void* undo = nullptr;
    EXPECT_EQ(table.Set(request.Id(), CVT::ESnmpSetOpCode::CheckAndSave, &undo, status), 0);
    s_now += 15;
    EXPECT_EQ(Number(7, "42"), 2) << "another snapshot, taken meanwhile";
    EXPECT_EQ(table.Set(request.Id(), CVT::ESnmpSetOpCode::Commit, &undo, status), 0);
    EXPECT_EQ(Number(7, "42"), 4);
    EXPECT_EQ(table.Set(request.Id(), CVT::ESnmpSetOpCode::Undo, &undo, status), 0);
    EXPECT_EQ(Number(7, "42"), 2);
    WriteFile("/proc/42/stat", StatSince("42", 6));
    s_now += 15;
    EXPECT_EQ(Number(7, "42"), 2) << "another process has the number now, and the table knows it";
    s_commands.clear();
    EXPECT_EQ(table.Set(request.Id(), CVT::ESnmpSetOpCode::Commit, &undo, status), 14) << "it was not checked";
    EXPECT_TRUE(s_commands.empty());
    EXPECT_EQ(table.Set(request.Id(), CVT::ESnmpSetOpCode::Release, &undo, status), 0);
    EXPECT_EQ(undo, nullptr);
}

TEST_F(RunTable, DoesNotKillAProcessThatReusesTheNumber) {
    Process("42", Stat("42", "victim", 'S'));
    Pids();
    const std::string status = std::string(kEntry) + "7.42";
    for (const char* const name : {"victim", "another", "a) S 1 2 2 0 -1 4194560", "new\nline"}) {
        WriteFile("/proc/42/stat", StatSince("42", 500, name));
        EXPECT_EQ(SetInteger(m_engine, status, 4), 14) << name;
    }
    EXPECT_TRUE(s_commands.empty());
    EXPECT_EQ(Number(7, "42"), 2) << "nothing was written";
    WriteFile("/proc/42/stat", StatSince("42", 5, "renamed"));
    EXPECT_EQ(SetInteger(m_engine, status, 4), 0) << "the same process under another name";
    EXPECT_EQ(s_commands, (std::vector<std::string>{"kill -9 42"}));
}

TEST_F(RunTable, DistinguishesProcessesWhateverTheirNames) {
    Process("42", StatSince("42", 5, "two\nlines) R"));
    Pids();
    const std::string status = std::string(kEntry) + "7.42";
    WriteFile("/proc/42/stat", StatSince("42", 500, "p"));
    EXPECT_EQ(SetInteger(m_engine, status, 4), 14);
    WriteFile("/proc/42/stat", StatSince("42", 5, "p"));
    EXPECT_EQ(SetInteger(m_engine, status, 4), 0);
}

TEST_F(RunTable, KillsWhereAStartTimeCannotBeRead) {
    Process("42", Stat("42", "victim", 'S'));
    Process("43", "43 (victim) S 1 2\n");
    Pids();
    const std::string status = std::string(kEntry) + "7.";
    EXPECT_EQ(SetInteger(m_engine, status + "43", 4), 0) << "not in the snapshot";
    WriteFile("/proc/42/stat", "42 (victim) S 1 2\n");
    EXPECT_EQ(SetInteger(m_engine, status + "42", 4), 0) << "nor now";
    ::unlink("/proc/42/stat");
    EXPECT_EQ(SetInteger(m_engine, status + "42", 4), 0) << "the process has ended";
    EXPECT_EQ(s_commands, (std::vector<std::string>{"kill -9 43", "kill -9 42", "kill -9 42"}));
}

TEST_F(RunTable, ReportsThatProcCannotBeOpenedAndKeepsTheOldRows) {
    Process("2", Stat("2", "p", 'S'));
    Pids();
    s_opendirError = EMFILE;
    s_now += 15;
    testing::internal::CaptureStdout();
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "hrSWRunTable opendir() error: 24\n");
    s_opendirError = 0;
    Process("3", Stat("3", "p", 'S'));
    s_now += 14;
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2})) << "the next attempt comes after fifteen seconds";
    s_now += 1;
    EXPECT_EQ(Pids(), (std::vector<unsigned int>{2, 3}));
}

TEST_F(RunTable, ThePerformanceTableHasTheSameRowsInTheSameOrderAndCausesTheScan) {
    for (const char* const pid : {"30", "4", "200"}) {
        Process(pid, Stat(pid, "p", 'S'));
    }
    EXPECT_EQ(Pids("1.3.6.1.2.1.25.5.1.1.1"), (std::vector<unsigned int>{4, 30, 200}));
    EXPECT_EQ(s_scans, 1);
    EXPECT_EQ(Pids("1.3.6.1.2.1.25.5.1.1.2"), Pids());
    EXPECT_EQ(s_scans, 1);
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.5.1.1.1.5").type, CVT::kNoSuchInstance);
}

TEST_F(RunTable, KillsAProcessOnlyByASetOfInvalid) {
    Process("1", Stat("1", "init", 'S'));
    Process("42", Stat("42", "victim", 'S'));
    Pids();
    for (const int value : {1, 2, 3, 0, 5, -4}) {
        EXPECT_EQ(SetInteger(m_engine, std::string(kEntry) + "7.42", value), 10) << value;
    }
    for (const char* const absent : {"7.43", "7", "7.42.0", "7.4294967295"}) {
        EXPECT_EQ(SetInteger(m_engine, kEntry + std::string(absent), 4), 18) << absent;
    }
    EXPECT_EQ(SetInteger(m_engine, std::string(kEntry) + "6.42", 4), 17);
    EXPECT_TRUE(s_commands.empty());
    EXPECT_EQ(Number(7, "42"), 2);
    EXPECT_EQ(SetInteger(m_engine, std::string(kEntry) + "7.42", 4), 0);
    EXPECT_EQ(s_commands, (std::vector<std::string>{"kill -9 42"}));
    EXPECT_EQ(Number(7, "42"), 4) << "the row stays, as invalid, until the next scan";
    EXPECT_EQ(Number(7, "1"), 2);
}

TEST_F(RunTable, ASetNeverScans) {
    Process("42", Stat("42", "victim", 'S'));
    EXPECT_EQ(SetInteger(m_engine, std::string(kEntry) + "7.42", 4), 18) << "no request has read the table yet";
    EXPECT_EQ(s_scans, 0);
    EXPECT_TRUE(s_commands.empty());
}

TEST_F(RunTable, NoPhaseOfASetScansEvenWhenAScanIsDue) {
    Process("42", Stat("42", "victim", 'S'));
    Pids();
    s_now += 100;
    s_scans = 0;
    EXPECT_EQ(SetInteger(m_engine, std::string(kEntry) + "7.42", 4), 0);
    EXPECT_EQ(SetInteger(m_engine, std::string(kEntry) + "7.42", 3), 10);
    EXPECT_EQ(s_scans, 0);
}

TEST_F(RunTable, AnUndoRestoresTheStatusAndAnUnknownPhaseIsAnError) {
    Process("42", Stat("42", "victim", 'S'));
    Pids();
    CVT::BVarBind status;
    status.name.AssignFromDottedDecimalStr("1.3.6.1.2.1.25.4.2.1.7.42");
    status.type = CVT::kInteger;
    status.integer = 4;
    CVT::BMibImpl& table = *m_module->Group().HandlerAt(11);
    void* undo = nullptr;
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::CheckAndSave, &undo, status), 0);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Commit, &undo, status), 0);
    EXPECT_EQ(Number(7, "42"), 4);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Undo, &undo, status), 0);
    EXPECT_EQ(Number(7, "42"), 2);
    EXPECT_EQ(s_commands.size(), 1U) << "a kill is not undone";
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Release, &undo, status), 0);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode{99}, &undo, status), 5);
    ::rename("/proc/42", "/proc/43");
    s_now += 15;
    Pids();
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Commit, &undo, status), 14);
    EXPECT_EQ(table.Set(1, CVT::ESnmpSetOpCode::Undo, &undo, status), 15);
}

TEST_F(RunTable, TheScalarsOfTheSoftwareGroupsAreConstant) {
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.4.1.0").integer, 1);
    EXPECT_EQ(s_scans, 0) << "the index of the operating system needs no scan";
    const auto installed = Walk(m_engine, "1.3.6.1.2.1.25.6");
    ASSERT_EQ(installed.size(), 2U);
    for (const CVT::BVarBind& varBind : installed) {
        EXPECT_EQ(varBind.type, CVT::kTimeTicks);
        EXPECT_EQ(varBind.number, 0U);
    }
}

}  // namespace
