// The memory figures of made-up hosts, read from the real path.

#include <gtest/gtest.h>

#include "groups/storage/MemoryProbe.h"
#include "tests/support/MadeUpHost.h"

namespace {

class MemoryOfAHost : public testing::Test {
protected:
    void SetUp() override {
        if (!MadeUpHost::IsPossible()) {
            GTEST_SKIP() << "this machine does not allow a mount namespace";
        }
        bIsNewMemInfo.store(false);
    }
};

TEST_F(MemoryOfAHost, IsInBytesOnAKernelWithOneLineForAllMemory) {
    MadeUpHost host;
    host.Cover("/proc/meminfo",
               "        total:    used:    free:  shared: buffers:  cached:\n"
               "Mem:  263000000 250000000 13000000        0  8000000 90000000\n"
               "Swap:        0         0         0\n"
               "MemTotal:       256835 kB\n"
               "MemFree:         12695 kB\n");
    EXPECT_EQ(ui32GetMemory(2), 263000000U);
    EXPECT_EQ(ui32GetMemory(3), 250000000U);
    EXPECT_EQ(ui32GetMemory(0), 0U);
    EXPECT_EQ(ui32GetMemory(1), 0U);
    EXPECT_FALSE(bIsNewMemInfo.load());
}

TEST_F(MemoryOfAHost, IsInKilobytesOnAKernelWithOneLineForEachFigure) {
    MadeUpHost host;
    host.Cover("/proc/meminfo",
               "MemTotal:           1000 kB\n"
               "MemFree:             300 kB\n"
               "VmallocTotal:   34359738367 kB\n");
    EXPECT_EQ(ui32GetMemory(2), 1000U);
    EXPECT_EQ(ui32GetMemory(3), 700U);
    EXPECT_EQ(ui32GetMemory(0), 0xFFFFFFFFU);
    EXPECT_EQ(ui32GetMemory(1), 0U);
    EXPECT_TRUE(bIsNewMemInfo.load());
}

TEST_F(MemoryOfAHost, FallsBackToOneLineForEachFigureWhenTheLineForAllMemoryHasTooFewNumbers) {
    MadeUpHost host;
    host.Cover("/proc/meminfo",
               "Mem: 5\n"
               "MemTotal: 1000 kB\n"
               "MemFree: 300 kB\n");
    EXPECT_EQ(ui32GetMemory(2), 1000U);
    EXPECT_EQ(ui32GetMemory(3), 700U);
}

TEST_F(MemoryOfAHost, IsZeroForAnyOtherSelectorAndForAnEmptyFile) {
    MadeUpHost host;
    host.Cover("/proc/meminfo", "");
    for (unsigned int selector = 0; selector <= 5; ++selector) {
        EXPECT_EQ(ui32GetMemory(selector), 0U) << selector;
    }
    host.Cover("/proc/meminfo", "MemTotal: 1000 kB\nMemFree: 300 kB\n");
    EXPECT_EQ(ui32GetMemory(4), 0U);
    EXPECT_FALSE(bIsNewMemInfo.load());
}

TEST_F(MemoryOfAHost, IsZeroWithoutTheFile) {
    MadeUpHost host;
    host.Empty("/proc");
    for (unsigned int selector = 0; selector <= 4; ++selector) {
        EXPECT_EQ(ui32GetMemory(selector), 0U) << selector;
    }
}

}  // namespace
