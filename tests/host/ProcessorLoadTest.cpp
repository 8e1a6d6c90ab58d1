// The load sampler of the shipped library, in real time. This program's own fopen stands before the C library's and
// sees every opening of a file.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "tests/support/HostTree.h"
#include "tests/support/MadeUpHostTest.h"
#include "tests/support/Walk.h"

namespace {

std::atomic<int> s_samples = 0;

}  // namespace

extern "C" std::FILE* fopen(const char* path, const char* mode) {
    using Open = std::FILE* (*)(const char*, const char*);
    static const auto real = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "fopen"));
    if (std::strcmp(path, "/proc/stat") == 0) {
        ++s_samples;
    }
    return real(path, mode);
}

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class ProcessorLoad : public MadeUpHostTest {
protected:
    void SetUp() override {
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        const std::string folder = m_host->Directory() + "/blank";
        std::filesystem::create_directories(folder + "/commands");
        std::ofstream(folder + "/commands/mount").close();
        m_tree = std::make_unique<HostTree>(*m_host, folder);
        s_samples = 0;
    }

    void StartUp() {
        m_begin = Clock::now();
        MadeUpHostTest::StartUp();
    }
    static void SetStat(const std::string& content) {
        std::ofstream("/proc/stat.new") << content;
        std::filesystem::rename("/proc/stat.new", "/proc/stat");
    }
    int Load(int processor) { return Get(m_engine, "1.3.6.1.2.1.25.3.3.1.2." + std::to_string(processor)).integer; }
    /// Waits until the current sample is complete.
    bool WaitForLoads(int first, int second) {
        for (int patience = 0; patience < 5000; ++patience) {
            if (Load(1) == first && Load(2) == second) {
                return true;
            }
            CVT::TTimer().Sleep(1);
        }
        return false;
    }
    void SleepUntil(milliseconds sinceStart) const {
        const auto left = std::chrono::duration_cast<milliseconds>(m_begin + sinceStart - Clock::now());
        if (left.count() > 0) {
            CVT::TTimer().Sleep(static_cast<unsigned int>(left.count()));
        }
    }
    /// Waits for a sample. Returns the time since the start.
    milliseconds WaitForSample(int count) const {
        while (s_samples < count && Clock::now() - m_begin < std::chrono::seconds(60)) {
            CVT::TTimer().Sleep(1);
        }
        return std::chrono::duration_cast<milliseconds>(Clock::now() - m_begin);
    }

private:
    std::unique_ptr<HostTree> m_tree;
    Clock::time_point m_begin;
};

TEST_F(ProcessorLoad, IsMeasuredEveryFifteenSecondsAndFollowsABusyLoop) {
    std::ofstream("/proc/cpuinfo") << "Processor\t: A\nProcessor\t: A\n";
    SetStat("cpu  0 0 0 0\ncpu0 25 0 0 75\ncpu1 25 0 0 75\n");
    StartUp();
    SleepUntil(milliseconds(14'500));
    EXPECT_EQ(s_samples, 0);
    EXPECT_EQ(Load(1), 0) << "nothing is known yet";
    EXPECT_GE(WaitForSample(1), milliseconds(15'000));
    EXPECT_TRUE(WaitForLoads(25, 25)) << "since the host was started";
    SetStat("cpu  0 0 0 0\ncpu0 25 0 0 1575\ncpu1 1510 0 10 80\n");
    EXPECT_GE(WaitForSample(2), milliseconds(30'000));
    EXPECT_TRUE(WaitForLoads(0, 100));
    EXPECT_EQ(s_samples, 2) << "requests read no file";
}

TEST_F(ProcessorLoad, IsNotMeasuredWithoutAProcessor) {
    SetStat("cpu0 25 0 0 75\n");
    StartUp();
    SleepUntil(milliseconds(16'500));
    EXPECT_EQ(s_samples, 0);
    EXPECT_TRUE(Walk(m_engine, "1.3.6.1.2.1.25.3.3").empty());
}

TEST_F(ProcessorLoad, StaysUnchangedWhenItCannotBeMeasured) {
    std::ofstream("/proc/cpuinfo") << "Processor\t: A\n";
    StartUp();
    EXPECT_GE(WaitForSample(1), milliseconds(15'000));
    CVT::TTimer().Sleep(500);
    EXPECT_EQ(Load(1), 0);
}

TEST_F(ProcessorLoad, IsNoLongerMeasuredOnceTheTableIsCleanedUp) {
    std::ofstream("/proc/cpuinfo") << "Processor\t: A\n";
    StartUp();
    CVT::BMibImpl& table = *m_module->Group().HandlerAt(4);
    milliseconds shortest(1000);
    // The best of several attempts: this machine may be busy.
    for (int i = 0; i < 5; ++i) {
        CVT::TTimer().Sleep(30);
        const CVT::TMutex::Guard guard(table.RequestLock());
        const auto begin = Clock::now();
        table.Cleanup();
        shortest = std::min(shortest, std::chrono::duration_cast<milliseconds>(Clock::now() - begin));
        EXPECT_FALSE(table.IsActive());
        table.Initialize();
    }
    EXPECT_LE(shortest, milliseconds(250));
}

}  // namespace
