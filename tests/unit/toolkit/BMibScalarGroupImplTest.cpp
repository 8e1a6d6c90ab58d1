#include "CVT/BMibScalarGroupImpl.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "CVT/TextualConventions.h"
#include "tests/unit/toolkit/Samples.h"

namespace CVT::test {
namespace {

using Scalars = SampleScalars;

class BMibScalarGroupImplTest : public testing::Test {
protected:
    ESnmpType TypeAt(const char* name) {
        BVarBind varBind = Named(name);
        EXPECT_EQ(m_group.Get(1, varBind), noError);
        return varBind.type;
    }

    SampleScalars m_group{"1.3.9",
                          {Scalars::Int(1), Scalars::Unsigned(2, kTimeTicks), Scalars::OctetColumn(4),
                           Scalars::TextColumn(5), Scalars::OidColumn(6), Scalars::ReadOnly(7)}};
};

TEST_F(BMibScalarGroupImplTest, RegistersItsOwnOidAndKind) {
    EXPECT_EQ(m_group.Oid(), Oid("1.3.9"));
    EXPECT_EQ(m_group.HandlerKind(), 3U);
    EXPECT_EQ(m_group.ToString(), BString("SAMPLE-MIB.scalars (1.3.9)"));
}

TEST_F(BMibScalarGroupImplTest, HandlesNamesInItsSubtree) {
    EXPECT_TRUE(m_group.HandlesInstance(Oid("1.3.9")));
    EXPECT_TRUE(m_group.HandlesInstance(Oid("1.3.9.77.5")));
    EXPECT_FALSE(m_group.HandlesInstance(Oid("1.3")));
    EXPECT_FALSE(m_group.HandlesInstance(Oid("1.3.90")));
}

TEST_F(BMibScalarGroupImplTest, ReadsAValueOfEachKind) {
    BVarBind varBind = Named("1.3.9.1.0");
    m_group.answers.integer = -2147483647 - 1;
    EXPECT_EQ(m_group.Get(77, varBind), noError);
    EXPECT_EQ(varBind.type, kInteger);
    EXPECT_EQ(varBind.integer, -2147483647 - 1);
    EXPECT_EQ(m_group.answers.lastRequestId, 77U);

    varBind = Named("1.3.9.2.0");
    m_group.answers.number = 4294967295U;
    EXPECT_EQ(m_group.Get(1, varBind), noError);
    EXPECT_EQ(varBind.type, kTimeTicks);
    EXPECT_EQ(varBind.number, 4294967295U);

    varBind = Named("1.3.9.5.0");
    m_group.answers.octets.Assign(std::string_view("a\0b", 3));
    EXPECT_EQ(m_group.Get(1, varBind), noError);
    EXPECT_EQ(varBind.type, kOctetString);
    EXPECT_EQ(varBind.octets.View(), std::string_view("a\0b", 3));

    varBind = Named("1.3.9.6.0");
    m_group.answers.identifier = Oid("0.0");
    EXPECT_EQ(m_group.Get(1, varBind), noError);
    EXPECT_EQ(varBind.type, kObjectIdentifier);
    EXPECT_EQ(varBind.identifier, Oid("0.0"));
}

TEST_F(BMibScalarGroupImplTest, DistinguishesAnUnservedColumnFromAnAbsentInstance) {
    EXPECT_EQ(TypeAt("1.3.9.3.0"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9.0.0"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9.4294967295.0"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.10.1.0"), kNoSuchObject);
    EXPECT_EQ(TypeAt("1.3.9.1"), kNoSuchInstance);
    EXPECT_EQ(TypeAt("1.3.9.1.1"), kNoSuchInstance);
    EXPECT_EQ(TypeAt("1.3.9.1.0.0"), kNoSuchInstance);
    EXPECT_EQ(m_group.answers.gets, 0);
    EXPECT_EQ(TypeAt("1.3.9.1.0"), kInteger);
    EXPECT_EQ(m_group.answers.gets, 1);
}

TEST_F(BMibScalarGroupImplTest, TurnsTheResultNoSuchNameIntoNoSuchInstanceExceptInVersionOne) {
    m_group.answers.getResult = noSuchName;
    for (const int version : {kSnmpV2c, kSnmpV3}) {
        BVarBindList list = {Named("1.3.9.1.0")};
        int errorIndex = 9;
        EXPECT_EQ(m_group.Get(1, list, errorIndex, version), noError);
        EXPECT_EQ(list[0].type, kNoSuchInstance);
        EXPECT_EQ(errorIndex, 0);
    }
    BVarBindList list = {Named("1.3.9.1.0")};
    int errorIndex = 9;
    EXPECT_EQ(m_group.Get(1, list, errorIndex, kSnmpV1), noSuchName);
    EXPECT_EQ(errorIndex, 1);
}

TEST_F(BMibScalarGroupImplTest, ReadsAListAndStopsAtTheFirstFailure) {
    BVarBindList list = {Named("1.3.9.1.0"), Named("1.3.9.3.0"), Named("1.3.9.2.0")};
    int errorIndex = 9;
    EXPECT_EQ(m_group.Get(1, list, errorIndex, kSnmpV2c), noError);
    EXPECT_EQ(errorIndex, 0);
    EXPECT_EQ(list[1].type, kNoSuchObject);
    EXPECT_EQ(list[2].type, kTimeTicks);
    EXPECT_EQ(m_group.Get(1, list, errorIndex, kSnmpV1), noSuchName);
    EXPECT_EQ(errorIndex, 2);
}

TEST_F(BMibScalarGroupImplTest, PassesAGroupsOwnErrorOn) {
    m_group.answers.getResult = resourceUnavailable;
    BVarBindList list = {Named("1.3.9.3.0"), Named("1.3.9.1.0")};
    int errorIndex = 0;
    EXPECT_EQ(m_group.Get(1, list, errorIndex, kSnmpV2c), resourceUnavailable);
    EXPECT_EQ(errorIndex, 2);
    BVarBind next = Named("1.3.9");
    EXPECT_EQ(m_group.GetNext(1, next), resourceUnavailable);
    EXPECT_EQ(next.name, Oid("1.3.9"));
}

TEST_F(BMibScalarGroupImplTest, ReturnsGenErrWhenAGetOperationThrows) {
    m_group.answers.inGet = [] { throw std::runtime_error("no"); };
    BVarBind varBind = Named("1.3.9.1.0");
    EXPECT_EQ(m_group.Get(1, varBind), genErr);
    BVarBind next = Named("1.3.9");
    EXPECT_EQ(m_group.GetNext(1, next), genErr);
    m_group.answers.inGet = [] { throw 7; };
    EXPECT_EQ(m_group.Get(1, varBind), genErr);
    m_group.answers.inGet = [] {};
    EXPECT_EQ(m_group.Get(1, varBind), noError);
}

TEST_F(BMibScalarGroupImplTest, ReturnsGenErrWhenAnEntryPairsItsKindWithAnotherHandler) {
    BRqHndlrEntry wrong = Scalars::Int(1);
    wrong.valueKind = kOctetStringValue;
    BRqHndlrEntry unknown = Scalars::Int(2);
    unknown.valueKind = 9;
    BRqHndlrEntry tables = SampleTable::Int(3);
    BRqHndlrEntry none = Scalars::Int(4);
    none.get = {};
    m_group.Serve({wrong, unknown, tables, none});
    for (const char* name : {"1.3.9.1.0", "1.3.9.2.0", "1.3.9.3.0", "1.3.9.4.0"}) {
        BVarBind varBind = Named(name);
        EXPECT_EQ(m_group.Get(1, varBind), genErr) << name;
    }
    void* undo = nullptr;
    EXPECT_EQ(m_group.Set(1, ESnmpSetOpCode::CheckAndSave, &undo, Integer("1.3.9.1.0", 1)), genErr);
    EXPECT_EQ(m_group.Set(1, ESnmpSetOpCode::CheckAndSave, &undo, Integer("1.3.9.2.0", 1)), genErr);
    EXPECT_EQ(m_group.Set(1, ESnmpSetOpCode::CheckAndSave, &undo, Integer("1.3.9.3.0", 1)), genErr);
    EXPECT_EQ(m_group.answers.gets, 0);
    EXPECT_TRUE(m_group.answers.phases.empty());
}

TEST_F(BMibScalarGroupImplTest, ReturnsTheResultOfAGetRegardlessOfConstraints) {
    m_group.Constrain({{kRange, 1, nullptr, 0, 2147483647},
                       {kEnumeration, 2, nullptr, 0, 0},
                       {kEnumValue, 0, "one", 1, 0},
                       {kConvention, 5, cszDisplayString, 0, 8}});
    m_group.answers.integer = -1;
    m_group.answers.number = 99;
    m_group.answers.octets.Assign(std::string(1023, 'x'));
    BVarBindList list = {Named("1.3.9.1.0"), Named("1.3.9.2.0"), Named("1.3.9.5.0")};
    int errorIndex = 0;
    EXPECT_EQ(m_group.Get(1, list, errorIndex, kSnmpV2c), noError);
    EXPECT_EQ(list[0].integer, -1);
    EXPECT_EQ(list[1].number, 99U);
    EXPECT_EQ(list[2].octets.Length(), 1023U);
}

TEST_F(BMibScalarGroupImplTest, AdvancesEveryVarbindOfAList) {
    BVarBindList list = {Named("1"), Named("1.3.9.6.0"), Named("1.3.9.7.0"), Named("1.3.9.1")};
    int errorIndex = 9;
    EXPECT_EQ(m_group.GetNext(1, list, errorIndex, kSnmpV2c), noError);
    EXPECT_EQ(errorIndex, 0);
    EXPECT_EQ(list[0].name, Oid("1.3.9.1.0"));
    EXPECT_EQ(list[1].name, Oid("1.3.9.7.0"));
    EXPECT_EQ(list[2].name, Oid("1.3.9.7.0"));
    EXPECT_EQ(list[2].type, kEndOfMibView);
    EXPECT_EQ(list[3].name, Oid("1.3.9.1.0"));
}

TEST_F(BMibScalarGroupImplTest, EndsAWalkInVersionOneWithNoSuchName) {
    BVarBindList list = {Named("1"), Named("1.3.9.7.0")};
    int errorIndex = 9;
    EXPECT_EQ(m_group.GetNext(1, list, errorIndex, kSnmpV1), noSuchName);
    EXPECT_EQ(errorIndex, 2);
    BVarBind end = Named("1.3.9.7.0");
    EXPECT_EQ(m_group.GetNext(1, end), noSuchName);
    EXPECT_EQ(end.type, kNull);
}

TEST_F(BMibScalarGroupImplTest, SkipsAScalarThatVanishesBetweenFindingAndReading) {
    m_group.answers.inGet = [&] { m_group.answers.getResult = m_group.answers.gets == 1 ? noSuchName : noError; };
    BVarBind varBind = Named("1.3.9");
    EXPECT_EQ(m_group.GetNext(1, varBind), noError);
    EXPECT_EQ(varBind.name, Oid("1.3.9.2.0"));
    EXPECT_EQ(varBind.type, kTimeTicks);
}

TEST_F(BMibScalarGroupImplTest, DoesNothingOnTimeoutAndAsksForNone) {
    BTimeInterval interval(500);
    m_group.OnTimeout(interval);
    EXPECT_EQ(interval.Milliseconds(), 0U);
}

}  // namespace
}  // namespace CVT::test
