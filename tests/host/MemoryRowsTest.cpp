// The rows of memory in hrStorageTable, of the library that ships, on hosts with memory figures of the test's making.

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/MadeUpHost.h"
#include "tests/support/Walk.h"

namespace {

class MemoryRows : public testing::Test {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine gives no mount namespace";
        }
        m_host = std::make_unique<MadeUpHost>();
        ASSERT_EQ(::chdir(m_host->Directory().c_str()), 0);
        m_host->Cover("/etc/mtab", "");
        m_module = std::make_unique<LoadedModule>();
        ASSERT_TRUE(m_module->IsLoaded());
    }
    void TearDown() override {
        if (m_module) {
            m_module->Close();
            m_module.reset();
        }
        EXPECT_EQ(::chdir("/"), 0);
    }

    void StartUp() {
        ASSERT_EQ(m_module->Init(), 1);
        ASSERT_TRUE(m_module->WaitUntilActive());
        ASSERT_TRUE(m_engine.Add(m_module->Group()));
    }
    /// A column of virtual memory, then of physical memory: without a file system they are the only rows.
    std::vector<int> Column(const std::string& column) {
        std::vector<int> numbers;
        for (const CVT::BVarBind& varBind : Walk(m_engine, ("1.3.6.1.2.1.25.2.3.1." + column).c_str())) {
            numbers.push_back(varBind.integer);
        }
        return numbers;
    }
    using Numbers = std::vector<int>;

    std::unique_ptr<MadeUpHost> m_host;
    std::unique_ptr<LoadedModule> m_module;
    CVT::BMibEngine m_engine;
};

TEST_F(MemoryRows, AreInKilobytesOnAKernelThatHasALineAFigure) {
    m_host->Cover("/proc/meminfo", "MemTotal: 1000 kB\nMemFree: 300 kB\nVmallocTotal: 5000 kB\nVmallocUsed: 400 kB\n");
    StartUp();
    EXPECT_EQ(Column("1"), (Numbers{1, 2}));
    EXPECT_EQ(Column("4"), (Numbers{1024, 1024}));
    EXPECT_EQ(Column("5"), (Numbers{5000, 1000}));
    EXPECT_EQ(Column("6"), (Numbers{400, 700}));
}

TEST_F(MemoryRows, AreInOctetsOnAKernelThatHasALineForEachKindOfMemory) {
    m_host->Cover("/proc/meminfo", "Mem: 263000000 250000000 13000000\nSwap: 64000000 2000000 62000000\n");
    StartUp();
    EXPECT_EQ(Column("4"), (Numbers{1, 1}));
    EXPECT_EQ(Column("5"), (Numbers{64000000, 263000000}));
    EXPECT_EQ(Column("6"), (Numbers{2000000, 250000000}));
}

TEST_F(MemoryRows, MeasureTheirUseEachTimeAndNothingElse) {
    m_host->Cover("/proc/meminfo", "MemTotal: 1000 kB\nMemFree: 300 kB\nVmallocTotal: 5000 kB\nVmallocUsed: 400 kB\n");
    StartUp();
    EXPECT_EQ(Column("6"), (Numbers{400, 700}));
    m_host->Cover("/proc/meminfo", "MemTotal: 2000 kB\nMemFree: 100 kB\nVmallocTotal: 6000 kB\nVmallocUsed: 401 kB\n");
    EXPECT_EQ(Column("6"), (Numbers{401, 1900}));
    EXPECT_EQ(Column("5"), (Numbers{5000, 1000}));
}

}  // namespace
