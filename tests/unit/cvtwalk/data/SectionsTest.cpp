#include "agent/cvtwalk/data/Sections.h"

#include <gmock/gmock.h>

#include "agent/cvtwalk/data/CellText.h"
#include "groups/hardware/DHrProcessorTable.h"
#include "groups/software/DHrSWRunPerfTable.h"
#include "groups/software/DHrSWRunTable.h"

namespace {

namespace CellText = cvtwalk::CellText;
using cvtwalk::Section;
using cvtwalk::Sections;

class CvtwalkSections : public testing::Test {
protected:
    void Integer(CVT::BMibImpl& group, unsigned int column, unsigned int index, int value) {
        CVT::BVarBind instance;
        instance.type = CVT::kInteger;
        instance.integer = value;
        Add(group, column, index, instance);
    }
    void Text(CVT::BMibImpl& group, unsigned int column, unsigned int index, const char* value) {
        CVT::BVarBind instance;
        instance.type = CVT::kOctetString;
        instance.octets.Assign(value);
        Add(group, column, index, instance);
    }

    DHrSWRunTable m_processes{nullptr};
    DHrSWRunPerfTable m_use{m_processes};
    DHrProcessorTable m_processors{nullptr};
    Sections m_sections;

private:
    void Add(CVT::BMibImpl& group, unsigned int column, unsigned int index, const CVT::BVarBind& instance) {
        m_sections.Add(instance, cvtwalk::ServedObject(group, *group.GetIMibInfo()->FindColumn(column),
                                                       CVT::BObjectIdentifier(index)));
    }
};

TEST_F(CvtwalkSections, JoinProcessesWithWhatTheyUseByIndex) {
    Text(m_processes, 2, 1, "init");
    Text(m_processes, 2, 7, "gone");
    Text(m_processes, 2, 9, "cron");
    Integer(m_use, 1, 1, 250);
    Integer(m_use, 1, 8, 1);
    Integer(m_use, 1, 9, 3);
    m_sections.Join();
    ASSERT_EQ(m_sections.All().size(), 1U);
    const Section& section = m_sections.All().front();
    ASSERT_EQ(section.Rows().size(), 3U);
    ASSERT_EQ(section.Columns().size(), 2U);
    EXPECT_EQ(section.ShortName(section.Columns()[1]), "CPU");
    EXPECT_EQ(section.TextAt(section.Rows()[0], 1), "250");
    EXPECT_EQ(section.TextAt(section.Rows()[1], 1), "-");
    EXPECT_EQ(section.TextAt(section.Rows()[2], 1), "3");
    EXPECT_STREQ(section.InstanceAt(section.Rows()[2], 1).name.ToString().c_str(), "1.3.6.1.2.1.25.5.1.1.1.9");
}

TEST_F(CvtwalkSections, LeaveATableAloneWhosePartnerIsNotThere) {
    Integer(m_use, 1, 1, 250);
    m_sections.Join();
    ASSERT_EQ(m_sections.All().size(), 1U);
    EXPECT_EQ(m_sections.All().front().Columns().size(), 1U);
}

TEST_F(CvtwalkSections, TakeALoadOfZeroForNotMeasuredUntilTheFirstSampleMustHaveCome) {
    Integer(m_processors, 2, 1, 0);
    Integer(m_processors, 2, 2, 0);
    m_sections.MarkUnmeasured(15.9);
    const Section& section = m_sections.All().front();
    EXPECT_EQ(section.TextAt(section.Rows()[0], 0), "not measured yet");
    EXPECT_FALSE(section.Rows()[1].cells[0]->Number());
}

TEST_F(CvtwalkSections, TrustALoadOfZeroOnceASampleHasCome) {
    Integer(m_processors, 2, 1, 0);
    Integer(m_processors, 2, 2, 40);
    m_sections.MarkUnmeasured(1);
    const Section& section = m_sections.All().front();
    EXPECT_EQ(section.TextAt(section.Rows()[0], 0), "0") << "the other one is measured, so this one is";
    Sections later;
    EXPECT_EQ(CellText::Readable(section, section.Rows()[1], 0), "40%");
}

TEST_F(CvtwalkSections, TrustALoadOfZeroAfterSixteenSeconds) {
    Integer(m_processors, 2, 1, 0);
    m_sections.MarkUnmeasured(16);
    const Section& section = m_sections.All().front();
    EXPECT_EQ(section.TextAt(section.Rows()[0], 0), "0");
}

TEST_F(CvtwalkSections, ShowWhatProcessesUseInUnitsThatPeopleRead) {
    Integer(m_use, 1, 1, 250);
    Integer(m_use, 2, 1, 256);
    const Section& section = m_sections.All().front();
    EXPECT_EQ(CellText::Readable(section, section.Rows()[0], 0), "2.50 s");
    EXPECT_EQ(CellText::Readable(section, section.Rows()[0], 1), "1.0 MiB");
}

TEST_F(CvtwalkSections, KeepRowsInTheOrderOfTheirIndexesHoweverSparseTheColumns) {
    Text(m_processes, 2, 5, "e");
    Text(m_processes, 4, 3, "c");
    Text(m_processes, 4, 5, "e");
    Text(m_processes, 4, 9, "i");
    const Section& section = m_sections.All().front();
    ASSERT_EQ(section.Rows().size(), 3U);
    EXPECT_EQ(section.TextAt(section.Rows()[0], 0), "-");
    EXPECT_EQ(section.TextAt(section.Rows()[1], 0), "e");
    EXPECT_EQ(section.TextAt(section.Rows()[2], 1), "i");
}

}  // namespace
