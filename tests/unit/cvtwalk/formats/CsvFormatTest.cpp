#include "agent/cvtwalk/formats/CsvFormat.h"

#include <gtest/gtest.h>

#include "agent/cvtwalk/data/Sections.h"
#include "tests/support/WalkedGroups.h"

namespace {

using cvtwalk::CsvFormat;

class CvtwalkCsv : public testing::Test {
protected:
    void Integer(CVT::BMibImpl& group, unsigned int column, unsigned int index, int value) {
        CVT::BVarBind instance;
        instance.type = CVT::kInteger;
        instance.integer = value;
        Add(group, column, index, instance);
    }
    void Text(unsigned int index, std::string_view value) {
        CVT::BVarBind instance;
        instance.type = CVT::kOctetString;
        instance.octets.Assign(value);
        Add(m_groups.table, 2, index, instance);
    }
    std::string Written() {
        std::string out;
        for (const cvtwalk::Section& section : m_sections.All()) {
            m_format.Write(section, out);
        }
        return out;
    }

    WalkedGroups m_groups;
    cvtwalk::Sections m_sections;

private:
    void Add(CVT::BMibImpl& group, unsigned int column, unsigned int index, const CVT::BVarBind& instance) {
        m_sections.Add(instance, cvtwalk::ServedObject(group, *group.GetIMibInfo()->FindColumn(column),
                                                       CVT::BObjectIdentifier(index)));
    }

    CsvFormat m_format;
};

TEST_F(CvtwalkCsv, HasALineOfNamesAndOneForEachRow) {
    Integer(m_groups.table, 1, 1, -5);
    Integer(m_groups.table, 1, 20, 7);
    Text(20, "x");
    EXPECT_EQ(Written(), "index,thingSize,thingName\n1,-5,\n20,7,x\n");
}

TEST_F(CvtwalkCsv, QuotesCommasQuotesAndBlanksAtTheEnds) {
    EXPECT_EQ(CsvFormat::Quoted("plain text"), "plain text");
    EXPECT_EQ(CsvFormat::Quoted("a,b"), "\"a,b\"");
    EXPECT_EQ(CsvFormat::Quoted("say \"x\""), "\"say \"\"x\"\"\"");
    EXPECT_EQ(CsvFormat::Quoted(" x"), "\" x\"");
    EXPECT_EQ(CsvFormat::Quoted(""), "");
}

TEST_F(CvtwalkCsv, LetsNoValueEndALineOrReachATerminal) {
    Text(1, "two\nlines");
    Text(2, "\x1B[31mred");
    EXPECT_EQ(Written(), "index,thingName\n1,two\\nlines\n2,1B 5B 33 31 6D 72 65 64\n");
}

TEST_F(CvtwalkCsv, HasABlockForEachGroupAndScalarsInOneLine) {
    Integer(m_groups.scalars, 1, 0, 2);
    Integer(m_groups.table, 1, 1, 3);
    EXPECT_EQ(Written(), "thingState\nrunning\n\nindex,thingSize\n1,3\n");
}

}  // namespace
