// hrSystemNumUsers of the shipped library while another program keeps the records of users locked.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include "CVT/BRequest.h"
#include "tests/support/MadeUpHostTest.h"
#include "tests/support/Walk.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

/// A process that keeps the records locked for writing until it is destroyed.
class Writer {
public:
    Writer() {
        std::array<int, 2> ready{};
        EXPECT_EQ(::pipe(ready.data()), 0);
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int file = ::open(_PATH_UTMP, O_RDWR | O_CLOEXEC);
            struct flock lock {};
            lock.l_type = F_WRLCK;
            lock.l_whence = SEEK_SET;
            if (::fcntl(file, F_SETLK, &lock) != 0) {
                ::_exit(1);
            }
            static_cast<void>(::write(ready[1], "x", 1));
            for (;;) {
                ::pause();
            }
        }
        ::close(ready[1]);
        char octet = 0;
        EXPECT_EQ(::read(ready[0], &octet, 1), 1);
        ::close(ready[0]);
    }
    ~Writer() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

private:
    pid_t m_pid = 0;
};

class UserRecords : public MadeUpHostTest {
protected:
    static constexpr const char* kNumUsers = "1.3.6.1.2.1.25.1.5.0";

    void SetUp() override {
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        m_host->Empty(std::filesystem::canonical(std::filesystem::path(_PATH_UTMP).parent_path()));
        std::ofstream file(_PATH_UTMP, std::ios::binary);
        for (const int type : {BOOT_TIME, USER_PROCESS, LOGIN_PROCESS, USER_PROCESS}) {
            utmp entry{};
            entry.ut_type = static_cast<short>(type);
            file.write(reinterpret_cast<const char*>(&entry), sizeof entry);
        }
        file.close();
        StartUp();
    }

    bool TakesLong() {
        const CVT::BRequest request;
        CVT::BObjectIdentifier name;
        name.AssignFromDottedDecimalStr(kNumUsers);
        for (CVT::BMibImpl* const group : m_engine.Groups()) {
            if (name.StartsWith(group->Oid())) {
                return group->MayTakeLong(CVT::EReading::Get, request.Id(), name);
            }
        }
        ADD_FAILURE() << "no such group";
        return false;
    }
};

TEST_F(UserRecords, AreNotWaitedForWhileAnotherProgramKeepsThemLocked) {
    EXPECT_EQ(Get(m_engine, kNumUsers).number, 2U);
    EXPECT_FALSE(TakesLong());
    {
        const Writer writer;
        EXPECT_TRUE(TakesLong());
        const auto begin = Clock::now();
        EXPECT_EQ(Get(m_engine, kNumUsers).number, 0U) << "none could be read";
        EXPECT_LT(Clock::now() - begin, seconds(5)) << "the C library waits for ten seconds";
    }
    EXPECT_EQ(Get(m_engine, kNumUsers).number, 2U);
    EXPECT_FALSE(TakesLong());
}

TEST_F(UserRecords, AreCountedAgainByEachRequest) {
    std::ofstream(_PATH_UTMP, std::ios::trunc).close();
    EXPECT_EQ(Get(m_engine, kNumUsers).number, 0U);
    std::filesystem::remove(_PATH_UTMP);
    EXPECT_EQ(Get(m_engine, kNumUsers).number, 0U);
    EXPECT_FALSE(TakesLong());
}

}  // namespace
