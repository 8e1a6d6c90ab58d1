// The memory rows in hrStorageTable of the shipped library, on hosts with made-up memory figures.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/MadeUpHostTest.h"
#include "tests/support/Walk.h"

namespace {

class MemoryRows : public MadeUpHostTest {
protected:
    void SetUp() override {
        MadeUpHostTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        m_host->Cover("/etc/mtab", "");
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
};

TEST_F(MemoryRows, AreInKilobytesOnAKernelWithOneLineForEachFigure) {
    m_host->Cover("/proc/meminfo", "MemTotal: 1000 kB\nMemFree: 300 kB\nVmallocTotal: 5000 kB\nVmallocUsed: 400 kB\n");
    StartUp();
    EXPECT_EQ(Column("1"), (Numbers{1, 2}));
    EXPECT_EQ(Column("4"), (Numbers{1024, 1024}));
    EXPECT_EQ(Column("5"), (Numbers{5000, 1000}));
    EXPECT_EQ(Column("6"), (Numbers{400, 700}));
}

TEST_F(MemoryRows, AreInOctetsOnAKernelWithOneLineForEachKindOfMemory) {
    m_host->Cover("/proc/meminfo", "Mem: 263000000 250000000 13000000\nSwap: 64000000 2000000 62000000\n");
    StartUp();
    EXPECT_EQ(Column("4"), (Numbers{1, 1}));
    EXPECT_EQ(Column("5"), (Numbers{64000000, 263000000}));
    EXPECT_EQ(Column("6"), (Numbers{2000000, 250000000}));
}

TEST_F(MemoryRows, MeasureOnlyTheirUseEachTime) {
    m_host->Cover("/proc/meminfo", "MemTotal: 1000 kB\nMemFree: 300 kB\nVmallocTotal: 5000 kB\nVmallocUsed: 400 kB\n");
    StartUp();
    EXPECT_EQ(Column("6"), (Numbers{400, 700}));
    m_host->Cover("/proc/meminfo", "MemTotal: 2000 kB\nMemFree: 100 kB\nVmallocTotal: 6000 kB\nVmallocUsed: 401 kB\n");
    EXPECT_EQ(Column("6"), (Numbers{401, 1900}));
    EXPECT_EQ(Column("5"), (Numbers{5000, 1000}));
}

}  // namespace
