#include "agent/cvtwalk/data/Selection.h"

#include <gmock/gmock.h>

#include "agent/cvtwalk/data/ObjectNames.h"
#include "groups/storage/DHrStorageTable.h"
#include "tests/support/WalkedGroups.h"

namespace {

using cvtwalk::Section;
using cvtwalk::Sections;
using cvtwalk::Selection;
using testing::ElementsAre;

/// Rows of the test's table, each with a size and a name.
class CvtwalkSelection : public testing::Test {
protected:
    void Row(unsigned int index, std::optional<int> size, const char* name) {
        if (size) {
            CVT::BVarBind instance;
            instance.type = CVT::kInteger;
            instance.integer = *size;
            Add(1, index, instance);
        }
        CVT::BVarBind instance;
        instance.type = CVT::kOctetString;
        instance.octets.Assign(name);
        Add(2, index, instance);
    }
    /// The names in the order of the rows.
    std::vector<std::string> Names(const Selection& selection) {
        std::string error;
        EXPECT_TRUE(selection.Apply(m_sections, error)) << error;
        std::vector<std::string> names;
        for (const Section::Row& row : Table().Rows()) {
            names.push_back(Table().TextAt(row, *Table().Find("thingName")));
        }
        return names;
    }
    std::string Refused(const Selection& selection) {
        std::string error;
        EXPECT_FALSE(selection.Apply(m_sections, error));
        return error;
    }
    Section& Table() { return m_sections.All().front(); }

private:
    void Add(unsigned int column, unsigned int index, const CVT::BVarBind& instance) {
        m_sections.Add(instance,
                       cvtwalk::ServedObject(m_groups.table, *m_groups.table.GetIMibInfo()->FindColumn(column),
                                             CVT::BObjectIdentifier(index)));
    }

    WalkedGroups m_groups;
    Sections m_sections;
};

TEST_F(CvtwalkSelection, SortsNumbersAsNumbersAndTextsWithoutRegardToCase) {
    Row(1, 100, "b");
    Row(2, 20, "C");
    Row(3, 3, "a");
    EXPECT_THAT(Names({.sort = "size"}), ElementsAre("a", "C", "b"));
    EXPECT_THAT(Names({.sort = "thingName"}), ElementsAre("a", "b", "C"));
    EXPECT_THAT(Names({.sort = "Name", .reverse = true}), ElementsAre("C", "b", "a"));
    EXPECT_THAT(Names({.sort = "index"}), ElementsAre("C", "b", "a")) << "index leaves the order as it is";
}

TEST_F(CvtwalkSelection, KeepsRowsWithoutAValueLastBothWays) {
    Row(1, std::nullopt, "none");
    Row(2, 2, "two");
    Row(3, -7, "minus");
    EXPECT_THAT(Names({.sort = "size"}), ElementsAre("minus", "two", "none"));
    EXPECT_THAT(Names({.sort = "size", .reverse = true}), ElementsAre("two", "minus", "none"));
}

TEST_F(CvtwalkSelection, KeepsTheOrderOfRowsThatAreEqualAndTurnsTheIndexRound) {
    Row(1, 5, "a");
    Row(2, 5, "b");
    Row(3, 5, "c");
    EXPECT_THAT(Names({.sort = "size", .reverse = true}), ElementsAre("a", "b", "c"));
    EXPECT_THAT(Names({.reverse = true}), ElementsAre("c", "b", "a"));
}

TEST_F(CvtwalkSelection, FiltersByWhatACellContains) {
    Row(10, 1, "Apple pie");
    Row(20, 2, "apple");
    Row(31, 3, "pear");
    EXPECT_THAT(Names({.filters = {{"name", "APPLE"}}}), ElementsAre("Apple pie", "apple"));
    EXPECT_THAT(Names({.filters = {{"name", "apple"}, {"size", "2"}}}), ElementsAre("apple"));
    EXPECT_THAT(Names({.filters = {{"index", "31"}}}), ElementsAre());
}

TEST_F(CvtwalkSelection, LimitsRowsAfterTheyAreSortedAndSaysOfHowMany) {
    Row(1, 1, "a");
    Row(2, 9, "b");
    Row(3, 5, "c");
    EXPECT_THAT(Names({.sort = "size", .reverse = true, .limit = 2}), ElementsAre("b", "c"));
    EXPECT_THAT(Table().notes, ElementsAre("2 of 3 rows"));
    EXPECT_THAT(Names({.limit = 2}), ElementsAre("b", "c"));
    EXPECT_THAT(Table().notes, testing::SizeIs(1)) << "nothing was left out this time";
}

TEST_F(CvtwalkSelection, BringsColumnsIntoTheOrderAskedForAndHidesTheOthers) {
    Row(1, 1, "a");
    EXPECT_THAT(Names({.columns = {"NAME"}}), ElementsAre("a"));
    EXPECT_EQ(Table().Columns()[0].name, "thingName");
    EXPECT_FALSE(Table().Columns()[0].hidden);
    EXPECT_TRUE(Table().Columns()[1].hidden);
}

TEST_F(CvtwalkSelection, NamesTheColumnThatNobodyHas) {
    Row(1, 1, "a");
    EXPECT_EQ(Refused({.sort = "nme"}), "no column is called 'nme'; near it: Name");
    EXPECT_EQ(Refused({.columns = {"size", "nam"}}), "no column is called 'nam'; near it: Name");
    EXPECT_EQ(Refused({.filters = {{"x", "y"}}}), "no column is called 'x'; there are Size, Name");
}

/// Rows of hrStorageTable: unit, size, used.
class CvtwalkAmountSelection : public testing::Test {
protected:
    void Row(unsigned int index, int units, int size, int used) {
        unsigned int column = 4;
        for (const int value : {units, size, used}) {
            CVT::BVarBind instance;
            instance.type = CVT::kInteger;
            instance.integer = value;
            m_sections.Add(instance, cvtwalk::ServedObject(m_table, *m_table.GetIMibInfo()->FindColumn(column++),
                                                           CVT::BObjectIdentifier(index)));
        }
    }
    std::vector<unsigned int> Indexes(const Selection& selection) {
        m_sections.DeriveUse();
        std::string error;
        EXPECT_TRUE(selection.Apply(m_sections, error)) << error;
        std::vector<unsigned int> indexes;
        for (const Section::Row& row : m_sections.All().front().Rows()) {
            indexes.push_back(row.index[0]);
        }
        return indexes;
    }

    DHrStorageTable m_table{nullptr};
    Sections m_sections;
};

TEST_F(CvtwalkAmountSelection, ComparesAmountsByTheirOctetsAndTrustsNoneThatWrapped) {
    Row(1, 1024, 1000, 10);
    Row(2, 4096, 500, 400);
    Row(3, 4096, -5, 1);
    EXPECT_THAT(Indexes({.sort = "size"}), ElementsAre(1, 2, 3));
    EXPECT_THAT(Indexes({.sort = "size", .reverse = true}), ElementsAre(2, 1, 3));
    EXPECT_THAT(Indexes({.sort = "use", .reverse = true}), ElementsAre(2, 1, 3));
}

TEST_F(CvtwalkAmountSelection, FoldsWhatHasNoSizeIntoOneNote) {
    Row(1, 4096, 0, 0);
    Row(2, 4096, 10, 5);
    Row(3, 4096, 0, 0);
    EXPECT_THAT(Indexes({.fold = true}), ElementsAre(2));
    EXPECT_THAT(m_sections.All().front().notes, ElementsAre("2 without size: --all"));
}

}  // namespace
