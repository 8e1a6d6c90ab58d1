// What the toolkit rejects before it calls a group's own check phase.

#include <gtest/gtest.h>

#include <string>

#include "CVT/TextualConventions.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Scalars = SampleScalars;

class SetChecks : public testing::Test {
protected:
    int Check(const BVarBind& offered) {
        void* undo = nullptr;
        return m_group.Set(1, ESnmpSetOpCode::CheckAndSave, &undo, offered);
    }
    int CheckInt(int value) { return Check(Integer("1.3.1.0", value)); }
    int CheckGauge(unsigned int value) { return Check(Number("1.3.2.0", kGauge32, value)); }
    int CheckLength(std::size_t length) { return Check(Octets("1.3.3.0", std::string(length, 'x'))); }

    SampleScalars m_group{"1.3",
                          {Scalars::Int(1), Scalars::Unsigned(2), Scalars::OctetColumn(3), Scalars::OidColumn(4),
                           Scalars::ReadOnly(5), Scalars::TextColumn(6)}};
};

TEST_F(SetChecks, AcceptUnconstrainedValues) {
    EXPECT_EQ(CheckInt(-2147483647 - 1), noError);
    EXPECT_EQ(m_group.answers.setInteger, -2147483647 - 1);
    EXPECT_EQ(CheckGauge(4294967295U), noError);
    EXPECT_EQ(m_group.answers.setNumber, 4294967295U);
    EXPECT_EQ(CheckLength(70000), noError);
    EXPECT_EQ(m_group.answers.setOctets.Length(), 70000U);
    EXPECT_EQ(Check(Identifier("1.3.4.0", "1.2.3")), noError);
    EXPECT_EQ(m_group.answers.setIdentifier, Oid("1.2.3"));
    EXPECT_EQ(Check(Octets("1.3.6.0", "text")), noError);
    EXPECT_EQ(m_group.answers.setOctets.View(), "text");
}

TEST_F(SetChecks, RejectAReadOnlyOrUnservedColumnAsNotWritable) {
    EXPECT_EQ(Check(Integer("1.3.5.0", 1)), notWritable);
    EXPECT_EQ(Check(Octets("1.3.5.7", "of any type, at any instance")), notWritable);
    EXPECT_EQ(Check(Integer("1.3.9.0", 1)), notWritable);
    EXPECT_EQ(Check(Integer("1.3", 1)), notWritable);
    EXPECT_EQ(Check(Integer("1.4.1.0", 1)), notWritable);
    EXPECT_TRUE(m_group.answers.phases.empty());
}

TEST_F(SetChecks, RejectAnInstanceOtherThanZeroAsNoCreation) {
    EXPECT_EQ(Check(Integer("1.3.1.1", 1)), noCreation);
    EXPECT_EQ(Check(Integer("1.3.1", 1)), noCreation);
    EXPECT_EQ(Check(Integer("1.3.1.0.0", 1)), noCreation);
    EXPECT_TRUE(m_group.answers.phases.empty());
}

TEST_F(SetChecks, RejectEveryOtherTypeAsWrongType) {
    const BVarBind offers[] = {Integer("1.3.1.0", 1),
                               Octets("1.3.1.0", "1"),
                               Identifier("1.3.1.0", "1.3"),
                               Number("1.3.1.0", kCounter32, 1),
                               Number("1.3.1.0", kGauge32, 1),
                               Number("1.3.1.0", kTimeTicks, 1),
                               Named("1.3.1.0")};
    const unsigned int columns[] = {1, 2, 3, 4};
    const ESnmpType types[] = {kInteger, kGauge32, kOctetString, kObjectIdentifier};
    for (std::size_t i = 0; i < std::size(columns); ++i) {
        for (BVarBind offer : offers) {
            offer.name = Oid("1.3");
            EXPECT_TRUE(offer.name.Append(columns[i]));
            EXPECT_TRUE(offer.name.Append(0U));
            EXPECT_EQ(Check(offer), offer.type == types[i] ? noError : wrongType) << "column " << columns[i];
        }
    }
    EXPECT_EQ(m_group.answers.phases.size(), 4U);
}

TEST_F(SetChecks, ReturnTheFirstOfSeveralErrors) {
    m_group.Constrain({{kRange, 1, nullptr, 0, 9}, {kRange, 3, nullptr, 0, 2}});
    EXPECT_EQ(Check(Octets("1.3.5.1", "too long")), notWritable);
    EXPECT_EQ(Check(Octets("1.3.1.1", "10")), wrongType);
    EXPECT_EQ(Check(Octets("1.3.3.1", "too long")), wrongLength);
    EXPECT_EQ(Check(Integer("1.3.1.1", 10)), wrongValue);
    EXPECT_EQ(Check(Integer("1.3.1.1", 9)), noCreation);
}

TEST_F(SetChecks, BoundNumbersByARange) {
    m_group.Constrain({{kRange, 1, nullptr, -5, 5}, {kRange, 2, nullptr, 1, 2147483647}});
    EXPECT_EQ(CheckInt(-6), wrongValue);
    EXPECT_EQ(CheckInt(-5), noError);
    EXPECT_EQ(CheckInt(5), noError);
    EXPECT_EQ(CheckInt(6), wrongValue);
    EXPECT_EQ(CheckGauge(0), wrongValue);
    EXPECT_EQ(CheckGauge(1), noError);
    EXPECT_EQ(CheckGauge(2147483647U), noError);
    EXPECT_EQ(CheckGauge(2147483648U), wrongValue);
    EXPECT_EQ(CheckGauge(4294967295U), wrongValue);
}

TEST_F(SetChecks, BoundTheLengthOfAnOctetStringByARange) {
    m_group.Constrain({{kRange, 3, nullptr, 2, 4}, {kRange, 4, nullptr, 2, 4}});
    EXPECT_EQ(CheckLength(1), wrongLength);
    EXPECT_EQ(CheckLength(2), noError);
    EXPECT_EQ(CheckLength(4), noError);
    EXPECT_EQ(CheckLength(5), wrongLength);
    EXPECT_EQ(Check(Identifier("1.3.4.0", "1.2.3.4.5.6")), noError);
}

TEST_F(SetChecks, AcceptOnlyTheValuesOfAnEnumeration) {
    m_group.Constrain({{kEnumeration, 1, nullptr, 0, 0},
                       {kEnumValue, 0, "one", 1, 0},
                       {kEnumValue, 0, "three", 3, 0},
                       {kEnumValue, 0, "less", -1, 0},
                       {kEnumeration, 2, nullptr, 0, 0},
                       {kEnumValue, 0, "two", 2, 0}});
    for (const int good : {1, 3, -1}) {
        EXPECT_EQ(CheckInt(good), noError) << good;
    }
    for (const int bad : {0, 2, 4, -2, 2147483647}) {
        EXPECT_EQ(CheckInt(bad), wrongValue) << bad;
    }
    EXPECT_EQ(CheckGauge(2), noError);
    EXPECT_EQ(CheckGauge(4294967295U), wrongValue);  // not -1
}

TEST_F(SetChecks, AcceptOnlyTruthValues) {
    m_group.Constrain({{kEnumConvention, 1, cszTruthValue, 0, 0}});
    EXPECT_EQ(CheckInt(0), wrongValue);
    EXPECT_EQ(CheckInt(1), noError);
    EXPECT_EQ(CheckInt(2), noError);
    EXPECT_EQ(CheckInt(3), wrongValue);
    EXPECT_EQ(CheckInt(-1), wrongValue);
}

TEST_F(SetChecks, RejectAnInvalidDateAndTimeAsWrongValue) {
    m_group.Constrain({{kConvention, 3, cszDateAndTime, 0, 0}});
    for (const std::size_t bad : {0U, 1U, 7U, 12U, 255U, 70000U}) {
        EXPECT_EQ(CheckLength(bad), wrongValue) << bad;
    }
    for (const std::size_t good : {8U, 9U, 10U, 11U}) {
        EXPECT_EQ(CheckLength(good), noError) << good;
    }
}

TEST_F(SetChecks, BoundADisplayString) {
    m_group.Constrain({{kConvention, 3, cszDisplayString, 0, 0}});
    EXPECT_EQ(CheckLength(0), noError);
    EXPECT_EQ(CheckLength(255), noError);
    EXPECT_EQ(CheckLength(256), wrongLength);
}

TEST_F(SetChecks, NarrowAConventionByTheColumnsOwnMaximum) {
    m_group.Constrain({{kConvention, 3, cszDisplayString, 0, 8}});
    EXPECT_EQ(CheckLength(8), noError);
    EXPECT_EQ(CheckLength(9), wrongLength);
    m_group.Constrain({{kConvention, 3, cszDisplayString, 0, 300}});
    EXPECT_EQ(CheckLength(255), noError);
    EXPECT_EQ(CheckLength(256), wrongLength);
    m_group.Constrain({{kConvention, 3, "of nobody", 0, 4}});
    EXPECT_EQ(CheckLength(4), noError);
    EXPECT_EQ(CheckLength(5), wrongLength);
}

TEST_F(SetChecks, CheckAnUnknownConventionByItsTypeAlone) {
    m_group.Constrain({{kConvention, 1, "of nobody", 0, 0}, {kConvention, 3, nullptr, 0, 0}});
    EXPECT_EQ(CheckInt(-77), noError);
    EXPECT_EQ(CheckLength(5000), noError);
    EXPECT_EQ(Check(Octets("1.3.1.0", "1")), wrongType);
}

TEST_F(SetChecks, UseTheConventionsOfTheModule) {
    const BConstraintEntry conventions[] = {
        {kRange, 0, "Wide", 0, 128}, {kRange, 0, "Count", 0, 2147483647}, {kRange, 0, nullptr, 5, 5}, {}};
    m_group.SetModuleConventions(conventions);
    m_group.Constrain(
        {{kConvention, 1, "Count", 0, 0}, {kConvention, 3, "Wide", 0, 0}, {kConvention, 2, "Count", 0, 0}});
    EXPECT_EQ(CheckInt(-1), wrongValue);
    EXPECT_EQ(CheckInt(0), noError);
    EXPECT_EQ(CheckInt(2147483647), noError);
    EXPECT_EQ(CheckGauge(2147483648U), wrongValue);
    EXPECT_EQ(CheckLength(128), noError);
    EXPECT_EQ(CheckLength(129), wrongLength);
}

TEST_F(SetChecks, PreferTheModulesConventionToTheToolkitsOwn) {
    const BConstraintEntry conventions[] = {{kRange, 0, "DisplayString", 0, 3}, {}};
    m_group.Constrain({{kConvention, 3, cszDisplayString, 0, 0}, {kEnumConvention, 1, cszTruthValue, 0, 0}});
    EXPECT_EQ(CheckLength(4), noError);
    m_group.SetModuleConventions(conventions);
    EXPECT_EQ(CheckLength(3), noError);
    EXPECT_EQ(CheckLength(4), wrongLength);
    EXPECT_EQ(CheckInt(3), wrongValue);
    m_group.SetModuleConventions(nullptr);
    EXPECT_EQ(CheckLength(4), noError);
}

TEST_F(SetChecks, ApplyEveryConstraintOfAColumn) {
    m_group.Constrain({{kRange, 1, nullptr, 0, 10},
                       {kEnumeration, 1, nullptr, 0, 0},
                       {kEnumValue, 0, "three", 3, 0},
                       {kEnumValue, 0, "thirty", 30, 0}});
    EXPECT_EQ(CheckInt(3), noError);
    EXPECT_EQ(CheckInt(4), wrongValue);
    EXPECT_EQ(CheckInt(30), wrongValue);
}

TEST_F(SetChecks, AllowAnIntegerForAnUnsignedHandlerAndANumberForASignedOne) {
    m_group.Serve({Scalars::Unsigned(1, kInteger), Scalars::Int(2, kGauge32)});
    EXPECT_EQ(CheckInt(41), noError);
    EXPECT_EQ(m_group.answers.setNumber, 41U);
    EXPECT_EQ(CheckGauge(43), noError);
    EXPECT_EQ(m_group.answers.setInteger, 43);
}

TEST_F(SetChecks, ReadNothingBeforeASet) {
    SampleTable table("1.4", {SampleTable::Int(1)});
    table.rows = {Oid("1")};
    void* undo = nullptr;
    table.answers.setResult = inconsistentName;
    EXPECT_EQ(table.Set(5, ESnmpSetOpCode::CheckAndSave, &undo, Integer("1.4.1.1.9", 1)), inconsistentName);
    table.answers.setResult = noError;
    EXPECT_EQ(table.Set(5, ESnmpSetOpCode::CheckAndSave, &undo, Integer("1.4.1.1.1", 1)), noError);
    EXPECT_EQ(table.Set(5, ESnmpSetOpCode::Commit, &undo, Integer("1.4.1.1.1", 1)), noError);
    EXPECT_EQ(table.Set(5, ESnmpSetOpCode::CheckAndSave, &undo, Octets("1.4.1.1.1", "")), wrongType);
    EXPECT_EQ(table.Set(5, ESnmpSetOpCode::CheckAndSave, &undo, Integer("1.4.1.2.1", 1)), notWritable);
    EXPECT_EQ(table.answers.phases.size(), 3U);
    EXPECT_EQ(table.answers.gets, 0);
    EXPECT_EQ(table.searches, 0);
    EXPECT_EQ(table.answers.lastRequestId, 5U);
}

}  // namespace
}  // namespace CVT::test
