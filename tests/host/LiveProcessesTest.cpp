// The process tables over this machine's real /proc: processes are really forked and really killed. Only the clock is
// this program's own, so that no test has to wait for a scan.

#include <dirent.h>
#include <gtest/gtest.h>
#include <linux/sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CVT/BMibEngine.h"
#include "CVT/TTimer.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/Walk.h"

namespace {

std::atomic<std::time_t> s_now = 1'000'000;

}  // namespace

extern "C" std::time_t time(std::time_t* out) noexcept {
    if (out != nullptr) {
        *out = s_now;
    }
    return s_now;
}

namespace {

/// Like fork(2); the child gets the number `pid` unless that is 0. Returns less than 0 where the system does not let us
/// choose.
pid_t ForkAs(pid_t pid) {
    if (pid == 0) {
        return ::fork();
    }
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<std::uintptr_t>(&pid);
    arguments.set_tid_size = 1;
    return static_cast<pid_t>(::syscall(SYS_clone3, &arguments, sizeof arguments));
}

/// A process that does nothing, under a name chosen by the test.
class Child {
public:
    explicit Child(const char* name, pid_t pid = 0) {
        int ready[2] = {};
        if (::pipe(ready) != 0) {
            return;
        }
        m_pid = ForkAs(pid);
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::prctl(PR_SET_NAME, name);
            ::close(ready[0]);
            ::close(ready[1]);
            for (;;) {
                ::pause();
            }
        }
        char ignored = 0;
        ::close(ready[1]);
        while (::read(ready[0], &ignored, 1) > 0) {
        }
        ::close(ready[0]);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    pid_t Pid() const { return m_pid; }
    /// The signal that ended the process; 0 while it lives.
    int EndedBy() {
        int status = 0;
        if (m_pid > 0 && ::waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return WIFSIGNALED(status) ? WTERMSIG(status) : -1;
        }
        return 0;
    }

private:
    pid_t m_pid = -1;
};

std::set<unsigned int> PidsInProc() {
    std::set<unsigned int> pids;
    DIR* const proc = ::opendir("/proc");
    while (const dirent* const entry = ::readdir(proc)) {
        if (entry->d_name[0] >= '1' && entry->d_name[0] <= '9') {
            pids.insert(static_cast<unsigned int>(std::atol(entry->d_name)));
        }
    }
    ::closedir(proc);
    return pids;
}

class LiveProcesses : public testing::Test {
protected:
    void SetUp() override {
        m_module = std::make_unique<LoadedModule>();
        ASSERT_TRUE(m_module->IsLoaded());
        m_module->Init();
        ASSERT_TRUE(m_module->WaitUntilActive());
        ASSERT_TRUE(m_engine.Add(m_module->Group()));
    }
    void TearDown() override {
        if (m_module) {
            m_module->Close();
            m_module.reset();
        }
    }

    static void LetItScan() { s_now += 15; }

    std::set<unsigned int> Pids(const char* column) {
        std::set<unsigned int> pids;
        for (const CVT::BVarBind& varBind : Walk(m_engine, column)) {
            pids.insert(varBind.name[varBind.name.NumArcs() - 1]);
        }
        return pids;
    }

    CVT::BMibEngine m_engine;

private:
    const WorkingFolder m_workingFolder;
    std::unique_ptr<LoadedModule> m_module;
};

TEST_F(LiveProcesses, AWalkShowsTheProcessesThatProcShows) {
    const Child child("walked child");
    const std::set<unsigned int> before = PidsInProc();
    const std::set<unsigned int> walked = Pids("1.3.6.1.2.1.25.4.2.1.1");
    const std::set<unsigned int> after = PidsInProc();
    for (const unsigned int pid : before) {
        EXPECT_TRUE(walked.contains(pid) || !after.contains(pid)) << pid;
    }
    for (const unsigned int pid : walked) {
        EXPECT_TRUE(before.contains(pid) || after.contains(pid)) << pid;
    }
    EXPECT_EQ(Pids("1.3.6.1.2.1.25.5.1.1.1"), walked);
    const std::string pid = std::to_string(child.Pid());
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.4.2.1.2." + pid).octets.View(), "walke") << "cut at the blank of its name";
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.4.2.1.7." + pid).integer, 2);
    EXPECT_NE(Get(m_engine, "1.3.6.1.2.1.25.5.1.1.2." + pid).integer, 0) << "negative under a sanitizer";
}

TEST_F(LiveProcesses, ASetOfInvalidReallyKillsTheProcessAndNoOther) {
    Child victim("victim");
    Child neighbour("neighbour");
    Pids("1.3.6.1.2.1.25.4.2.1.1");
    const std::string status = "1.3.6.1.2.1.25.4.2.1.7.";
    for (const int refused : {1, 2, 3, 5}) {
        EXPECT_EQ(SetInteger(m_engine, status + std::to_string(victim.Pid()), refused), 10);
    }
    EXPECT_EQ(SetInteger(m_engine, status + "4194304", 4), 18);
    EXPECT_EQ(victim.EndedBy(), 0);
    EXPECT_EQ(SetInteger(m_engine, status + std::to_string(victim.Pid()), 4), 0);
    int signal = 0;
    for (int patience = 0; patience < 5000 && signal == 0; ++patience) {
        signal = victim.EndedBy();
        CVT::TTimer().Sleep(1);
    }
    EXPECT_EQ(signal, SIGKILL);
    EXPECT_EQ(neighbour.EndedBy(), 0);
}

TEST_F(LiveProcesses, ASetDoesNotKillAProcessThatReusesTheNumber) {
    pid_t pid = 0;
    {
        const Child victim("victim");
        pid = victim.Pid();
        Pids("1.3.6.1.2.1.25.4.2.1.1");
    }
    CVT::TTimer().Sleep(50);  // the kernel counts starts in hundredths of a second
    Child successor("successor", pid);
    if (successor.Pid() < 0) {
        GTEST_SKIP() << "this machine does not let us choose a process id";
    }
    ASSERT_EQ(successor.Pid(), pid);
    const std::string status = "1.3.6.1.2.1.25.4.2.1.7." + std::to_string(pid);
    EXPECT_EQ(SetInteger(m_engine, status, 4), CVT::commitFailed);
    CVT::TTimer().Sleep(50);
    EXPECT_EQ(successor.EndedBy(), 0);
    EXPECT_NE(Get(m_engine, status).integer, 4) << "nothing was written";
    LetItScan();
    EXPECT_EQ(Get(m_engine, "1.3.6.1.2.1.25.4.2.1.2." + std::to_string(pid)).octets.View(), "successor");
    EXPECT_EQ(SetInteger(m_engine, status, 4), 0) << "now the table shows it";
    int signal = 0;
    for (int patience = 0; patience < 5000 && signal == 0; ++patience) {
        signal = successor.EndedBy();
        CVT::TTimer().Sleep(1);
    }
    EXPECT_EQ(signal, SIGKILL);
}

TEST_F(LiveProcesses, TheOldRowsStayWhenNoDescriptorIsFree) {
    const std::set<unsigned int> walked = Pids("1.3.6.1.2.1.25.4.2.1.1");
    ASSERT_FALSE(walked.empty());
    testing::internal::CaptureStdout();
    rlimit old{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
    const rlimit none{0, old.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    LetItScan();
    const std::set<unsigned int> again = Pids("1.3.6.1.2.1.25.4.2.1.1");
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "hrSWRunTable opendir() error: 24\n");
    EXPECT_EQ(again, walked);
}

TEST_F(LiveProcesses, TheTablesAgreeWhileProcessesStartAndEndConstantly) {
    std::atomic<bool> stop = false;
    std::thread storm([&] {
        std::vector<pid_t> children;
        while (!stop) {
            const pid_t pid = ::fork();
            if (pid == 0) {
                ::_exit(0);
            }
            children.push_back(pid);
            if (children.size() > 20) {
                for (const pid_t child : children) {
                    ::waitpid(child, nullptr, 0);
                }
                children.clear();
            }
        }
        for (const pid_t child : children) {
            ::waitpid(child, nullptr, 0);
        }
    });
    const auto self = static_cast<unsigned int>(::getpid());
    for (int round = 0; round < 30; ++round) {
        LetItScan();
        const CVT::BRequest request;  // one request over both tables
        std::set<unsigned int> seen[2];
        const char* const columns[] = {"1.3.6.1.2.1.25.4.2.1.2", "1.3.6.1.2.1.25.5.1.1.1"};
        for (int table = 0; table < 2; ++table) {
            const CVT::BObjectIdentifier under{CVT::BString(columns[table])};
            CVT::BVarBind at;
            at.name = under;
            while (m_engine.GetNext(request.Id(), at) == CVT::noError && at.name.StartsWith(under)) {
                seen[table].insert(at.name[at.name.NumArcs() - 1]);
            }
        }
        EXPECT_EQ(seen[0], seen[1]);
        EXPECT_TRUE(seen[0].contains(self));
    }
    stop = true;
    storm.join();
}

}  // namespace
