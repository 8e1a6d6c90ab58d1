// hrSystem of the shipped library, on a made-up host. The clock, the shell, the users' database and sysinfo are this
// program's own: no test ever sets this machine's clock.

#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <utmp.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "CVT/TEvent.h"
#include "tests/support/MadeUpHostTest.h"
#include "tests/support/Walk.h"

namespace {

std::time_t s_now = 1710113445;             // 2024-03-10 23:30:45 UTC
std::atomic<unsigned short> s_procs = 321;  // read by the start-up as well
std::vector<short> s_utmp;
std::size_t s_nextUser = 0;
std::vector<std::string> s_clockCommands;

}  // namespace

extern "C" std::time_t time(std::time_t* out) noexcept {
    if (out != nullptr) {
        *out = s_now;
    }
    return s_now;
}

extern "C" int system(const char* command) {
    if (std::strncmp(command, "date", 4) == 0) {
        s_clockCommands.emplace_back(command);
    }
    return 0;  // no other command of the library is needed here either
}

extern "C" int sysinfo(struct sysinfo* info) noexcept {
    std::memset(info, 0, sizeof *info);
    info->procs = s_procs;
    return 0;
}

extern "C" void setutent() noexcept { s_nextUser = 0; }
extern "C" void endutent() noexcept {}
extern "C" struct utmp* getutent() noexcept {
    static struct utmp entry;
    if (s_nextUser >= s_utmp.size()) {
        return nullptr;
    }
    entry.ut_type = s_utmp[s_nextUser++];
    return &entry;
}

namespace {

class SystemGroup : public MadeUpHostTest {
protected:
    static constexpr const char* kDate = "1.3.6.1.2.1.25.1.2.0";

    void SetUp() override {
        ::setenv("TZ", "UTC0", 1);
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        Start();
        ASSERT_TRUE(m_engine.Add(m_module->Group()));
    }

    CVT::BVarBind Column(int column) { return Get(m_engine, "1.3.6.1.2.1.25.1." + std::to_string(column) + ".0"); }

    /// A SET of the date; returns the error-status.
    int SetDate(const std::string& octets) {
        const CVT::BRequest request;
        CVT::BVarBind date;
        date.name.AssignFromDottedDecimalStr(kDate);
        date.type = CVT::kOctetString;
        date.octets.Assign(octets);
        int errorIndex = 0;
        return m_engine.Set(request.Id(), {date}, errorIndex);
    }
};

TEST_F(SystemGroup, ReportsTheUptimeInHundredths) {
    m_host->Cover("/proc/uptime", "12345.67 54321.00\n");
    const CVT::BVarBind uptime = Column(1);
    EXPECT_EQ(uptime.type, CVT::kTimeTicks);
    EXPECT_EQ(uptime.number, 1234567U);
}

TEST_F(SystemGroup, TakesTheDigitsAfterThePointAsHundredths) {
    m_host->Cover("/proc/uptime", "5.05 1.00\n");
    EXPECT_EQ(Column(1).number, 505U);
    m_host->Cover("/proc/uptime", "5.5 1.00\n");
    EXPECT_EQ(Column(1).number, 505U) << "no scaling";
}

TEST_F(SystemGroup, WrapsAnUptimeBeyondThirtyTwoBits) {
    m_host->Cover("/proc/uptime", "42949673.00 1.00\n");
    EXPECT_EQ(Column(1).number, 4U);
}

TEST_F(SystemGroup, RepeatsTheLastUptimeWhenItCannotBeRead) {
    m_host->Cover("/proc/uptime", "nonsense\n");
    EXPECT_EQ(Column(1).number, 0U);
    m_host->Cover("/proc/uptime", "12.34 1.00\n");
    EXPECT_EQ(Column(1).number, 1234U);
    m_host->Cover("/proc/uptime", "99");
    EXPECT_EQ(Column(1).number, 1234U);
}

TEST_F(SystemGroup, ReportsTheDateInElevenOctets) {
    const CVT::BVarBind date = Column(2);
    EXPECT_EQ(date.type, CVT::kOctetString);
    EXPECT_EQ(date.octets.View(), std::string_view("\x07\xE8\x03\x0A\x17\x1E\x2D\x00+\x00\x00", 11));
}

TEST_F(SystemGroup, SetsTheClockInUtcByAValueWithAZoneAndInLocalTimeByAShortOne) {
    EXPECT_EQ(SetDate(std::string("\x07\xE8\x03\x0A\x17\x1E\x00\x00-\x02\x00", 11)), 0);
    EXPECT_EQ(SetDate(std::string("\x07\xE8\x03\x0A\x17\x1E\x00\x00", 8)), 0);
    EXPECT_EQ(s_clockCommands,
              (std::vector<std::string>{"date -u -s 031001302024 > /dev/nul", "date -s 031023302024 > /dev/nul"}));
}

TEST_F(SystemGroup, RejectsADateOfTheWrongLengthWithWrongValue) {
    for (const std::size_t length : {0U, 1U, 7U, 12U, 100U}) {
        EXPECT_EQ(SetDate(std::string(length, '\1')), 10) << length;
    }
    for (const std::size_t length : {9U, 10U}) {
        EXPECT_EQ(SetDate(std::string(length, '\1')), 0) << length;
    }
    EXPECT_EQ(s_clockCommands.size(), 2U);
}

TEST_F(SystemGroup, AnUndoRestoresTheValueButNotTheClock) {
    Column(2);
    CVT::BMibImpl& group = *m_module->Group().HandlerAt(0);
    CVT::BVarBind date;
    date.name.AssignFromDottedDecimalStr(kDate);
    date.type = CVT::kOctetString;
    date.octets.Assign(std::string_view("\x07\xE8\x01\x01\x00\x00\x00\x00", 8));
    void* undo = nullptr;
    EXPECT_EQ(group.Set(1, CVT::ESnmpSetOpCode::CheckAndSave, &undo, date), 0);
    EXPECT_TRUE(s_clockCommands.empty());
    EXPECT_EQ(group.Set(1, CVT::ESnmpSetOpCode::Commit, &undo, date), 0);
    EXPECT_EQ(group.Set(1, CVT::ESnmpSetOpCode::Undo, &undo, date), 0);
    EXPECT_EQ(group.Set(1, CVT::ESnmpSetOpCode::Release, &undo, date), 0);
    void* served = nullptr;  // a check saves the value that was last served
    EXPECT_EQ(group.Set(2, CVT::ESnmpSetOpCode::CheckAndSave, &served, date), 0);
    EXPECT_EQ(static_cast<const CVT::BOctetString*>(served)->View(),
              std::string_view("\x07\xE8\x03\x0A\x17\x1E\x2D\x00+\x00\x00", 11));
    EXPECT_EQ(group.Set(2, CVT::ESnmpSetOpCode::Release, &served, date), 0);
    EXPECT_EQ(group.Set(1, CVT::ESnmpSetOpCode{7}, &undo, date), 5);
    EXPECT_EQ(s_clockCommands, (std::vector<std::string>{"date -s 010100002024 > /dev/nul"}));
}

TEST_F(SystemGroup, HasNoInitialLoadDeviceWithoutADisk) {
    ASSERT_TRUE(m_module->WaitUntilActive());
    const CVT::BVarBind device = Column(3);
    EXPECT_EQ(device.type, CVT::kInteger);
    EXPECT_EQ(device.integer, -1) << "the mount command prints nothing here";
}

TEST_F(SystemGroup, DoesNotWaitForTheDeviceTableWhileItIsInUse) {
    ASSERT_TRUE(m_module->WaitUntilActive());
    std::thread holder;
    CVT::TEvent held(true);
    CVT::TEvent letGo(true);
    holder = std::thread([&] {
        const CVT::TMutex::Guard guard(m_module->Group().HandlerAt(3)->RequestLock());
        held.Set();
        letGo.Wait(CVT::kWaitForever);
    });
    held.Wait(CVT::kWaitForever);
    EXPECT_EQ(Column(3).integer, -1);
    letGo.Set();
    holder.join();
    EXPECT_EQ(Column(3).integer, -1);
}

TEST_F(SystemGroup, KeepsTheLineFeedOfTheLoadParametersAndCutsThemAt1023Octets) {
    m_host->Cover("/proc/cmdline", "root=/dev/sda1 quiet\n");
    EXPECT_EQ(Column(4).octets.View(), "root=/dev/sda1 quiet\n");
    m_host->Cover("/proc/cmdline", std::string(1022, 'x') + "\n");
    EXPECT_EQ(Column(4).octets.View(), std::string(1022, 'x') + "\n");
    m_host->Cover("/proc/cmdline", std::string(2000, 'y') + "\n");
    EXPECT_EQ(Column(4).octets.View(), std::string(1023, 'y'));
    m_host->Cover("/proc/cmdline", "");
    EXPECT_EQ(Column(4).octets.View(), std::string(1023, 'y')) << "an empty file does not change it either";
    m_host->Empty("/proc");
    EXPECT_EQ(Column(4).octets.View(), std::string(1023, 'y')) << "a value that cannot be read is kept";
}

TEST_F(SystemGroup, CountsTheUserProcessesInTheUsersDatabase) {
    EXPECT_EQ(Column(5).number, 0U);
    s_utmp = {BOOT_TIME, USER_PROCESS, LOGIN_PROCESS, USER_PROCESS, DEAD_PROCESS, USER_PROCESS};
    const CVT::BVarBind users = Column(5);
    EXPECT_EQ(users.type, CVT::kGauge32);
    EXPECT_EQ(users.number, 3U);
    EXPECT_EQ(Column(5).number, 3U) << "counted again each time";
}

TEST_F(SystemGroup, ReportsTheKernelsCountOfProcessesAndNoLimit) {
    EXPECT_EQ(Column(6).number, 321U);
    s_procs = 65535;
    EXPECT_EQ(Column(6).number, 65535U);
    EXPECT_EQ(Column(6).type, CVT::kGauge32);
    EXPECT_EQ(Column(7).integer, 0);
    EXPECT_EQ(Column(7).type, CVT::kInteger);
}

TEST_F(SystemGroup, AllowsOnlyTheDateToBeWritten) {
    for (const int column : {1, 3, 4, 5, 6, 7}) {
        EXPECT_EQ(SetInteger(m_engine, "1.3.6.1.2.1.25.1." + std::to_string(column) + ".0", 1), 17) << column;
    }
    EXPECT_EQ(SetInteger(m_engine, kDate, 1), 7);
}

}  // namespace
