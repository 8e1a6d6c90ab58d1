// GETBULK: how much one response holds, and that it finds the same instances as GETNEXT in every view.

#include <set>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

const std::string kBoth = ".1.3.6.1.4.1.32473";

class BulkTest : public AgentTest {
protected:
    void StartWith(const std::string& config) {
        Start({"--module", kReadModule, "--module", kTestModule, "--config", WriteConfig(config)});
    }
    void StartOpen(const std::string& more = "") { StartWith("rwcommunity private 127.0.0.1\n" + more); }
    /// With a view of everything except `exclusions`.
    void StartWithView(const std::string& exclusions) {
        StartWith("com2sec me 127.0.0.1 private\ngroup us v1 me\ngroup us v2c me\nview some included .1\n" +
                  exclusions + "view some excluded " + kFailures +
                  "\naccess us \"\" any noauth exact some none none\n" +
                  "createUser anybody\nrouser anybody noauth -V some\n");
    }

    Outcome Bulk(const Arguments& names, int nonRepeaters, int repetitions) const {
        return V2c("snmpbulkget", names, {"-Cn" + std::to_string(nonRepeaters), "-Cr" + std::to_string(repetitions)});
    }
    std::vector<std::string> BulkWalk(int repetitions) const {
        return Names(V2c("snmpbulkwalk", {kBoth}, {"-Cr" + std::to_string(repetitions)}).output);
    }

    /// Expects that every kind of walk finds the same instances as GETNEXT, and returns them.
    std::vector<std::string> ExpectSameWalks() const {
        std::vector<std::string> walk = Names(V2c("snmpwalk", {kBoth}).output);
        EXPECT_GT(walk.size(), 30U);
        EXPECT_EQ(Names(V1("snmpwalk", {kBoth}).output), walk);
        for (const int repetitions : {1, 2, 3, 7, 50, 299, 1000}) {
            EXPECT_EQ(BulkWalk(repetitions), walk) << repetitions << " repetitions";
            const std::vector<std::string> once = Names(Bulk({kBoth}, 0, repetitions).output);
            EXPECT_FALSE(once.empty()) << repetitions << " repetitions";
            const auto common =
                std::min(walk.size(), once.size());  // a bulk response goes on after the end of the walk's subtree
            EXPECT_TRUE(once.size() == static_cast<std::size_t>(repetitions) || repetitions > 7) << once.size();
            EXPECT_TRUE(
                std::equal(once.begin(), std::next(once.begin(), static_cast<std::ptrdiff_t>(common)), walk.begin()))
                << repetitions << " repetitions";
        }
        const Arguments anybody = {"-v3", "-l", "noAuthNoPriv", "-u", "anybody", Udp(), kBoth};
        EXPECT_EQ(Names(Client("snmpbulkwalk", anybody).output), walk);
        return walk;
    }
    static bool HasOneUnder(const std::vector<std::string>& names, const std::string& root) {
        return std::any_of(names.begin(), names.end(), [&](const auto& name) { return name.starts_with(root); });
    }
    static bool Has(const std::vector<std::string>& names, const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
};

TEST_F(BulkTest, WalksFindTheSameInstancesWithoutAnyExclusion) {
    StartWithView("");
    EXPECT_TRUE(HasOneUnder(ExpectSameWalks(), kInner));
}

TEST_F(BulkTest, AColumnThatTheViewExcludesIsNotReturned) {
    StartWithView("view some excluded " + kTable + "2\nview some excluded " + kInner + "2\n");
    const std::vector<std::string> names = ExpectSameWalks();
    EXPECT_FALSE(HasOneUnder(names, kTable + "2."));
    EXPECT_FALSE(HasOneUnder(names, kInner + "2."));
    EXPECT_TRUE(Has(names, kTable + "3.300"));
    EXPECT_TRUE(Has(names, kInner + "4.1"));
}

TEST_F(BulkTest, ARowThatTheViewExcludesIsNotReturned) {
    StartWithView("view some excluded " + kTable + "0.7 ff.d0\nview some excluded " + kTable + "0.300 ff.d0\n");
    const std::vector<std::string> names = ExpectSameWalks();
    EXPECT_FALSE(Has(names, kTable + "1.7"));
    EXPECT_FALSE(Has(names, kTable + "2.7"));
    EXPECT_FALSE(Has(names, kTable + "3.300"));
    EXPECT_TRUE(Has(names, kTable + "2.8"));
}

TEST_F(BulkTest, ATableThatTheViewExcludesIsNotReturned) {
    StartWithView("view some excluded " + kTable + "\nview some excluded " + kInner + "\n");
    const std::vector<std::string> names = ExpectSameWalks();
    EXPECT_FALSE(HasOneUnder(names, kTable));
    EXPECT_FALSE(HasOneUnder(names, kInner));
    EXPECT_TRUE(Has(names, kOuter + "5.0"));
    EXPECT_TRUE(Has(names, kSlowToInitialize + "1.1"));
}

TEST_F(BulkTest, ThePartOfAnExcludedTableThatTheViewIncludesIsReturned) {
    StartWithView("view some excluded " + kTable + "\nview some included " + kTable + "3.5\n");
    const std::vector<std::string> names = ExpectSameWalks();
    EXPECT_TRUE(Has(names, kTable + "3.5"));
    EXPECT_FALSE(Has(names, kTable + "3.6"));
}

TEST_F(BulkTest, FiftyColumnsOfFiftyRowsComeInOneResponse) {
    StartOpen();
    Arguments columns;
    std::vector<std::string> expected;
    for (int column = 0; column < 50; ++column) {
        columns.push_back(kTable + "1." + std::to_string(column));
    }
    for (int row = 1; row <= 50; ++row) {
        for (int column = 0; column < 50; ++column) {
            expected.push_back(kTable + "1." + std::to_string(column + row));
        }
    }
    EXPECT_EQ(Names(Bulk(columns, 0, 50).output), expected);
}

TEST_F(BulkTest, AResponseThatWouldExceedTheLongestMessageIsCut) {
    StartOpen();
    const Outcome texts = Bulk({kTable + "2"}, 0, 300);
    EXPECT_EQ(texts.status, 0) << texts.output;
    const std::vector<std::string> names = Names(texts.output);
    EXPECT_GT(names.size(), 250U);
    EXPECT_LT(names.size(), 300U) << "65,507 octets do not hold 300 texts of 200";
    EXPECT_EQ(names.front(), kTable + "2.1");
    EXPECT_EQ(names.back(), kTable + "2." + std::to_string(names.size()));

    const Arguments longOnes(10, kValues + "14");
    EXPECT_GE(Names(Bulk(longOnes, 0, 10).output).size(), 10U) << "20,000 octets in the second repetition";
    EXPECT_EQ(Names(Bulk({kValues + "15", kValues + "15"}, 0, 1).output).size(), 2U);
    EXPECT_EQ(BulkWalk(300), Names(V2c("snmpwalk", {kBoth}).output));
}

TEST_F(BulkTest, TheConfigurationLimitsTheSizeOfAResponse) {
    StartOpen("maxGetbulkResponses 20\nmaxGetbulkRepeats 7\n");
    EXPECT_EQ(Names(Bulk({kTable + "1"}, 0, 50).output).size(), 7U);
    EXPECT_EQ(Names(Bulk({kTable + "1", kTable + "2", kTable + "3", kTable + "1", kTable + "2"}, 0, 50).output).size(),
              20U);
}

TEST_F(BulkTest, RepetitionsGoOnInTheNextSubtree) {
    StartOpen();
    EXPECT_EQ(Names(Bulk({kTable + "1.299", kInner + "4.2", kTable + "3.299"}, 0, 3).output),
              (std::vector<std::string>{kTable + "1.300", kInner + "4.7.5", kTable + "3.300",       //
                                        kTable + "2.1", kOuter + "5.0", kSlowToInitialize + "1.1",  //
                                        kTable + "2.2", kQuick + "1.0", kSlowToInitialize + "1.2"}));
}

TEST_F(BulkTest, NonRepeatersComeOnce) {
    StartOpen();
    EXPECT_EQ(Names(Bulk({kQuick + "1", kTable + "1.4", kTable + "3.4", kInner + "2"}, 2, 2).output),
              (std::vector<std::string>{kQuick + "1.0", kTable + "1.5", kTable + "3.5", kInner + "2.1", kTable + "3.6",
                                        kInner + "2.2"}));
    EXPECT_EQ(Names(Bulk({kQuick + "1", kTable + "1.4"}, 1, 0).output), std::vector<std::string>{kQuick + "1.0"});
}

/// The library sends no more repetitions once a column has ended in one.
TEST_F(BulkTest, TheEndOfTheViewInTheMiddleLeavesTheOtherColumnsAsTheyAre) {
    StartOpen();
    const std::string last = ".1.3.6.1.6.3.15.1.1.";  // the agent's own, after all modules
    const Outcome outcome = Bulk({last + "5.0", kTable + "3.9"}, 0, 3);
    const std::vector<std::string> names = Names(outcome.output);
    ASSERT_GE(names.size(), 3U) << outcome.output;
    EXPECT_EQ(names[0], last + "6.0");
    EXPECT_EQ(names[1], kTable + "3.10");
    EXPECT_EQ(names[2], kTable + "3.11");
    EXPECT_NE(outcome.output.find(last + "6.0 = No more variables left in this MIB View"), std::string::npos);
}

TEST_F(BulkTest, OneRequestHasOneIdentifierOverItsColumnsRepetitionsAndGroups) {
    StartOpen();
    const std::string output = Bulk({kQuick + "1", kTable + "3", kInner + "4", kSlowToInitialize + "3"}, 1, 3).output;
    std::set<std::string> numbers;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        if (line.find("Gauge32") != std::string::npos) {
            numbers.insert(line.substr(line.rfind(' ')));
        }
    }
    EXPECT_EQ(Names(output).size(), 10U);
    EXPECT_EQ(numbers.size(), 1U) << output;
}

}  // namespace
}  // namespace agent_test
