#include "groups/storage/MemoryProbe.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "groups/common/HostFile.h"

namespace {

/// A stream over a text, in place of the host's file.
class Text {
public:
    explicit Text(std::string text) : m_text(std::move(text)) {
        // fmemopen refuses an empty buffer
        m_file.reset(m_text.empty() ? std::fopen("/dev/null", "r") : ::fmemopen(m_text.data(), m_text.size(), "r"));
    }
    std::FILE* File() { return m_file.get(); }

private:
    std::string m_text;
    DHostFile m_file;
};

/// Each test begins with the flag as it is when the module is loaded.
class MemoryProbe : public testing::Test {
protected:
    void SetUp() override { bIsNewMemInfo.store(false); }
};

/// The figure of a file in the layout with one line for memory and one for swap; 0 when it is missing.
unsigned int PerLine(const std::string& text, unsigned int selector) {
    unsigned int figure = 0;
    return bReadMemoryPerLine(Text(text).File(), selector, figure) ? figure : 0;
}

unsigned int PerKey(const std::string& text, unsigned int selector) {
    return ui32ReadMemoryPerKey(Text(text).File(), selector);
}

constexpr const char* kPerLine =
    "        total:    used:    free:  shared: buffers:  cached:\n"
    "Mem:  263000000 250000000 13000000        0  8000000 90000000\n"
    "Swap:        0         0         0\n";

TEST_F(MemoryProbe, ReadsTotalAndUsedFromOneLineEach) {
    EXPECT_EQ(PerLine(kPerLine, 2), 263000000U);
    EXPECT_EQ(PerLine(kPerLine, 3), 250000000U);
    unsigned int figure = 1;
    EXPECT_TRUE(bReadMemoryPerLine(Text(kPerLine).File(), 0, figure));
    EXPECT_EQ(figure, 0U);
    figure = 1;
    EXPECT_TRUE(bReadMemoryPerLine(Text(kPerLine).File(), 1, figure));
    EXPECT_EQ(figure, 0U);
    EXPECT_FALSE(bIsNewMemInfo.load());
}

TEST_F(MemoryProbe, TreatsAnySelectorAboveOneAsMemoryInTheLayoutOfOneLineEach) {
    EXPECT_EQ(PerLine(kPerLine, 4), 263000000U);
    EXPECT_EQ(PerLine(kPerLine, 5), 250000000U);
}

TEST_F(MemoryProbe, RejectsALineWithFewerThanTwoNumbers) {
    unsigned int figure = 77;
    EXPECT_FALSE(bReadMemoryPerLine(Text("Mem: 1000\nMem: 1 2\n").File(), 2, figure));
    EXPECT_FALSE(bReadMemoryPerLine(Text("Mem: x 5\n").File(), 2, figure));
    EXPECT_FALSE(bReadMemoryPerLine(Text("MemTotal: 5 6\n").File(), 2, figure));
    EXPECT_FALSE(bReadMemoryPerLine(Text("").File(), 2, figure));
    EXPECT_EQ(figure, 77U);
}

TEST_F(MemoryProbe, FindsAKeyAnywhereInALine) {
    EXPECT_EQ(PerLine("HighMem: 1 2\n", 2), 1U);
    EXPECT_EQ(PerKey("OldMemTotal: 3 kB\n", 2), 3U);
}

TEST_F(MemoryProbe, ReadsOneFigureFromEachLineAndCountsAllButFreeMemoryAsUsed) {
    const std::string text =
        "MemTotal: 1000 kB\nMemFree: 300 kB\nBuffers: 100 kB\nVmallocTotal: 5000 kB\nVmallocUsed: 70 kB\n";
    EXPECT_EQ(PerKey(text, 2), 1000U);
    EXPECT_EQ(PerKey(text, 3), 700U);
    EXPECT_EQ(PerKey(text, 0), 5000U);
    EXPECT_EQ(PerKey(text, 1), 70U);
    EXPECT_TRUE(bIsNewMemInfo.load());
}

TEST_F(MemoryProbe, RemembersThatTheFiguresAreKilobytesOnlyWhenOneWasFound) {
    EXPECT_EQ(PerKey("MemFree: 300 kB\n", 2), 0U);
    EXPECT_FALSE(bIsNewMemInfo.load());
    EXPECT_EQ(PerKey("MemTotal: what\n", 2), 0U);
    EXPECT_TRUE(bIsNewMemInfo.load());
}

TEST_F(MemoryProbe, ReturnsZeroForAMissingFigureAndForAnyOtherSelector) {
    EXPECT_EQ(PerKey("MemTotal: 1000 kB\n", 1), 0U);
    EXPECT_EQ(PerKey("MemTotal: 1000 kB\n", 4), 0U);
    EXPECT_EQ(PerKey("MemTotal: 1000 kB\n", 0xFFFFFFFFU), 0U);
}

TEST_F(MemoryProbe, CutsAFigureToItsLowThirtyTwoBits) {
    EXPECT_EQ(PerKey("VmallocTotal:   34359738367 kB\n", 0), 0xFFFFFFFFU);
    EXPECT_EQ(PerKey("MemTotal: 4294967297 kB\nMemFree: 0 kB\n", 2), 1U);
    EXPECT_EQ(PerKey("MemTotal: 9999999999999999999999999 kB\nMemFree: 0 kB\n", 2), 0xFFFFFFFFU);
    EXPECT_EQ(PerLine("Mem: 4294967296 8589934591\n", 2), 0U);
    EXPECT_EQ(PerLine("Mem: 4294967296 8589934591\n", 3), 0xFFFFFFFFU);
}

TEST_F(MemoryProbe, WrapsAUsedFigureBelowZero) {
    EXPECT_EQ(PerKey("MemTotal: 5 kB\nMemFree: 6 kB\n", 3), 0xFFFFFFFFU);
    EXPECT_EQ(PerKey("MemTotal: -2147483648 kB\nMemFree: 1 kB\n", 3), 0x7FFFFFFFU);
}

TEST_F(MemoryProbe, TreatsFreeMemoryAsZeroWhenTheNextLineHasNoNumberOrIsMissing) {
    EXPECT_EQ(PerKey("MemTotal: 1000 kB\nMemFree: kB\n", 3), 1000U);
    EXPECT_EQ(PerKey("MemTotal: 1000 kB", 3), 1000U);
}

TEST_F(MemoryProbe, UsesTheLastOfSeveralLinesForUsedMemoryAndTheFirstForTheOthers) {
    const std::string text = "MemTotal: 1000 kB\nMemFree: 300 kB\nMemTotal: 50 kB\nMemFree: 3 kB\n";
    EXPECT_EQ(PerKey(text, 3), 47U);
    EXPECT_EQ(PerKey(text, 2), 1000U);
    EXPECT_EQ(PerKey("VmallocTotal: 1 kB\nVmallocTotal: 2 kB\n", 0), 1U);
}

TEST_F(MemoryProbe, KeepsTheFigureOfAnEarlierLineWhenALaterOneHasNoNumber) {
    EXPECT_EQ(PerKey("MemTotal: 1000 kB\nMemFree: 300 kB\nMemTotal: kB\nMemFree: 3 kB\n", 3), 697U);
}

TEST_F(MemoryProbe, ReadsTheRestOfAnOverlongLineAsTheNextOne) {
    // 255 octets fill the buffer. The rest becomes a line of its own, whose first word is skipped.
    EXPECT_EQ(PerKey(std::string(255, 'x') + "MemTotal: 12 kB\n", 2), 12U);
    EXPECT_EQ(PerKey(std::string(250, 'x') + "MemTotal: 12 kB\n", 2), 0U) << "the key is cut in two";
}

TEST_F(MemoryProbe, SurvivesEveryTruncationOfAGoodFile) {
    const std::string good = "MemTotal:       24689432 kB\nMemFree:        22010844 kB\nMemAvailable:   23785528 kB\n";
    for (std::size_t length = 0; length <= good.size(); ++length) {
        const std::string text = good.substr(0, length);
        const unsigned int total = PerKey(text, 2);
        const unsigned int used = PerKey(text, 3);
        EXPECT_LE(total, 24689432U) << length;
        EXPECT_LE(used, total) << length;
    }
}

TEST_F(MemoryProbe, SurvivesNulsAndEndlessLines) {
    EXPECT_EQ(PerKey(std::string("MemTotal:\0 1000 kB\nMemFree: 5\n", 30), 2), 0U);
    EXPECT_EQ(PerKey(std::string(1'000'000, 'M'), 2), 0U);
    EXPECT_EQ(PerLine(std::string(1'000'000, ':'), 2), 0U);
}

TEST_F(MemoryProbe, ReadsThisHostsMemory) {
    EXPECT_GT(ui32GetMemory(kPhysicalTotal), 0U);
    EXPECT_LE(ui32GetMemory(kPhysicalUsed), ui32GetMemory(kPhysicalTotal));
    EXPECT_EQ(ui32GetMemory(4), 0U);
}

}  // namespace
