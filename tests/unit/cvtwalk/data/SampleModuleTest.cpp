// The sample extension module, loaded as a host loads it.

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "CVT/BRequestId.h"
#include "CVT/BSetCell.h"
#include "agent/common/ModuleSet.h"

namespace {

using CVT::ESnmpSetOpCode;

constexpr unsigned int kPatienceMs = 20'000;

CVT::BVarBind Named(const std::string& suffix) {
    CVT::BVarBind varBind;
    varBind.name.AssignFromDottedDecimalStr(("1.3.6.1.4.1.32473.1." + suffix).c_str());
    return varBind;
}

CVT::BVarBind Integer(const std::string& suffix, int value) {
    CVT::BVarBind varBind = Named(suffix);
    varBind.type = CVT::kInteger;
    varBind.integer = value;
    return varBind;
}

CVT::BVarBind Octets(const std::string& suffix, std::string_view value) {
    CVT::BVarBind varBind = Named(suffix);
    varBind.type = CVT::kOctetString;
    varBind.octets.Assign(value);
    return varBind;
}

const std::string kGreeting = "1.1.0";
const std::string kLevel = "1.2.0";
const std::string kChangedAt = "1.3.0";
const std::string kEnabled = "1.4.0";
const std::string kRequests = "1.5.0";
const std::string kUptime = "1.6.0";
const std::string kNoteText = "2.1.2.";
const std::string kNotePriority = "2.1.3.";

class SampleModule : public testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(m_modules.Load({std::string(CVHOST_BUILD_LIB_DIR) + "/libSampleModule.so.1"}, error)) << error;
        ASSERT_TRUE(m_modules.Start(error)) << error;
        ASSERT_TRUE(m_modules.Join(error)) << error;
        ASSERT_TRUE(m_modules.WaitUntilReady(kPatienceMs, error)) << error;
    }
    void TearDown() override {
        std::string error;
        EXPECT_TRUE(m_modules.Close(kPatienceMs, error)) << error;
    }

    CVT::BMibEngine& Engine() { return m_modules.Engine(); }
    CVT::BVarBind Get(const std::string& suffix, unsigned int request = CVT::BRequestId::Next()) {
        CVT::BVarBind varBind = Named(suffix);
        EXPECT_EQ(Engine().Get(request, varBind), CVT::noError);
        return varBind;
    }
    /// Returns the error-status of a SET of all of them, and stores the index of the failed one in `m_errorIndex`.
    int Set(const CVT::BVarBindList& varBinds) { return Engine().Set(CVT::BRequestId::Next(), varBinds, m_errorIndex); }
    static bool IsMapped() {
        std::stringstream maps;
        maps << std::ifstream("/proc/self/maps").rdbuf();
        return maps.str().find("libSampleModule") != std::string::npos;
    }

    agent::ModuleSet m_modules;
    int m_errorIndex = -1;
};

TEST_F(SampleModule, IsUnmappedWhenItIsClosedAndCanBeLoadedAgain) {
    EXPECT_TRUE(IsMapped());
    std::string error;
    ASSERT_TRUE(m_modules.Close(kPatienceMs, error)) << error;
    EXPECT_FALSE(IsMapped());
    SetUp();
    EXPECT_EQ(Get(kLevel).integer, 50);
}

TEST_F(SampleModule, WritesEveryColumnThatIsWritable) {
    EXPECT_EQ(Set({Octets(kGreeting, "Good day"), Integer(kLevel, 100), Integer(kEnabled, 2),
                   Octets(kNoteText + "10", "x"), Integer(kNotePriority + "10", 3)}),
              CVT::noError);
    EXPECT_EQ(Get(kGreeting).octets.View(), "Good day");
    EXPECT_EQ(Get(kLevel).integer, 100);
    EXPECT_EQ(Get(kEnabled).integer, 2);
    EXPECT_EQ(Get(kNoteText + "10").octets.View(), "x");
    EXPECT_EQ(Get(kNotePriority + "10").integer, 3);
}

TEST_F(SampleModule, RefusesWhatItsConstraintsExclude) {
    EXPECT_EQ(Set({Octets(kGreeting, std::string(32, 'x'))}), CVT::noError);
    EXPECT_EQ(Set({Octets(kGreeting, std::string(33, 'x'))}), CVT::wrongLength);
    EXPECT_EQ(Set({Integer(kLevel, 101)}), CVT::wrongValue);
    EXPECT_EQ(Set({Integer(kLevel, -1)}), CVT::wrongValue);
    EXPECT_EQ(Set({Integer(kEnabled, 0)}), CVT::wrongValue);
    EXPECT_EQ(Set({Integer(kEnabled, 3)}), CVT::wrongValue);
    EXPECT_EQ(Set({Octets(kLevel, "1")}), CVT::wrongType);
    EXPECT_EQ(Set({Integer(kRequests, 1)}), CVT::notWritable);
    EXPECT_EQ(Set({Integer("1.2.1", 1)}), CVT::noCreation);
    EXPECT_EQ(Set({Integer(kNotePriority + "1", 4)}), CVT::wrongValue);
    EXPECT_EQ(Set({Octets(kNoteText + "1", "")}), CVT::wrongLength) << "its own textual convention wants 1 to 64";
    EXPECT_EQ(Set({Octets(kNoteText + "1", std::string(65, 'x'))}), CVT::wrongLength);
    EXPECT_EQ(Set({Octets(kNoteText + "1", std::string(64, 'x'))}), CVT::noError);
}

TEST_F(SampleModule, TakesOnlyDatesForADate) {
    using namespace std::string_view_literals;
    const auto good = "\x07\xE8\x03\x0A\x17\x1E\x00\x00-\x02\x00"sv;
    EXPECT_EQ(Set({Octets(kChangedAt, good)}), CVT::noError);
    EXPECT_EQ(Get(kChangedAt).octets.View(), good);
    EXPECT_EQ(Set({Octets(kChangedAt, good.substr(0, 8))}), CVT::noError);
    for (const std::string_view bad :
         {good.substr(0, 9), good.substr(0, 10), "\x07\xE8\x0D\x0A\x17\x1E\x00\x00"sv,
          "\x07\xE8\x03\x00\x17\x1E\x00\x00"sv, "\x07\xE8\x03\x0A\x18\x1E\x00\x00"sv,
          "\x07\xE8\x03\x0A\x17\x1E\x00\x00 \x02\x00"sv, "\x07\xE8\x03\x0A\x17\x1E\x00\x00+\x0E\x00"sv}) {
        EXPECT_EQ(Set({Octets(kChangedAt, bad)}), CVT::wrongValue);
    }
    EXPECT_EQ(Get(kChangedAt).octets.View(), good.substr(0, 8));
}

TEST_F(SampleModule, ChangesNothingWhenOneOfSeveralIsRefused) {
    EXPECT_EQ(Set({Integer(kLevel, 7), Integer(kNotePriority + "1", 1), Integer(kNotePriority + "99", 1)}),
              CVT::inconsistentName);
    EXPECT_EQ(m_errorIndex, 3);
    EXPECT_EQ(Get(kLevel).integer, 50);
    EXPECT_EQ(Get(kNotePriority + "1").integer, 3);
}

TEST_F(SampleModule, PutsBackWhatAnUndoneCommitHasChanged) {
    for (const CVT::BVarBind& offered : {Integer(kLevel, 7), Integer(kEnabled, 2), Integer(kNotePriority + "1", 1)}) {
        CVT::BMibImpl& group = *Engine().Groups()[offered.name[8] - 1];
        CVT::BVarBind before = offered;
        ASSERT_EQ(Engine().Get(CVT::BRequestId::Next(), before), CVT::noError);
        CVT::BSetCell cell(group, CVT::BRequestId::Next(), offered);
        EXPECT_EQ(cell.Check(), CVT::noError);
        EXPECT_EQ(cell.Commit(), CVT::noError);
        CVT::BVarBind after = offered;
        ASSERT_EQ(Engine().Get(CVT::BRequestId::Next(), after), CVT::noError);
        EXPECT_EQ(after.integer, offered.integer);
        EXPECT_EQ(cell.Undo(), CVT::noError);
        ASSERT_EQ(Engine().Get(CVT::BRequestId::Next(), after), CVT::noError);
        EXPECT_EQ(after.integer, before.integer);
    }
}

TEST_F(SampleModule, AnswersEachPhaseForAnAbsentRowAndUnknownPhasesForAny) {
    CVT::BMibImpl& notes = *Engine().Groups()[1];
    void* undo = nullptr;
    const auto phase = [&](ESnmpSetOpCode code, const std::string& row) {
        return notes.Set(1, code, &undo, Integer(kNotePriority + row, 1));
    };
    EXPECT_EQ(phase(ESnmpSetOpCode::CheckAndSave, "99"), CVT::inconsistentName);
    EXPECT_EQ(phase(ESnmpSetOpCode::Commit, "99"), CVT::commitFailed);
    EXPECT_EQ(phase(ESnmpSetOpCode::Undo, "99"), CVT::undoFailed);
    EXPECT_EQ(phase(ESnmpSetOpCode::Release, "99"), CVT::noError);
    EXPECT_EQ(phase(static_cast<ESnmpSetOpCode>(1), "99"), CVT::genErr);
    EXPECT_EQ(phase(static_cast<ESnmpSetOpCode>(1), "1"), CVT::genErr);
    EXPECT_EQ(undo, nullptr);
    EXPECT_EQ(Get(kNotePriority + "99").type, CVT::kNoSuchInstance);
}

TEST_F(SampleModule, CountsRequestsAndNotInstances) {
    const unsigned int request = CVT::BRequestId::Next();
    const unsigned int count = Get(kRequests, request).number;
    const unsigned int uptime = Get(kUptime, request).number;
    EXPECT_EQ(Get(kRequests, request).number, count);
    EXPECT_EQ(Get(kUptime, request).number, uptime) << "one state of affairs for a whole request";
    EXPECT_EQ(Get(kRequests).number, count + 1);
}

}  // namespace
