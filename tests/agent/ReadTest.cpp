// GET, GETNEXT and GETBULK through real clients.

#include <sstream>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

class ReadTest : public AgentTest {
protected:
    void SetUp() override { StartWritable({"--module", kMainModule, "--module", kSampleModule}); }

    std::vector<std::string> Walk(const std::string& client, const std::string& root) const {
        return Names(V2c(client, {root}).output);
    }

    const std::vector<std::string> m_nested = {kOuter + "1.0", kInner + "2.1", kInner + "2.2",   kInner + "2.7.5",
                                               kInner + "4.1", kInner + "4.2", kInner + "4.7.5", kOuter + "5.0"};
};

TEST_F(ReadTest, TheMemorySizeOfTheHostIsANumber) {
    EXPECT_TRUE(Get(kMemorySize).starts_with(kMemorySize + " = INTEGER: ")) << Get(kMemorySize);
}

TEST_F(ReadTest, ModulesAreServedSideBySide) {
    const Outcome outcome = V2c("snmpget", {kMemorySize, kSample + "1.2.0", kValues + "1.0"});
    EXPECT_EQ(Names(outcome.output), (std::vector<std::string>{kMemorySize, kSample + "1.2.0", kValues + "1.0"}));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(ReadTest, EveryTypeOfValueIsSentAsTheModuleReturnsIt) {
    EXPECT_EQ(Get(kValues + "12.0"), kValues + "12.0 = INTEGER: -2147483648\n");
    EXPECT_EQ(Get(kValues + "13.0"), kValues + "13.0 = Counter32: 4294967295\n");
    EXPECT_EQ(Get(kValues + "16.0"), kValues + "16.0 = \"\"\n");
    EXPECT_EQ(Get(kSample + "1.7.0"), kSample + "1.7.0 = OID: .1.3.6.1.4.1.32473.1\n");
    EXPECT_TRUE(Get(kSample + "1.6.0").starts_with(kSample + "1.6.0 = Timeticks: ("));
}

TEST_F(ReadTest, OctetStringsMayHoldAnyOctet) {
    std::string expected = kValues + "14.0 = Hex-STRING: ";
    for (unsigned int octet = 0; octet < 256; ++octet) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        expected += {kDigits[octet / 16], kDigits[octet % 16], ' '};
        expected += octet % 16 == 15 && octet != 255 ? "\n" : "";
    }
    EXPECT_EQ(Get(kValues + "14.0"), expected + "\n");
}

TEST_F(ReadTest, OctetStringsMayBeLong) {
    EXPECT_EQ(Get(kValues + "15.0"), kValues + "15.0 = STRING: \"" + std::string(20000, 'x') + "\"\n");
}

TEST_F(ReadTest, AnEmptyObjectIdentifierIsSentAsZeroDotZero) {
    EXPECT_EQ(Get(kValues + "4.0"), kValues + "4.0 = OID: .0.0\n");
}

TEST_F(ReadTest, ExceptionsTellAMissingObjectFromAMissingInstance) {
    const std::string object = " = No Such Object available on this agent at this OID\n";
    const std::string instance = " = No Such Instance currently exists at this OID\n";
    EXPECT_EQ(Get(kValues + "99.0"), kValues + "99.0" + object);
    EXPECT_EQ(Get(kInner + "3.1"), kInner + "3.1" + object);
    EXPECT_EQ(Get(".1.3.6.1.4.1.32473.77.1.0"), ".1.3.6.1.4.1.32473.77.1.0" + object);
    EXPECT_EQ(Get(kValues + "1.1"), kValues + "1.1" + instance);
    EXPECT_EQ(Get(kValues + "1"), kValues + "1" + instance);
    EXPECT_EQ(Get(kValues + "17.0"), kValues + "17.0" + instance);
    EXPECT_EQ(Get(kInner + "2.3"), kInner + "2.3" + instance);
    EXPECT_EQ(Get(kInner + "2"), kInner + "2" + instance) << "an index that is too short";
    EXPECT_EQ(Get(kInner + "2.1.1"), kInner + "2.1.1" + instance) << "an index that is too long";
}

TEST_F(ReadTest, Version1GetsAnErrorInsteadOfAnException) {
    const Outcome outcome = V1("snmpget", {kValues + "1.0", kValues + "99.0"});
    EXPECT_NE(outcome.output.find("Reason: (noSuchName)"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("Failed object: " + kValues + "99.0"), std::string::npos) << outcome.output;
}

TEST_F(ReadTest, AModulesReadErrorIsTheErrorStatusOfTheRequest) {
    const auto reason = [&](const std::string& oid) { return V2c("snmpget", {oid}).output; };
    EXPECT_NE(reason(kFailures + "1.0").find("Reason: resourceUnavailable"), std::string::npos);
    EXPECT_NE(reason(kFailures + "2.0").find("Reason: (genError)"), std::string::npos) << "an invalid status";
    EXPECT_NE(reason(kFailures + "3.0").find("Reason: (genError)"), std::string::npos) << "an exception";
}

TEST_F(ReadTest, GetNextMovesFromAnyNameToTheNextInstance) {
    EXPECT_EQ(Names(GetNext(kOuter + "1")).front(), kOuter + "1.0");
    EXPECT_EQ(Names(GetNext(kOuter + "1.0")).front(), kInner + "2.1") << "into the nested table";
    EXPECT_EQ(Names(GetNext(kInner + "2.2")).front(), kInner + "2.7.5");
    EXPECT_EQ(Names(GetNext(kInner + "2.2.4294967295")).front(), kInner + "2.7.5") << "an index that is too long";
    EXPECT_EQ(Names(GetNext(kInner + "2.7")).front(), kInner + "2.7.5") << "an index that is too short";
    EXPECT_EQ(Names(GetNext(kInner + "2.7.5")).front(), kInner + "4.1") << "over a column that is not served";
    EXPECT_EQ(Names(GetNext(kInner + "4.7.5")).front(), kOuter + "5.0") << "out of the nested table";
}

TEST_F(ReadTest, GetNextOfABareSubtreeFindsItsFirstInstance) {
    EXPECT_EQ(Names(GetNext(".1.3.6.1.4.1.32473.2.2")).front(), kOuter + "1.0");
    EXPECT_EQ(Names(GetNext(".1.3.6.1.4.1.32473.2.2.3")).front(), kInner + "2.1");
    EXPECT_EQ(Names(GetNext(".1.3.6.1.4.1.32473.1")).front(), kSample + "1.1.0");
    EXPECT_TRUE(Names(GetNext(".1.3.6.1.2.1.25")).front().starts_with(".1.3.6.1.2.1.25."));
}

TEST_F(ReadTest, GetNextAfterTheLastInstanceIsTheEndOfTheView) {
    const std::string last = ".1.3.6.1.6.3.15.1.1.6.0";  // of the agent's own groups
    EXPECT_EQ(GetNext(last),
              last + " = No more variables left in this MIB View (It is past the end of the MIB tree)\n");
    EXPECT_NE(V1("snmpgetnext", {last}).output.find("Reason: (noSuchName)"), std::string::npos);
}

TEST_F(ReadTest, AWalkVisitsNestedSubtreesInOrder) {
    EXPECT_EQ(Walk("snmpwalk", ".1.3.6.1.4.1.32473.2.2"), m_nested);
    EXPECT_EQ(Walk("snmpbulkwalk", ".1.3.6.1.4.1.32473.2.2"), m_nested);
    EXPECT_EQ(Names(V1("snmpwalk", {".1.3.6.1.4.1.32473.2.2"}).output), m_nested);
}

TEST_F(ReadTest, WalksOfEitherKindSeeTheSameInstances) {
    const std::vector<std::string> walk = Walk("snmpwalk", ".1.3.6.1.4.1.32473.1");
    EXPECT_EQ(walk.size(), 7U + 9U);
    EXPECT_EQ(Walk("snmpbulkwalk", ".1.3.6.1.4.1.32473.1"), walk);
}

TEST_F(ReadTest, AWalkOverSeveralModulesNeverGoesBack) {
    // With -Cc the client would not check; without it, a name that does not increase is an error.
    const Outcome outcome = V2c("snmpbulkwalk", {".1.3.6.1.4.1.32473.1.1"});
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(V2c("snmpwalk", {".1.3.6.1.2.1.25.2"}).status, 0);
}

TEST_F(ReadTest, GetBulkFillsItsRepetitionsAcrossSubtrees) {
    const Outcome outcome = V2c("snmpbulkget", {kOuter + "1"}, {"-Cn0", "-Cr8"});
    EXPECT_EQ(Names(outcome.output), m_nested);
}

TEST_F(ReadTest, GetBulkAcceptsNonRepeatersAndSeveralColumns) {
    const Outcome outcome = V2c("snmpbulkget", {kValues + "1", kInner + "2", kInner + "4"}, {"-Cn1", "-Cr2"});
    EXPECT_EQ(Names(outcome.output), (std::vector<std::string>{kValues + "1.0", kInner + "2.1", kInner + "4.1",
                                                               kInner + "2.2", kInner + "4.2"}));
}

TEST_F(ReadTest, OneRequestHasOneIdentifierInAllGroupsAndTheNextRequestAnother) {
    const auto numbers = [](const std::string& output) {
        std::vector<std::string> values;
        std::istringstream in(output);
        for (std::string line; std::getline(in, line);) {
            values.push_back(line.substr(line.rfind(' ') + 1));
        }
        return values;
    };
    const Arguments three = {kValues + "11.0", kInner + "4.1", kInner + "4.7.5"};
    const auto first = numbers(V2c("snmpget", three).output);
    ASSERT_EQ(first.size(), 3U);
    EXPECT_EQ(first, std::vector<std::string>(3, first[0]));
    const auto second = numbers(V2c("snmpbulkget", {kInner + "4"}, {"-Cn0", "-Cr3"}).output);
    EXPECT_EQ(second, std::vector<std::string>(3, std::to_string(std::stoul(first[0]) + 1)));
}

TEST_F(ReadTest, ATableCanBeReadAsATable) {
    const std::string mib = m_scratch.Write("SAMPLE-TABLE-MIB.txt", R"(SAMPLE-TABLE-MIB DEFINITIONS ::= BEGIN
sampleTables OBJECT IDENTIFIER ::= { iso org(3) dod(6) internet(1) private(4) enterprises(1) example(32473) sample(1) }
noteTable OBJECT-TYPE SYNTAX SEQUENCE OF NoteEntry MAX-ACCESS not-accessible STATUS current DESCRIPTION "x"
    ::= { sampleTables 2 }
noteEntry OBJECT-TYPE SYNTAX NoteEntry MAX-ACCESS not-accessible STATUS current DESCRIPTION "x"
    INDEX { noteIndex } ::= { noteTable 1 }
NoteEntry ::= SEQUENCE { noteIndex INTEGER, noteText OCTET STRING, notePriority INTEGER }
noteIndex OBJECT-TYPE SYNTAX INTEGER MAX-ACCESS read-only STATUS current DESCRIPTION "x" ::= { noteEntry 1 }
noteText OBJECT-TYPE SYNTAX OCTET STRING MAX-ACCESS read-write STATUS current DESCRIPTION "x" ::= { noteEntry 2 }
notePriority OBJECT-TYPE SYNTAX INTEGER MAX-ACCESS read-write STATUS current DESCRIPTION "x" ::= { noteEntry 3 }
END
)");
    const Outcome outcome = V2c("snmptable", {".1.3.6.1.4.1.32473.1.2"}, {"-OS", "-m", mib, "-Cf", "|", "-CH"});
    EXPECT_NE(outcome.output.find("1|\"Copy this folder\"|3\n"), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.status, 0) << outcome.output;
}

}  // namespace
}  // namespace agent_test
