// bin/cvtwalk as a person or a script runs it, on the sample module and on one that misbehaves.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/JsonValue.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/ScratchFolder.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kProgram = std::string(CVHOST_BUILD_BIN_DIR) + "/cvtwalk";
const std::string kFirst = std::string(CVHOST_BUILD_LIB_DIR) + "/libCVHost.so.1";
const std::string kSample = std::string(CVHOST_BUILD_LIB_DIR) + "/libSampleModule.so.1";
const std::string kOdd = CVHOST_ODD_MODULE;

ProgramRun Walk(std::vector<std::string> arguments, const std::map<std::string, std::string>& environment = {}) {
    arguments.insert(arguments.begin(), kProgram);
    return ProgramRun::Of(arguments, environment);
}

ProgramRun WalkSample(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--module", kSample});
    return Walk(std::move(arguments));
}

ProgramRun WalkOdd(const std::string& habit, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"--module", kOdd});
    return Walk(std::move(arguments), {{"ODD_MODULE", habit}});
}

/// The message of a failure: one line, and nothing on standard output.
void ExpectOneLine(const ProgramRun& run, int status, const std::string& part) {
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, AllOf(StartsWith("cvtwalk: "), HasSubstr(part), EndsWith("\n")));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

TEST(Cvtwalk, PrintsEveryInstanceOfAModuleInOrder) {
    const ProgramRun run = WalkSample({});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, testing::MatchesRegex("sampleGreeting.0 = STRING: \"Hello from the sample module\"\n"
                                               "sampleLevel.0 = INTEGER: 50\n"
                                               "sampleChangedAt.0 = STRING: 2[0-9-]*,[0-9:]*.0,[+-][0-9:]*\n"
                                               "sampleEnabled.0 = INTEGER: true\\(1\\)\n"
                                               "sampleRequests.0 = Counter32: 1\n"
                                               "sampleUptime.0 = Timeticks: \\([0-9]*\\) 0:00:0[0-9.]*\n"
                                               "sampleHome.0 = OID: 1.3.6.1.4.1.32473.1\n"
                                               "sampleNoteIndex.1 = INTEGER: 1\n"
                                               "sampleNoteIndex.2 = INTEGER: 2\n"
                                               "sampleNoteIndex.10 = INTEGER: 10\n"
                                               "sampleNoteText.1 = STRING: .*\n"
                                               "sampleNoteText.2 = STRING: .*\n"
                                               "sampleNoteText.10 = STRING: \"Na\xC3\xAFve .*\n"
                                               "sampleNotePriority.1 = INTEGER: high\\(3\\)\n"
                                               "sampleNotePriority.2 = INTEGER: normal\\(2\\)\n"
                                               "sampleNotePriority.10 = INTEGER: low\\(1\\)\n"));
}

TEST(Cvtwalk, WalksBothModulesInTheOrderOfTheirOids) {
    if (::access(kFirst.c_str(), R_OK) != 0) {
        GTEST_SKIP() << "there is no " << kFirst;
    }
    const ProgramRun run = Walk({"--module", kSample, "--module", kFirst});
    EXPECT_EQ(run.status, 0) << run.err;
    const auto memory = run.out.find("hrMemorySize.0 = INTEGER: ");
    const auto greeting = run.out.find("sampleGreeting.0 = STRING: ");
    ASSERT_NE(memory, std::string::npos) << run.out;
    ASSERT_NE(greeting, std::string::npos) << run.out;
    EXPECT_LT(memory, greeting);
    EXPECT_THAT(run.out, HasSubstr("\nsampleNotePriority.10 = INTEGER: low(1)\n"));
}

TEST(Cvtwalk, LoadsTheModuleBesideItWithoutOptions) {
    if (::access(kFirst.c_str(), R_OK) != 0) {
        GTEST_SKIP() << "there is no " << kFirst;
    }
    const ProgramRun run = Walk({"hrMemorySize"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, testing::MatchesRegex("hrMemorySize.0 = INTEGER: -?[0-9]+\n"));
}

TEST(Cvtwalk, PrintsTheOneInstanceThatAnOidOrNameSays) {
    const std::string level = "sampleLevel.0 = INTEGER: 50\n";
    EXPECT_EQ(WalkSample({"1.3.6.1.4.1.32473.1.1.2.0"}).out, level);
    EXPECT_EQ(WalkSample({".1.3.6.1.4.1.32473.1.1.2.0"}).out, level);
    EXPECT_EQ(WalkSample({"sampleLevel.0"}).out, level);
    EXPECT_EQ(WalkSample({"sampleNotePriority.2"}).out, "sampleNotePriority.2 = INTEGER: normal(2)\n");
}

TEST(Cvtwalk, PrintsAllThatLiesUnderAColumnATableOrAGroup) {
    EXPECT_EQ(WalkSample({"sampleLevel"}).out, "sampleLevel.0 = INTEGER: 50\n");
    EXPECT_THAT(WalkSample({"SAMPLE-MIB.sampleInfo"}).out,
                AllOf(StartsWith("sampleGreeting.0 = "), Not(HasSubstr("sampleNote"))));
    EXPECT_THAT(WalkSample({"sampleNoteTable"}).out,
                AllOf(StartsWith("sampleNoteIndex.1 = "), EndsWith("sampleNotePriority.10 = INTEGER: low(1)\n")));
    EXPECT_EQ(WalkSample({"1.3.6.1.4.1.32473.1.2.1.3"}).out,
              "sampleNotePriority.1 = INTEGER: high(3)\n"
              "sampleNotePriority.2 = INTEGER: normal(2)\n"
              "sampleNotePriority.10 = INTEGER: low(1)\n");
}

TEST(Cvtwalk, SaysInOneLineThatNothingLiesUnderAnOid) {
    ExpectOneLine(WalkSample({"1.3.6.1.2.1"}), 1, "no instance is served under 1.3.6.1.2.1");
    ExpectOneLine(WalkSample({"sampleLevel.1"}), 1, "no instance is served under 1.3.6.1.4.1.32473.1.1.2.1");
    ExpectOneLine(WalkOdd("empty"), 1, "the modules serve no instance");
}

TEST(Cvtwalk, NamesTheNearNamesOfAnUnknownObject) {
    ExpectOneLine(WalkSample({"sampleLevle"}), 1, "no object is called 'sampleLevle'; near it: sampleLevel");
}

TEST(Cvtwalk, EndsWithTwoForAWrongCommandLine) {
    ExpectOneLine(Walk({"--bogus"}), 2, "the option --bogus is unknown (try --help)");
    ExpectOneLine(Walk({"--format", "xml"}), 2, "--format needs text, json, table, csv, prometheus or html, not 'xml'");
    ExpectOneLine(Walk({"--timeout", "0"}), 2, "--timeout needs a number of seconds from 1 to 86400, not '0'");
    ExpectOneLine(Walk({"--module", ""}), 2, "--module needs a value that is not empty");
    ExpectOneLine(Walk({""}), 2, "the OID or object name is empty");
}

TEST(Cvtwalk, SaysThatATableIsEmptyAndEndsWell) {
    for (const char* const empty : {"hrSWInstalledTable", "hrSWInstalledName", "1.3.6.1.2.1.25.6.3"}) {
        for (const char* const format : {"text", "table"}) {
            const ProgramRun run = Walk({"--module", kFirst, "--format", format, empty});
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(run.err, "cvtwalk: " + std::string(empty) + " is empty: no instance at the moment\n");
        }
        const ProgramRun json = Walk({"--module", kFirst, "--format", "json", empty});
        EXPECT_EQ(json.status, 0);
        EXPECT_EQ(json.out, "[]\n");
        EXPECT_EQ(json.err, "");
    }
    ExpectOneLine(Walk({"--module", kFirst, "hrSWInstalledName.1"}), 1, "no instance is served under");
}

TEST(Cvtwalk, FindsTheBranchesAboveGroups) {
    const ProgramRun device = Walk({"--module", kFirst, "hrDevice"});
    EXPECT_EQ(device.status, 0) << device.err;
    EXPECT_THAT(device.out, AllOf(StartsWith("hrDeviceIndex.1 = "), HasSubstr("\nhrProcessorLoad.")));
    EXPECT_THAT(Walk({"--module", kFirst, "HOST-RESOURCES-MIB::hrSWRunPerf"}).out, StartsWith("hrSWRunPerfCPU."));
    EXPECT_THAT(Walk({"--module", kFirst, "hrDeviceEntry"}).out, StartsWith("hrDeviceIndex."));
    EXPECT_THAT(Walk({"--module", kFirst, "hrSystem"}).out, StartsWith("hrSystemUptime.0 = "));
    const ProgramRun host = Walk({"--module", kFirst, "host"});
    EXPECT_THAT(host.out, AllOf(StartsWith("hrSystemUptime.0 = "), HasSubstr("\nhrSWInstalledLastChange.0 = ")));
    ExpectOneLine(WalkSample({"hrDevice"}), 1, "no object is called 'hrDevice'");
}

TEST(Cvtwalk, PrintsItsHelpAndVersionOnStandardOutput) {
    const ProgramRun help = Walk({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, StartsWith("Usage: cvtwalk "));
    const ProgramRun version = Walk({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, testing::MatchesRegex("cvtwalk [0-9.]+\n"));
}

TEST(Cvtwalk, SaysInOneLineThatAModuleCannotBeLoaded) {
    ExpectOneLine(Walk({"--module", "/nowhere/libNothing.so"}), 1, "cannot load the module /nowhere/libNothing.so");
    ExpectOneLine(Walk({"--module", "/etc/passwd"}), 1, "cannot load the module /etc/passwd");
    ExpectOneLine(Walk({"--module", std::string(CVHOST_BUILD_LIB_DIR) + "/libCVT.so.1"}), 1,
                  "is not an extension module");
    ExpectOneLine(WalkOdd("refuses"), 1, "refused to start");
}

TEST(Cvtwalk, ClosesTheModulesThatRunWhenALaterOneCannot) {
    const ProgramRun run = Walk({"--module", kOdd, "--module", kSample, "--module", "/nowhere/libNothing.so"},
                                {{"ODD_MODULE_FAREWELL", "1"}});
    ExpectOneLine(run, 1, "cannot load the module /nowhere/libNothing.so");
    ScratchFolder scratch;
    const std::string copy = scratch.Path() + "/libCopy.so";
    std::filesystem::copy_file(kSample, copy);
    const ProgramRun taken =
        Walk({"--module", kOdd, "--module", kSample, "--module", copy}, {{"ODD_MODULE_FAREWELL", "1"}});
    EXPECT_EQ(taken.status, 1);
    EXPECT_THAT(
        taken.err,
        AllOf(HasSubstr("serves a subtree that another module, or it itself, serves already; leave one of them out\n"),
              EndsWith("the odd module is closed\n")));
}

TEST(Cvtwalk, RefusesAModuleThatIsGivenTwice) {
    ExpectOneLine(Walk({"--module", kSample, "--module", kSample}), 1, "is named twice; name each module once");
    const std::string detour = std::string(CVHOST_BUILD_LIB_DIR) + "/../lib/libSampleModule.so.1";
    ExpectOneLine(Walk({"--module", kSample, "--module", detour}), 1, "is named twice; name each module once");
}

TEST(Cvtwalk, WaitsForAModuleThatIsSlowAndNotForOneThatNeverIsReady) {
    const ProgramRun slow = WalkOdd("slow", {"oddNegative"});
    EXPECT_EQ(slow.status, 0);
    EXPECT_EQ(slow.out, "oddNegative.0 = INTEGER: -2147483648\n");
    ExpectOneLine(WalkOdd("never-ready", {"--timeout", "1"}), 1,
                  "is not ready after 1 s; --timeout SECONDS waits longer");
}

TEST(Cvtwalk, ClosesItsModules) {
    const ProgramRun run = Walk({"--module", kOdd, "oddNegative"}, {{"ODD_MODULE_FAREWELL", "1"}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "the odd module is closed\n");
}

TEST(Cvtwalk, EndsWithAFailureWhenAModuleDoesNotClose) {
    const ProgramRun run = WalkOdd("hangs", {"--timeout", "1", "oddNegative"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "oddNegative.0 = INTEGER: -2147483648\n");
    EXPECT_THAT(run.err, HasSubstr("did not close within 5 s\n"));
}

TEST(Cvtwalk, PutsHostileValuesWhereTheyDoNoHarm) {
    const ProgramRun run = WalkOdd("");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out,
              "oddEscape.0 = Hex-STRING: 1B 5B 33 31 6D 72 65 64 07\n"
              "oddNotUtf8.0 = Hex-STRING: 63 61 66 E9\n"
              "oddQuotes.0 = STRING: \"C:\\\\\\\"x\"\n"
              "oddNul.0 = Hex-STRING: 61 00 62\n"
              "oddNoDate.0 = STRING: \"soon\"\n"
              "oddNoOid.0 = OID: 0.0\n"
              "oddNegative.0 = INTEGER: -2147483648\n"
              "oddNumber.7.1 = INTEGER: 1\n"
              "oddNumber.7.20 = INTEGER: 20\n"
              "oddSparse.7.1 = INTEGER: 1\n"
              "oddMost.0 = Gauge32: 4294967295\n");
}

TEST(Cvtwalk, WritesHostileValuesAsValidJson) {
    const ProgramRun run = WalkOdd("", {"--format", "json"});
    EXPECT_EQ(run.status, 0);
    const auto array = JsonValue::Read(run.out);
    ASSERT_TRUE(array) << run.out;
    ASSERT_EQ(array->Items().size(), 11U);
    EXPECT_EQ(array->Items()[0].Text("value"), "\x1B[31mred\x07");
    EXPECT_EQ(array->Items()[1].Text("value"), "caf\xEF\xBF\xBD");
    EXPECT_EQ(array->Items()[1].Text("hex"), "636166E9");
    EXPECT_EQ(array->Items()[2].Text("value"), R"(C:\"x)");
    EXPECT_EQ(array->Items()[3].Text("value"), std::string("a\0b", 3));
    EXPECT_EQ(array->Items()[8].Text("oid"), "1.3.6.1.4.1.32473.2.8.1.1.7.20");
    EXPECT_EQ(array->Items()[8].Text("instance"), "7.20");
    EXPECT_EQ(array->Items()[10].Number("value"), 4294967295.0);
}

TEST(Cvtwalk, ShowsATableWithReadableValues) {
    const ProgramRun run = WalkSample({"--format", "table", "sampleNoteTable"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out,
              "SAMPLE-MIB.sampleNoteTable\n"
              "index  Text                          Priority\n"
              "    1  Copy this folder              high\n"
              "    2  Give it a number of your own  normal\n"
              "   10  Na\xC3\xAFve caf\xC3\xA9s are welcome       low\n");
}

TEST(Cvtwalk, FitsATableToTheTerminalAndOnlyThere) {
    const PseudoTerminal terminal(40);
    if (!terminal.IsOpen()) {
        GTEST_SKIP() << "no pseudo terminals here";
    }
    const std::string command = "\"$0\" --module \"$1\" --format table sampleNoteTable";
    const auto walk = [&](const std::string& redirection, std::map<std::string, std::string> environment) {
        environment.emplace("LC_ALL", "C.UTF-8");
        return ProgramRun::Of({"/bin/sh", "-c", command + redirection, kProgram, kSample, terminal.File()},
                              environment);
    };
    EXPECT_EQ(walk(" >\"$2\"", {{"COLUMNS", ""}}).status, 0);
    EXPECT_EQ(terminal.Lines(5),
              "SAMPLE-MIB.sampleNoteTable\n"
              "index  Text                     Priority\n"
              "    1  Copy this folder         high\n"
              "    2  Give it a number of yo\u2026  normal\n"
              "   10  Na\u00EFve caf\u00E9s are welcome  low\n");
    EXPECT_EQ(walk(" >\"$2\"", {{"COLUMNS", "33"}}).status, 0);
    EXPECT_THAT(terminal.Lines(5), HasSubstr("\n    2  Give it a numbe\u2026  normal\n"));
    EXPECT_THAT(walk("", {{"COLUMNS", "33"}}).out, HasSubstr("  Give it a number of your own  normal\n"));
}

TEST(Cvtwalk, ShowsStorageInSizesWithABarOfWhatIsUsed) {
    const std::vector<std::string> arguments = {"--module", kFirst, "--format", "table", "hrStorageTable"};
    const ProgramRun ascii = Walk(arguments, {{"LC_ALL", "C"}});
    EXPECT_EQ(ascii.status, 0) << ascii.err;
    EXPECT_THAT(ascii.out, testing::ContainsRegex("\nindex  Type +Descr +AllocationUnits +Size +Used  Use +Alloc"));
    EXPECT_THAT(ascii.out, testing::ContainsRegex("  hrStorageRam +Physical Memory +1024 +[0-9.]+ [KMGT]iB +[0-9.]+ "
                                                  "[KMGT]iB  \\[[#-]{10}\\] +[0-9]+% +0\n"));
    EXPECT_THAT(Walk(arguments, {{"LC_ALL", "C.UTF-8"}}).out,
                testing::ContainsRegex("Physical Memory .*B  (\u2588|\u2591){10} +[0-9]+% "));
    EXPECT_THAT(Walk({"--module", kFirst, "hrStorageUsed"}).out,
                testing::MatchesRegex("(hrStorageUsed.* = INTEGER: .*\n)+"))
        << "text keeps the numbers";
}

TEST(Cvtwalk, ShowsEveryGroupAsATableWithoutAnArgument) {
    const ProgramRun run = WalkSample({"--format", "table"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, AllOf(StartsWith("SAMPLE-MIB.sampleInfo\nsampleGreeting   Hello from the sample module\n"),
                               HasSubstr("\n\nSAMPLE-MIB.sampleNoteTable\nindex  Text ")));
}

TEST(Cvtwalk, GoesOnWithAGroupBehindATableInItsMidst) {
    const ProgramRun run = WalkOdd("", {"--format", "table"});
    EXPECT_THAT(run.out, EndsWith("\n\nODD-MIB.oddTable\n"
                                  "index  Number  Sparse\n"
                                  "7.1         1       1\n"
                                  "7.20       20       -\n"
                                  "\nODD-MIB.oddValues\n"
                                  "oddMost  4294967295\n"));
}

TEST(Cvtwalk, KeepsWhatModulesPrintOutOfItsOutput) {
    const ProgramRun run = WalkOdd("noisy", {"--format", "json", "oddNegative"});
    EXPECT_EQ(run.status, 0);
    ASSERT_TRUE(JsonValue::Read(run.out)) << run.out;
    EXPECT_EQ(run.err, "noise from printf\nnoise from write\nnoise from a command\n");
}

TEST(Cvtwalk, PrintsWhatItGotAndSaysWhereAWalkBroke) {
    const ProgramRun run = WalkOdd("breaks", {"--format", "json"});
    EXPECT_EQ(run.status, 1);
    const auto array = JsonValue::Read(run.out);
    ASSERT_TRUE(array) << run.out;
    EXPECT_EQ(array->Items().size(), 10U);
    EXPECT_EQ(run.err, "cvtwalk: the walk ends after 1.3.6.1.4.1.32473.2.8.1.2.7.1 with error-status 5 (genErr)\n");
    ExpectOneLine(WalkOdd("breaks", {"oddMost.0"}), 1, "the walk ends at 1.3.6.1.4.1.32473.2.9.0 with error-status 5");
}

TEST(Cvtwalk, LeavesNoFileInTheWorkingDirectory) {
    const ScratchFolder scratch;
    const std::string module = ::access(kFirst.c_str(), R_OK) == 0 ? kFirst : kSample;
    const ProgramRun run = ProgramRun::Of({kProgram, "--module", module}, {}, scratch.Path());
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(std::filesystem::is_empty(scratch.Path()));
}

TEST(Cvtwalk, FindsAModuleByAPathFromTheWorkingDirectory) {
    const ProgramRun run =
        ProgramRun::Of({kProgram, "--module", "./libSampleModule.so.1", "sampleLevel"}, {}, CVHOST_BUILD_LIB_DIR);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "sampleLevel.0 = INTEGER: 50\n");
}

TEST(Cvtwalk, ClosesItsModulesWhenItsReaderGoesAway) {
    const ProgramRun run = ProgramRun::Of(
        {"/bin/sh", "-c", "{ \"$0\" --module \"$1\"; echo status $? >&2; } | true; sleep 0", kProgram, kOdd},
        {{"ODD_MODULE", "slow"}, {"ODD_MODULE_FAREWELL", "1"}});
    EXPECT_EQ(run.err, "the odd module is closed\nstatus 1\n");
}

TEST(Cvtwalk, SaysThatItsOutputCouldNotBeWritten) {
    const std::string command = "\"$0\" --module \"$1\" ";
    const ProgramRun full = ProgramRun::Of({"/bin/sh", "-c", command + ">/dev/full", kProgram, kSample});
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err, "cvtwalk: cannot write: No space left on device\n");
    const ProgramRun closed = ProgramRun::Of({"/bin/sh", "-c", command + ">&-", kProgram, kSample});
    EXPECT_EQ(closed.status, 1);
    EXPECT_EQ(closed.err, "cvtwalk: no standard output: Bad file descriptor\n");
}

TEST(Cvtwalk, PrintsSeveralObjectsInTheOrderAskedFor) {
    EXPECT_EQ(WalkSample({"sampleNotePriority.2", "sampleLevel"}).out,
              "sampleNotePriority.2 = INTEGER: normal(2)\nsampleLevel.0 = INTEGER: 50\n");
    ExpectOneLine(WalkSample({"sampleLevel", "sampleLevle"}), 1, "no object is called 'sampleLevle'");
}

TEST(Cvtwalk, SortsFiltersAndCutsTables) {
    const std::vector<std::string> table{"--format", "table", "sampleNoteTable"};
    const auto walk = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), table.begin(), table.end());
        return WalkSample(arguments);
    };
    EXPECT_EQ(walk({"--sort", "priority", "--reverse", "--columns", "priority", "--limit", "2"}).out,
              "SAMPLE-MIB.sampleNoteTable\nindex  Priority\n    1  high\n    2  normal\n2 of 3 rows\n");
    EXPECT_EQ(walk({"--filter", "text=COPY"}).out,
              "SAMPLE-MIB.sampleNoteTable\nindex  Text              Priority\n    1  Copy this folder  high\n");
    const ProgramRun none = walk({"--filter", "text=nothing"});
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "cvtwalk: no row has what --filter asks for\n");
    ExpectOneLine(walk({"--sort", "txt"}), 1, "no column is called 'txt'; near it: Text");
}

TEST(Cvtwalk, SortsInEveryFormat) {
    EXPECT_EQ(WalkSample({"--sort", "priority", "sampleNotePriority"}).out,
              "sampleNotePriority.10 = INTEGER: low(1)\n"
              "sampleNotePriority.2 = INTEGER: normal(2)\n"
              "sampleNotePriority.1 = INTEGER: high(3)\n");
    EXPECT_EQ(WalkSample({"--format", "csv", "--reverse", "--columns", "priority", "sampleNoteTable"}).out,
              "index,sampleNotePriority\n10,low\n2,normal\n1,high\n");
}

TEST(Cvtwalk, ShowsProcessesWithWhatTheyUseAsOneTable) {
    const std::vector<std::string> module{"--module", kFirst};
    for (const char* const object : {"hrSWRunTable", "hrSWRunPerfTable"}) {
        const ProgramRun run =
            Walk({"--module", kFirst, "--format", "table", "--columns", "name,mem", "--limit", "1", object});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.out, testing::MatchesRegex("HOST-RESOURCES-MIB.hrSWRunTable \\+ hrSWRunPerfTable\n"
                                                   "index +Name +Mem\n +[0-9]+ +[^ ]+ +[0-9.]+ [KMG]?i?B\n.* rows\n"));
    }
    EXPECT_THAT(Walk({"--module", kFirst, "hrSWRunPerfTable"}).out, Not(HasSubstr("hrSWRunName")));
    ExpectOneLine(Walk({"--module", kFirst, "--sort", "mem", "hrSWRunTable"}), 1,
                  "no column is called 'mem'; there are Index, Name, ID, Path, Parameters, Type, Status; --join adds "
                  "those of hrSWRunPerfTable");
    EXPECT_THAT(Walk({"--module", kFirst, "--join", "--format", "csv", "hrSWRunPerfTable"}).out,
                AllOf(StartsWith("index,hrSWRunIndex,hrSWRunName,"), HasSubstr(",hrSWRunPerfCPU,hrSWRunPerfMem\n")));
}

TEST(Cvtwalk, FoldsFileSystemsWithoutASizeIntoOneLine) {
    const ProgramRun all = Walk({"--module", kFirst, "--format", "table", "--all", "hrStorageTable"});
    const ProgramRun folded = Walk({"--module", kFirst, "--format", "table", "hrStorageTable"});
    if (all.out.find("     0 B  ") == std::string::npos) {
        GTEST_SKIP() << "this host has no file system of 0 octets";
    }
    EXPECT_THAT(folded.out, testing::ContainsRegex("\n[0-9]+ without size: --all\n$"));
    EXPECT_LT(std::count(folded.out.begin(), folded.out.end(), '\n'), std::count(all.out.begin(), all.out.end(), '\n'));
    EXPECT_THAT(all.out, Not(HasSubstr("without size")));
}

TEST(Cvtwalk, PrintsNoLoadThatIsNotMeasuredAndWaitsForOneWhenAsked) {
    const std::vector<std::string> load{"--module", kFirst, "hrProcessorLoad"};
    EXPECT_THAT(Walk(load).out, testing::MatchesRegex("(hrProcessorLoad.[0-9]+ = not measured yet\n)+"));
    const ProgramRun json = Walk({"--module", kFirst, "--format", "json", "hrProcessorLoad"});
    ASSERT_TRUE(JsonValue::Read(json.out)) << json.out;
    EXPECT_THAT(json.out, HasSubstr(R"("value":null,"note":"not measured yet"})"));
    const ProgramRun waited = Walk({"--module", kFirst, "--wait-for-load", "hrProcessorLoad"});
    EXPECT_THAT(waited.out, testing::MatchesRegex("(hrProcessorLoad.[0-9]+ = INTEGER: [0-9]+\n)+"));
}

TEST(Cvtwalk, WatchesUntilItIsInterrupted) {
    const std::string command =
        "\"$0\" --module \"$1\" --watch 1 sampleLevel & sleep 5; kill -INT $!; wait $!; echo status $?";
    const ProgramRun run = ProgramRun::Of({"/bin/bash", "-c", "set -m; " + command, kProgram, kSample});
    EXPECT_THAT(run.out, StartsWith("sampleLevel.0 = INTEGER: 50\n\nsampleLevel.0 = INTEGER: 50\n"));
    EXPECT_THAT(run.out, EndsWith("status 0\n")) << "the modules are closed";
}

TEST(Cvtwalk, EndsAWatchWhenItsReaderGoesAway) {
    const ProgramRun run = ProgramRun::Of(
        {"/bin/sh", "-c", "{ \"$0\" --module \"$1\" --watch 1; echo status $? >&2; } | head -n 1", kProgram, kOdd},
        {{"ODD_MODULE_FAREWELL", "1"}});
    EXPECT_EQ(run.err, "the odd module is closed\nstatus 1\n");
}

TEST(Cvtwalk, WritesMetricsThatPrometheusAccepts) {
    const char* const promtool = "/usr/bin/promtool";
    if (::access(promtool, X_OK) != 0) {
        GTEST_SKIP() << "there is no promtool here (Debian: prometheus)";
    }
    for (const std::string& module : {kFirst, kSample, kOdd}) {
        const ProgramRun run =
            ProgramRun::Of({"/bin/sh", "-c",
                            "\"$0\" --module \"$1\" --format prometheus | " + std::string(promtool) + " check metrics",
                            kProgram, module});
        EXPECT_EQ(run.status, 0) << run.out << run.err;
        EXPECT_EQ(run.out + run.err, "");
    }
}

}  // namespace
