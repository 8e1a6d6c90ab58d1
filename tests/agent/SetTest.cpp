// SET requests through a real client: the phases that a module sees, and the error codes that the client sees.

#include "tests/agent/AgentXTest.h"

namespace agent_test {
namespace {

/// Once stand-alone, and once behind an AgentX master: neither module nor client should see a difference.
class SetTest : public AgentXTest, public ::testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        if (GetParam() == std::string("Alone")) {
            m_master.clear();
            StartWritable();
        } else {
            m_served = kValues + "1.0";
            StartBoth({"--module", kTestModule});
            ASSERT_TRUE(IsServed(kOuter + "1.0") && IsServed(kInner + "2.1"));
        }
    }

    std::string Record() const { return Get(kValues + "10.0"); }
    void ExpectRecord(const std::string& phases) const {
        EXPECT_EQ(Record(), kValues + "10.0 = " + (phases.empty() ? "\"\"\n" : "STRING: \"" + phases + "\"\n"));
    }
    void ExpectLevel(int value) const {
        EXPECT_EQ(Get(kValues + "1.0"), kValues + "1.0 = INTEGER: " + std::to_string(value) + "\n");
    }
};

TEST_P(SetTest, AGoodValueIsCheckedCommittedAndReleasedOnce) {
    const Outcome outcome = Set({kValues + "1.0", "i", "42"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output, kValues + "1.0 = INTEGER: 42\n");
    ExpectLevel(42);
    ExpectRecord("check level, commit level, release level");
}

TEST_P(SetTest, EveryTypeOfValueArrivesAsItWasSent) {
    EXPECT_EQ(Set({kValues + "1.0", "i", "-5"}).status, 0);
    EXPECT_EQ(Set({kValues + "2.0", "x", "00ff7f800a"}).status, 0);
    EXPECT_EQ(Set({kValues + "4.0", "o", "1.3.6.1.4294967295.0"}).status, 0);
    EXPECT_EQ(Set({kValues + "5.0", "u", "4294967295"}).status, 0);
    ExpectLevel(-5);
    EXPECT_EQ(Get(kValues + "2.0"), kValues + "2.0 = Hex-STRING: 00 FF 7F 80 0A \n");
    EXPECT_EQ(Get(kValues + "4.0"), kValues + "4.0 = OID: .1.3.6.1.4294967295.0\n");
    EXPECT_EQ(Get(kValues + "5.0"), kValues + "5.0 = Gauge32: 4294967295\n");
}

TEST_P(SetTest, TheEmptyOctetStringIsAValue) {
    EXPECT_EQ(Set({kValues + "2.0", "s", ""}).status, 0);
    EXPECT_EQ(Get(kValues + "2.0"), kValues + "2.0 = \"\"\n");
}

TEST_P(SetTest, SeveralVarbindsAreAllCheckedBeforeAnyIsCommitted) {
    EXPECT_EQ(Set({kValues + "1.0", "i", "7", kInner + "2.1", "i", "8", kValues + "2.0", "s", "new"}).status, 0);
    ExpectLevel(7);
    EXPECT_EQ(Get(kInner + "2.1"), kInner + "2.1 = INTEGER: 8\n");
    const std::string record = Record();
    EXPECT_LT(record.rfind("check "), record.find("commit ")) << record;
    EXPECT_LT(record.rfind("commit "), record.find("release ")) << record;
    EXPECT_EQ(record.find(';'), std::string::npos) << "more than one request identifier: " << record;
}

TEST_P(SetTest, WhenTheSecondVarbindIsRefusedNothingIsWritten) {
    ExpectSetRefused({kValues + "1.0", "i", "7", kValues + "2.0", "i", "8"}, "wrongType", kValues + "2.0");
    ExpectLevel(1);
    ExpectRecord("check level, release level");
}

TEST_P(SetTest, WhenAnotherGroupRefusesNothingIsWritten) {
    ExpectSetRefused({kValues + "1.0", "i", "7", kInner + "2.9", "i", "8"}, "inconsistentName", kInner + "2.9");
    ExpectLevel(1);
    ExpectRecord("check level, release level");
}

TEST_P(SetTest, WhenACommitFailsWhatWasCommittedIsUndoneAndAllIsReleasedOnce) {
    ExpectSetRefused({kValues + "1.0", "i", "7", kValues + "2.0", "s", "commit fails"}, "commitFailed",
                     kValues + "2.0");
    ExpectLevel(1);
    EXPECT_EQ(Get(kValues + "2.0"), kValues + "2.0 = STRING: \"first\"\n");
    ExpectRecord("check level, check label, commit level, commit label, undo level, release level, release label");
}

TEST_P(SetTest, WhenACommitFailsTheOtherGroupsAreUndoneToo) {
    EXPECT_EQ(Set({kInner + "2.1", "i", "8", kValues + "1.0", "i", "13"}).status, 2);
    EXPECT_EQ(Get(kInner + "2.1"), kInner + "2.1 = INTEGER: 10\n");
    ExpectLevel(1);
    ExpectRecord("check inner, check level, commit inner, commit level, undo inner, release inner, release level");
}

TEST_P(SetTest, WhenAnUndoFailsTheClientIsToldSo) {
    const Outcome outcome = Set({kValues + "1.0", "i", "14", kValues + "2.0", "s", "commit fails"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.output.find("Reason: undoFailed"), std::string::npos) << outcome.output;
}

TEST_P(SetTest, ErrorCodesOfTheChecksReachTheClientUnchanged) {
    ExpectSetRefused({kValues + "12.0", "i", "1"}, "notWritable", kValues + "12.0");
    ExpectSetRefused({kValues + "99.0", "i", "1"}, "notWritable", kValues + "99.0");
    ExpectSetRefused({kValues + "1.0", "s", "1"}, "wrongType", kValues + "1.0");
    ExpectSetRefused({kValues + "3.0", "s", "no date"}, "wrongValue", kValues + "3.0");
    ExpectSetRefused({kValues + "1.0", "i", "101"}, "wrongValue", kValues + "1.0");
    ExpectSetRefused({kValues + "1.1", "i", "1"}, "noCreation", kValues + "1.1");
    ExpectSetRefused({kInner + "2.3", "i", "1"}, "inconsistentName", kInner + "2.3");
    ExpectRecord("");
}

TEST_P(SetTest, ErrorCodesOfTheModuleReachTheClientUnchanged) {
    ExpectSetRefused({kValues + "1.0", "i", "15"}, "inconsistentValue", kValues + "1.0");
    ExpectSetRefused({kValues + "1.0", "i", "16"}, "resourceUnavailable", kValues + "1.0");
    ExpectSetRefused({kValues + "1.0", "i", "13"}, "commitFailed", kValues + "1.0");
}

TEST_P(SetTest, ATypeThatTheToolkitDoesNotKnowIsAWrongTypeForAWritableColumn) {
    ExpectSetRefused({kValues + "1.0", "a", "1.2.3.4"}, "wrongType", kValues + "1.0");
    ExpectSetRefused({kValues + "1.0", "b", "1"}, "wrongType", kValues + "1.0");
    ExpectSetRefused({kValues + "12.0", "a", "1.2.3.4"}, "notWritable", kValues + "12.0");
}

TEST_P(SetTest, WhatNoModuleServesCannotBeWritten) {
    ExpectSetRefused({".1.3.6.1.4.1.32473.77.1.0", "i", "1"}, "notWritable", ".1.3.6.1.4.1.32473.77.1.0");
}

TEST_P(SetTest, Version1GetsErrorsThatExistInVersion1) {
    const auto reason = [&](const Arguments& varBinds) {
        const std::string output = V1("snmpset", varBinds).output;
        const auto begin = output.find("Reason: ");
        return begin == std::string::npos ? output : output.substr(begin + 8, output.find('\n', begin) - begin - 8);
    };
    EXPECT_TRUE(reason({kValues + "12.0", "i", "1"}).starts_with("(noSuchName)"));
    EXPECT_TRUE(reason({kValues + "1.0", "s", "1"}).starts_with("(badValue)"));
    EXPECT_TRUE(reason({kValues + "1.0", "i", "101"}).starts_with("(badValue)"));
    EXPECT_TRUE(reason({kInner + "2.3", "i", "1"}).starts_with("(noSuchName)"));
    EXPECT_TRUE(reason({kValues + "1.0", "i", "13"}).starts_with("(genError)"));
    EXPECT_EQ(V1("snmpset", {kValues + "1.0", "i", "42"}).status, 0);
    ExpectLevel(42);
}

INSTANTIATE_TEST_SUITE_P(Agent, SetTest, ::testing::Values("Alone", "BehindAMaster"),
                         [](const auto& role) { return std::string(role.param); });

}  // namespace
}  // namespace agent_test
