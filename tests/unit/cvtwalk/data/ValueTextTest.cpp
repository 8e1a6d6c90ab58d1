#include "agent/cvtwalk/data/ValueText.h"

#include <gtest/gtest.h>

#include "tests/support/WalkedGroups.h"

namespace {

using cvtwalk::ServedObject;
using cvtwalk::ValueText;

class CvtwalkValueText : public testing::Test {
protected:
    ServedObject Object(unsigned int subId) {
        return {groups.scalars, *groups.scalars.GetIMibInfo()->FindColumn(subId), CVT::BObjectIdentifier(0U)};
    }
    static CVT::BVarBind Integer(int value) {
        CVT::BVarBind varBind;
        varBind.type = CVT::kInteger;
        varBind.integer = value;
        return varBind;
    }
    static CVT::BVarBind Number(CVT::ESnmpType type, unsigned int value) {
        CVT::BVarBind varBind;
        varBind.type = type;
        varBind.number = value;
        return varBind;
    }
    static CVT::BVarBind Octets(std::string_view value) {
        CVT::BVarBind varBind;
        varBind.type = CVT::kOctetString;
        varBind.octets.Assign(value);
        return varBind;
    }
    static std::string Typed(const CVT::BVarBind& value, const ServedObject& object = {}) {
        return ValueText(value, object).Typed();
    }
    static std::string Bare(const CVT::BVarBind& value, const ServedObject& object = {}) {
        return ValueText(value, object).Bare();
    }
    static std::string Json(const CVT::BVarBind& value, const ServedObject& object = {}) {
        return ValueText(value, object).JsonMembers();
    }

    WalkedGroups groups;
    const ServedObject state = Object(1);
    const ServedObject date = Object(2);
    const ServedObject text = Object(3);
};

TEST_F(CvtwalkValueText, ShowsIntegersWithTheNamesOfEnumeratedValues) {
    EXPECT_EQ(Typed(Integer(-5), text), "INTEGER: -5");
    EXPECT_EQ(Typed(Integer(2), state), "INTEGER: running(2)");
    EXPECT_EQ(Typed(Integer(3), state), "INTEGER: 3");
    EXPECT_EQ(Bare(Integer(2), state), "running");
    EXPECT_EQ(Bare(Integer(3), state), "3");
    EXPECT_EQ(Json(Integer(2), state), R"("type":"INTEGER","value":2,"enum":"running")");
    EXPECT_EQ(Json(Integer(-2147483647 - 1)), R"("type":"INTEGER","value":-2147483648)");
}

TEST_F(CvtwalkValueText, ShowsUnsignedNumbersUpToTheLargest) {
    EXPECT_EQ(Typed(Number(CVT::kCounter32, 4294967295U)), "Counter32: 4294967295");
    EXPECT_EQ(Typed(Number(CVT::kGauge32, 0)), "Gauge32: 0");
    EXPECT_EQ(Bare(Number(CVT::kGauge32, 7)), "7");
    EXPECT_EQ(Json(Number(CVT::kCounter32, 4294967295U)), R"("type":"Counter32","value":4294967295)");
    EXPECT_EQ(Json(Number(CVT::kGauge32, 7)), R"("type":"Gauge32","value":7)");
}

TEST_F(CvtwalkValueText, ShowsTimeTicksAsDaysHoursMinutesAndSeconds) {
    EXPECT_EQ(Typed(Number(CVT::kTimeTicks, 0)), "Timeticks: (0) 0:00:00.00");
    EXPECT_EQ(Typed(Number(CVT::kTimeTicks, 1234567)), "Timeticks: (1234567) 3:25:45.67");
    EXPECT_EQ(Typed(Number(CVT::kTimeTicks, 8640000)), "Timeticks: (8640000) 1 day, 0:00:00.00");
    EXPECT_EQ(Typed(Number(CVT::kTimeTicks, 4294967295U)), "Timeticks: (4294967295) 497 days, 2:27:52.95");
    EXPECT_EQ(Bare(Number(CVT::kTimeTicks, 1234567)), "3:25:45.67");
    EXPECT_EQ(Json(Number(CVT::kTimeTicks, 1234567)), R"("type":"TimeTicks","value":1234567)");
}

TEST_F(CvtwalkValueText, ShowsObjectIdentifiersAndTheEmptyOneAsNought) {
    CVT::BVarBind value;
    value.type = CVT::kObjectIdentifier;
    EXPECT_EQ(Typed(value), "OID: 0.0");
    EXPECT_EQ(Json(value), R"("type":"OBJECT IDENTIFIER","value":"0.0")");
    value.identifier.AssignFromDottedDecimalStr("1.3.6");
    EXPECT_EQ(Typed(value), "OID: 1.3.6");
    EXPECT_EQ(Bare(value), "1.3.6");
}

TEST_F(CvtwalkValueText, ShowsPrintableOctetsAsTextAndOthersInHexadecimal) {
    EXPECT_EQ(Typed(Octets(""), text), R"(STRING: "")");
    EXPECT_EQ(Typed(Octets("caf\xC3\xA9"), text), "STRING: \"caf\xC3\xA9\"");
    EXPECT_EQ(Typed(Octets(R"(a "quoted" \ text)"), text), R"(STRING: "a \"quoted\" \\ text")");
    EXPECT_EQ(Typed(Octets(std::string_view("\0\x01", 2)), text), "Hex-STRING: 00 01");
    EXPECT_EQ(Typed(Octets("\x1B[31m"), text), "Hex-STRING: 1B 5B 33 31 6D");
    EXPECT_EQ(Typed(Octets("caf\xE9"), text), "Hex-STRING: 63 61 66 E9");
    EXPECT_EQ(Bare(Octets(R"(a "b")"), text), R"(a "b")");
    EXPECT_EQ(Bare(Octets("a\x0B"), text), "61 0B");
}

TEST_F(CvtwalkValueText, WritesTheEndsOfLinesAndTabsInTextAsLetters) {
    EXPECT_EQ(Typed(Octets("quiet splash\n"), text), R"(STRING: "quiet splash\n")");
    EXPECT_EQ(Typed(Octets("a\tb\r\n"), text), R"(STRING: "a\tb\r\n")");
    EXPECT_EQ(Typed(Octets(R"(a\n)"), text), R"(STRING: "a\\n")") << "a backslash of the value's own";
    EXPECT_EQ(Bare(Octets("a\n"), text), R"(a\n)");
    EXPECT_EQ(Typed(Octets("\n"), text), "Hex-STRING: 0A") << "no text at all";
    EXPECT_EQ(Typed(Octets("a\n\x07"), text), "Hex-STRING: 61 0A 07");
}

TEST_F(CvtwalkValueText, GivesTheOctetsBesideJsonTextThatCouldNotHoldThem) {
    EXPECT_EQ(Json(Octets("a\nb"), text), R"("type":"OCTET STRING","value":"a\nb")");
    EXPECT_EQ(Json(Octets("caf\xE9"), text),
              "\"type\":\"OCTET STRING\",\"value\":\"caf\xEF\xBF\xBD\",\"hex\":\"636166E9\"");
}

TEST_F(CvtwalkValueText, ShowsDatesByTheConventionOfTheirColumn) {
    CVT::BVarBind value = Octets("");
    value.octets.AssignFromHexString("07E8030A171E00002D0200");
    EXPECT_EQ(Typed(value, date), "STRING: 2024-3-10,23:30:0.0,-2:0");
    EXPECT_EQ(Bare(value, date), "2024-3-10,23:30:0.0,-2:0");
    EXPECT_EQ(Json(value, date),
              R"("type":"OCTET STRING","value":"2024-03-10T23:30:00.000-02:00","hex":"07E8030A171E00002D0200")");
    EXPECT_EQ(Typed(value, text), "Hex-STRING: 07 E8 03 0A 17 1E 00 00 2D 02 00");
    EXPECT_EQ(Typed(Octets("soon"), date), R"(STRING: "soon")") << "no date at all";
    EXPECT_EQ(Json(Octets("soon"), date), R"("type":"OCTET STRING","value":"soon")");
}

TEST_F(CvtwalkValueText, HasWordsForWhatIsNoValue) {
    EXPECT_EQ(Typed(Number(CVT::kNoSuchInstance, 0)), "No Such Instance currently exists");
    EXPECT_EQ(Json(Number(CVT::kNull, 0)), R"("type":"NULL","value":null)");
    EXPECT_EQ(Typed(Number(static_cast<CVT::ESnmpType>(0x40), 0)), "unknown type 64");
}

TEST_F(CvtwalkValueText, SetsNumbersApartFromNames) {
    EXPECT_TRUE(ValueText(Integer(3), state).IsNumber());
    EXPECT_FALSE(ValueText(Integer(2), state).IsNumber());
    EXPECT_TRUE(ValueText(Number(CVT::kTimeTicks, 3), text).IsNumber());
    EXPECT_FALSE(ValueText(Octets("3"), text).IsNumber());
}

}  // namespace
