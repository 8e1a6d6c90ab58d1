// Sizes and bars in hrStorageTable, with realistic figures.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "agent/cvtwalk/data/Sections.h"
#include "agent/cvtwalk/formats/TableFormat.h"
#include "groups/storage/DHrStorageTable.h"

namespace {

class CvtwalkStorageTable : public testing::Test {
protected:
    void Number(unsigned int column, unsigned int row, int value) {
        CVT::BVarBind instance;
        instance.type = CVT::kInteger;
        instance.integer = value;
        m_sections.Add(instance, cvtwalk::ServedObject(m_table, *m_table.GetIMibInfo()->FindColumn(column),
                                                       CVT::BObjectIdentifier(row)));
    }
    /// The rows' units, sizes and used units, and how they are shown.
    std::string Shown(const std::vector<std::array<int, 3>>& rows) {
        for (unsigned int column = 0; column < 3; ++column) {
            for (unsigned int row = 0; row < rows.size(); ++row) {
                Number(4 + column, row + 1, rows[row][column]);
            }
        }
        return End();
    }
    std::string End() {
        m_sections.DeriveUse();
        std::string out;
        for (const cvtwalk::Section& section : m_sections.All()) {
            m_format.Write(section, out);
        }
        return out;
    }

    DHrStorageTable m_table{nullptr};
    cvtwalk::TableFormat m_format{cvtwalk::Display{}};
    cvtwalk::Sections m_sections;
};

TEST_F(CvtwalkStorageTable, ShowsSizesAndBars) {
    EXPECT_EQ(Shown({{4096, 66053021, 5238844}, {1024, 24684092, 12342046}}),
              "HOST-RESOURCES-MIB.hrStorageTable\n"
              "index  AllocationUnits       Size      Used  Use\n"
              "    1             4096  252.0 GiB  20.0 GiB  [#---------]   8%\n"
              "    2             1024   23.5 GiB  11.8 GiB  [#####-----]  50%\n");
}

TEST_F(CvtwalkStorageTable, ShowsNoBarAndNoNonsenseForWrappedAndEmptyOnes) {
    EXPECT_EQ(Shown({{1024, -1, 14892}, {4096, 0, 0}, {0, 0, 0}, {4096, -2147483647, -7}, {4096, 1000, 2000}}),
              "HOST-RESOURCES-MIB.hrStorageTable\n"
              "index  AllocationUnits     Size      Used  Use\n"
              "    1             1024        ?  14.5 MiB\n"
              "    2             4096      0 B       0 B\n"
              "    3                0      0 B       0 B\n"
              "    4             4096        ?         ?\n"
              "    5             4096  3.9 MiB   7.8 MiB\n");
}

TEST_F(CvtwalkStorageTable, ShowsNumbersWhereColumnsAreMissing) {
    Number(5, 1, 1000);
    Number(6, 1, 500);
    EXPECT_EQ(End(), "HOST-RESOURCES-MIB.hrStorageTable\nindex  Size  Used\n    1  1000   500\n");
}

TEST_F(CvtwalkStorageTable, ShowsWhatItHasOfARowThatCameInBetween) {
    Number(4, 1, 4096);
    Number(5, 1, 1024);
    Number(5, 2, 1024);
    Number(6, 1, 256);
    Number(6, 2, 512);
    EXPECT_EQ(End(),
              "HOST-RESOURCES-MIB.hrStorageTable\n"
              "index  AllocationUnits     Size     Used  Use\n"
              "    1             4096  4.0 MiB  1.0 MiB  [###-------]  25%\n"
              "    2                -     1024      512  [#####-----]  50%\n");
}

}  // namespace
