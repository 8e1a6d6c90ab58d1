#include "groups/hardware/DHrProcessorTable.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "groups/common/HostFile.h"

namespace {

/// A table with a given number of processors, under the indexes from 1.
class DHrProcessorTableSamples : public testing::Test {
protected:
    void MakeRows(unsigned int count) {
        for (unsigned int index = 1; index <= count; ++index) {
            ASSERT_NE(m_table.CreateNewRow(CVT::BObjectIdentifier(index)), nullptr);
        }
    }
    /// Takes a sample of a /proc/stat with this content. Returns the loads after it.
    std::vector<int> Sample(std::string stat) {
        if (stat.empty()) {
            stat = "\n";  // an empty buffer cannot be opened
        }
        const DHostFile file(::fmemopen(stat.data(), stat.size(), "r"));
        EXPECT_TRUE(file);
        m_table.TakeSampleOf(file.get());
        std::vector<int> loads;
        for (unsigned int place = 0; place < m_table.GetNumRows(); ++place) {
            loads.push_back(m_table.RowAt(place)->load.load());
        }
        return loads;
    }
    using Loads = std::vector<int>;

    DHrProcessorTable m_table{nullptr};
};

TEST_F(DHrProcessorTableSamples, MeasureTheLoadSinceTheStartOfTheHostAtFirst) {
    MakeRows(2);
    EXPECT_EQ(m_table.RowAt(0)->load.load(), 0) << "before the first";
    EXPECT_EQ(Sample("cpu  600 0 0 200 0\ncpu0 10 20 30 40 500 600\ncpu1 75 0 0 25\nintr 1\n"), (Loads{60, 75}))
        << "user, nice and system count as busy, idle as idle, and nothing else counts";
    EXPECT_EQ(m_table.RowAt(0)->prevTotal, 100U);
    EXPECT_EQ(m_table.RowAt(0)->prevIdle, 40U);
}

TEST_F(DHrProcessorTableSamples, MeasureTheLoadSinceThePreviousSample) {
    MakeRows(1);
    Sample("cpu0 100 0 0 900\n");
    EXPECT_EQ(Sample("cpu0 100 0 0 1900\n"), Loads{0}) << "idle for the whole time";
    EXPECT_EQ(Sample("cpu0 1100 0 0 1900\n"), Loads{100}) << "never idle";
    EXPECT_EQ(Sample("cpu0 1101 0 0 1901\n"), Loads{50});
}

TEST_F(DHrProcessorTableSamples, ReportNoLoadWhenNothingHasChanged) {
    MakeRows(1);
    EXPECT_EQ(Sample("cpu0 500 0 0 500\n"), Loads{50});
    EXPECT_EQ(Sample("cpu0 500 0 0 500\n"), Loads{0});
    EXPECT_EQ(Sample("cpu0 0 0 0 1000\n"), Loads{0}) << "the sum is the same, though its parts are not";
}

TEST_F(DHrProcessorTableSamples, RoundTheIdleShareDownAndSoTheLoadUp) {
    MakeRows(1);
    EXPECT_EQ(Sample("cpu0 1 0 0 2\n"), Loads{34}) << "66 of 100 idle, not 67";
}

TEST_F(DHrProcessorTableSamples, NeverUseTheLineForAllProcessors) {
    MakeRows(1);
    EXPECT_EQ(Sample("cpu  100 0 0 0\ncpu0 1 0 0 3\n"), Loads{25});
    EXPECT_EQ(Sample("cpu  200 0 0 0\n"), Loads{25});
    EXPECT_EQ(Sample("cpu0 2 0 0 3\ncpu  9 9 9 9\n"), Loads{100}) << "wherever it stands";
}

TEST_F(DHrProcessorTableSamples, EndAtTheFirstLineThatIsNotAProcessors) {
    MakeRows(2);
    EXPECT_EQ(Sample("cpu0 1 0 0 0\nintr 5\ncpu1 1 0 0 0\n"), (Loads{100, 0}));
    EXPECT_EQ(Sample("\ncpu0 5 0 0 5\n"), (Loads{100, 0}));
    EXPECT_EQ(Sample(""), (Loads{100, 0}));
}

TEST_F(DHrProcessorTableSamples, LoseTheLineAfterAGap) {
    MakeRows(4);
    EXPECT_EQ(Sample("cpu0 1 0 0 0\ncpu2 1 0 0 0\ncpu3 1 0 0 0\n"), (Loads{100, 0, 0, 0}))
        << "line 2 stands in turn 1, line 3 in turn 2";
    EXPECT_EQ(Sample("cpu0 1 0 0 1\ncpu2 1 0 0 0\ncpu2 1 0 0 0\ncpu3 1 0 0 0\n"), (Loads{0, 0, 100, 100}))
        << "a line that comes in its turn is used, whatever stood before it";
}

TEST_F(DHrProcessorTableSamples, AcceptANumberThatBeginsWithTheExpectedOne) {
    MakeRows(2);
    EXPECT_EQ(Sample("cpu0 1 0 0 1\ncpu10 3 0 0 1\n"), (Loads{50, 75})) << "\"cpu10\" begins with \"cpu1\"";
    EXPECT_EQ(Sample("cpu00 2 0 0 1\n"), (Loads{100, 75}));
}

TEST_F(DHrProcessorTableSamples, IgnoreLinesBeyondTheRowsAndKeepTheLoadOfRowsWithoutALine) {
    MakeRows(2);
    EXPECT_EQ(Sample("cpu0 1 0 0 1\ncpu1 1 0 0 3\ncpu2 9 0 0 1\ncpu3 9 0 0 1\n"), (Loads{50, 25}));
    EXPECT_EQ(Sample("cpu0 2 0 0 1\n"), (Loads{100, 25}));
}

TEST_F(DHrProcessorTableSamples, TreatAMissingFigureAsZero) {
    MakeRows(1);
    EXPECT_EQ(Sample("cpu0 5 5\n"), Loads{100});
    EXPECT_EQ(m_table.RowAt(0)->prevTotal, 10U);
    EXPECT_EQ(Sample("cpu0 5 x 7 9\n"), Loads{100}) << "nothing after a malformed number is read";
    EXPECT_EQ(m_table.RowAt(0)->prevTotal, 5U);
    Sample("cpu0\n");
    EXPECT_EQ(m_table.RowAt(0)->prevTotal, 0U);
}

TEST_F(DHrProcessorTableSamples, EndAtALineTooLongForItsBuffer) {
    MakeRows(2);
    const std::string blanks(120, ' ');
    EXPECT_EQ(Sample("cpu0 1 0 0 1" + std::string(114, ' ') + "\ncpu1 1 0 0 3\n"), (Loads{50, 25}))
        << "127 octets with the line feed fit";
    EXPECT_EQ(Sample("cpu0 2 0 0 1" + blanks + "\ncpu1 2 0 0 3\n"), (Loads{100, 25}))
        << "the rest of a longer line does not begin like a processor's";
    EXPECT_EQ(Sample("cpu0 2 0 0 2" + std::string(115, ' ') + "cpu1 3 0 0 3\n"), (Loads{0, 100})) << "unless it does";
}

TEST_F(DHrProcessorTableSamples, ReadTheLastLineWithoutItsLineFeed) {
    MakeRows(1);
    EXPECT_EQ(Sample("cpu0 1 0 0 1"), Loads{50});
}

TEST_F(DHrProcessorTableSamples, FollowCountersThatWrapOrRunBackwards) {
    MakeRows(1);
    Sample("cpu0 4294967290 0 0 0\n");
    EXPECT_EQ(Sample("cpu0 4294967300 0 0 10\n"), Loads{50}) << "the sum went from 2^32 - 6 to 2^32 + 14";
    Sample("cpu0 1000 0 0 1000\n");
    EXPECT_EQ(Sample("cpu0 900 0 0 900\n"), Loads{50}) << "distances, not differences";
    Sample("cpu0 18446744073709551615 0 0 0\n");
    EXPECT_EQ(m_table.RowAt(0)->prevTotal, UINT_MAX) << "the largest number, cut to 32 bits";
    Sample("cpu0 -5 0 0 2\n");
    EXPECT_EQ(m_table.RowAt(0)->prevTotal, UINT_MAX - 2);
}

TEST_F(DHrProcessorTableSamples, WrapWhereAHundredTimesTheIdleTicksDoNotFit) {
    MakeRows(1);
    // 42,949,673 ticks, five days at 100 a second, times 100 is 4 above 2^32.
    EXPECT_EQ(Sample("cpu0 0 0 0 42949673\n"), Loads{100});
    EXPECT_EQ(Sample("cpu0 0 0 0 85899345\n"), Loads{0});
    EXPECT_EQ(Sample("cpu0 2147483648 0 0 85899345\n"), Loads{100})
        << "2^31 does not fit into an int, but is a distance";
}

TEST_F(DHrProcessorTableSamples, MayShowMoreIdleTicksThanTicks) {
    MakeRows(1);
    Sample("cpu0 100 0 0 0\n");
    EXPECT_EQ(Sample("cpu0 0 0 0 101\n"), Loads{-10000}) << "101 idle ticks in one tick";
}

TEST_F(DHrProcessorTableSamples, FollowTheKernelsNumbersOnAServerWithProcessorsOffline) {
    MakeRows(256);
    std::stringstream stat;
    stat << std::ifstream(CVHOST_SOURCE_DIR "/tests/host/made-up/server/proc/stat").rdbuf();
    const Loads loads = Sample(stat.str());
    // Processor k has k busy ticks and 256 - k idle ones; 7, 100 and 101 are offline.
    for (int k = 0; k < 7; ++k) {
        EXPECT_EQ(loads[static_cast<std::size_t>(k)], 100 - (256 - k) * 100 / 256) << k;
    }
    for (int k = 7; k < 256; ++k) {
        EXPECT_EQ(loads[static_cast<std::size_t>(k)], 0) << k << " never comes in its turn again";
    }
}

TEST_F(DHrProcessorTableSamples, FollowABusyLoopOnOneProcessor) {
    MakeRows(2);
    Sample("cpu0 1000 0 500 90000\ncpu1 1000 0 500 90000\n");
    EXPECT_EQ(Sample("cpu0 1000 0 500 91500\ncpu1 2480 0 510 90010\n"), (Loads{0, 100}));
    EXPECT_EQ(Sample("cpu0 1010 0 505 92985\ncpu1 2480 0 510 91510\n"), (Loads{1, 0}));
}

TEST(DHrProcessorTable, IsRegisteredWithItsColumns) {
    DHrProcessorTable table(nullptr);
    EXPECT_STREQ(table.Name().c_str(), "HOST-RESOURCES-MIB.hrProcessorTable");
    EXPECT_STREQ(table.Oid().ToString().c_str(), "1.3.6.1.2.1.25.3.3.1");
    EXPECT_STREQ(DHrProcessorTable::s_pszNVSection, "hrProcessorTable");
    const CVT::BRqHndlrEntry* const columns = table.GetRqHndlrMap();
    EXPECT_STREQ(columns[0].name, "hrProcessorFrwID");
    EXPECT_EQ(columns[0].type, CVT::kObjectIdentifier);
    EXPECT_STREQ(columns[1].name, "hrProcessorLoad");
    EXPECT_EQ(columns[1].type, CVT::kInteger);
    EXPECT_FALSE(columns[0].IsWritable() || columns[1].IsWritable());
    EXPECT_TRUE(columns[2].IsEnd());
    const CVT::BConstraintEntry* const constraints = table.GetConstraintMap();
    EXPECT_EQ(constraints[0].kind, CVT::kRange);
    EXPECT_EQ(constraints[0].column, 2U);
    EXPECT_EQ(constraints[0].low, 0);
    EXPECT_EQ(constraints[0].high, 100);
    EXPECT_EQ(constraints[1].kind, CVT::kEndOfConstraints);
}

TEST(DHrProcessorTable, ReturnsTheNameOfTheFirmwareColumnAsTheFirmware) {
    DHrProcessorTable table(nullptr);
    ASSERT_NE(table.CreateNewRow(CVT::BObjectIdentifier(3)), nullptr);
    CVT::BObjectIdentifier firmware;
    EXPECT_EQ(table.OnGet_HrProcessorFrwID(CVT::BObjectIdentifier(3), 1, firmware), 0);
    EXPECT_STREQ(firmware.ToString().c_str(), "1.3.6.1.2.1.25.3.3.1.1");
    int load = 5;
    EXPECT_EQ(table.OnGet_HrProcessorLoad(CVT::BObjectIdentifier(3), 1, load), 0);
    EXPECT_EQ(load, 0);
    load = 5;
    EXPECT_EQ(table.OnGet_HrProcessorFrwID(CVT::BObjectIdentifier(4), 1, firmware), 2);
    EXPECT_EQ(table.OnGet_HrProcessorLoad(CVT::BObjectIdentifier(4), 1, load), 2);
    EXPECT_EQ(table.OnGet_HrProcessorLoad(CVT::BObjectIdentifier(CVT::BString("3.0")), 1, load), 2);
    EXPECT_EQ(load, 5) << "left as it was";
}

TEST(DHrProcessorTable, CanBeDestroyedWhileItsSamplerRunsAndCleanedUpTwice) {
    {
        DHrProcessorTable running(nullptr);
        running.Initialize();
        EXPECT_TRUE(running.IsActive());
    }
    DHrProcessorTable table(nullptr);
    table.Cleanup();
    table.Initialize();
    table.Initialize();
    table.Cleanup();
    table.Cleanup();
    EXPECT_FALSE(table.IsActive());
}

}  // namespace
