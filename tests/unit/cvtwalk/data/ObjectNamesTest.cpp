#include "agent/cvtwalk/data/ObjectNames.h"

#include <gtest/gtest.h>

#include "tests/support/WalkedGroups.h"

namespace {

class CvtwalkObjectNames : public testing::Test {
protected:
    /// Dotted text, or the error.
    std::string Resolve(std::string_view text) const {
        std::string error;
        const auto oid = names.Resolve(text, error);
        EXPECT_EQ(oid.has_value(), error.empty());
        return oid ? oid->ToString().c_str() : error;
    }

    static CVT::BObjectIdentifier Oid(const char* text) { return CVT::BObjectIdentifier(CVT::BString(text)); }

    WalkedGroups groups;
    cvtwalk::ObjectNames names{groups.engine};
};

TEST_F(CvtwalkObjectNames, TakeAnOidAsItIs) {
    EXPECT_EQ(Resolve("1.3.6.1.2"), "1.3.6.1.2");
    EXPECT_EQ(Resolve(".1.3"), "1.3");
    EXPECT_EQ(Resolve("1"), "1");
}

TEST_F(CvtwalkObjectNames, KnowGroupsTablesEntriesAndColumns) {
    EXPECT_EQ(Resolve("things"), "1.3.1");
    EXPECT_EQ(Resolve("thingText"), "1.3.1.3");
    EXPECT_EQ(Resolve("thingTable"), "1.3.1.4");
    EXPECT_EQ(Resolve("thingEntry"), "1.3.1.4.1");
    EXPECT_EQ(Resolve("thingName"), "1.3.1.4.1.2");
}

TEST_F(CvtwalkObjectNames, TakeAModulesNameBeforeAndAnInstanceBehind) {
    EXPECT_EQ(Resolve("A-MIB.things"), "1.3.1");
    EXPECT_EQ(Resolve("A-MIB::thingText.0"), "1.3.1.3.0");
    EXPECT_EQ(Resolve(".A-MIB.thingName.3.4294967295"), "1.3.1.4.1.2.3.4294967295");
    EXPECT_EQ(Resolve("thingTable.1.2"), "1.3.1.4.1.2");
}

TEST_F(CvtwalkObjectNames, SayWhichNamesAreNearAnUnknownOne) {
    EXPECT_EQ(Resolve("thingTxt"), "no object is called 'thingTxt'; near it: thingText");
    EXPECT_EQ(Resolve("A-MIB.thingTxt"), "no object is called 'A-MIB.thingTxt'; near it: thingText");
    EXPECT_EQ(Resolve("B-MIB.thingText"), "no object is called 'B-MIB.thingText'; near it: thingText");
    EXPECT_EQ(Resolve("thingText.x"), "no object is called 'thingText.x'; near it: thingText");
    EXPECT_EQ(Resolve("zzzz"), "no object is called 'zzzz'");
}

TEST_F(CvtwalkObjectNames, RefuseWhatIsNeitherOidNorName) {
    for (const char* const bad :
         {"", ".", "..1", "1..3", "1.3.", "1.3.x", "4294967296", "-1", "a.b.c", "things.", "::"}) {
        EXPECT_EQ(Resolve(bad), "'" + std::string(bad) + "' is neither an object identifier nor an object name");
    }
}

TEST_F(CvtwalkObjectNames, RefuseAnInstanceThatIsNotNumbers) {
    EXPECT_EQ(Resolve("thingText.0x"), "'0x' after thingText is not an instance: write numbers with dots between them");
    EXPECT_EQ(Resolve("thingText.1..2"),
              "'1..2' after thingText is not an instance: write numbers with dots between them");
}

TEST_F(CvtwalkObjectNames, RefuseAnInstanceThatMakesTheNameTooLong) {
    std::string text = "thingText";
    for (int i = 0; i < 125; ++i) {
        text += ".1";
    }
    EXPECT_EQ(Resolve(text), "'" + text + "' has more than 128 arcs");
}

TEST_F(CvtwalkObjectNames, FindTheInnermostObjectOfAnInstance) {
    const cvtwalk::ServedObject scalar = names.ObjectOf(Oid("1.3.1.2.0"));
    EXPECT_EQ(scalar.Group(), &groups.scalars);
    EXPECT_EQ(scalar.Name(), "thingDate");
    EXPECT_EQ(scalar.SubId(), 2U);
    EXPECT_EQ(scalar.Index(), Oid("0"));
    EXPECT_FALSE(scalar.IsInTable());
    EXPECT_TRUE(scalar.HoldsDates());

    const cvtwalk::ServedObject cell = names.ObjectOf(Oid("1.3.1.4.1.2.7.8"));
    EXPECT_EQ(cell.Group(), &groups.table);
    EXPECT_EQ(cell.Name(), "thingName");
    EXPECT_EQ(cell.Index(), Oid("7.8"));
    EXPECT_TRUE(cell.IsInTable());
    EXPECT_FALSE(cell.HoldsDates());
}

TEST_F(CvtwalkObjectNames, TellWhereColumnsAreServed) {
    for (const char* const served : {"1", "1.3.1", "1.3.1.3", "1.3.1.4", "1.3.1.4.1", "1.3.1.4.1.2"}) {
        EXPECT_TRUE(names.IsServedUnder(Oid(served))) << served;
    }
    EXPECT_TRUE(names.IsServedUnder(CVT::BObjectIdentifier()));
    for (const char* const nobodys : {"1.2", "1.3.1.3.0", "1.3.1.9", "1.3.1.4.1.3", "1.3.1.4.1.2.1", "2"}) {
        EXPECT_FALSE(names.IsServedUnder(Oid(nobodys))) << nobodys;
    }
}

TEST_F(CvtwalkObjectNames, KnowNoBranchUnderWhichNothingIsServed) {
    EXPECT_EQ(Resolve("hrDevice"), "no object is called 'hrDevice'");
}

TEST_F(CvtwalkObjectNames, FindNoObjectForWhatNobodyServes) {
    for (const char* const nobodys : {"1.2", "1.3.1", "1.3.1.9.0", "1.3.2.1.0", "1.3.1.4.1.3.1"}) {
        EXPECT_EQ(names.ObjectOf(Oid(nobodys)).Group(), nullptr) << nobodys;
        EXPECT_EQ(names.ObjectOf(Oid(nobodys)).Name(), "") << nobodys;
    }
}

}  // namespace
