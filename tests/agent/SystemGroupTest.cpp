// What a stand-alone agent says about itself: the system group, sysORTable, snmpEngine.

#include <chrono>
#include <regex>
#include <set>

#include <sys/utsname.h>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

const std::string kSystem = ".1.3.6.1.2.1.1.";
const std::string kEngine = ".1.3.6.1.6.3.10.2.1.";

std::string KernelWords() {
    utsname names{};
    ::uname(&names);
    return std::string(names.sysname) + " " + names.nodename + " " + names.release + " " + names.version + " " +
           names.machine;
}

std::string HostName() {
    utsname names{};
    ::uname(&names);
    return names.nodename;
}

class SystemGroupTest : public AgentTest {
protected:
    SystemGroupTest() { m_community = "public"; }

    void StartWith(const std::string& config, const std::string& module = kTestModule) {
        Start({"--module", module, "--config", WriteConfig("rwcommunity public 127.0.0.1\n" + config)});
    }
    std::string Text(int column) const {
        const std::string line = Get(kSystem + std::to_string(column) + ".0");
        const std::size_t begin = line.find('"');
        return begin == std::string::npos ? line : line.substr(begin + 1, line.rfind('"') - begin - 1);
    }
    long Number(const std::string& oid) const {
        const std::string value = V2c("snmpget", {oid}, {"-Oqvt"}).output;
        EXPECT_TRUE(std::regex_match(value, std::regex("-?[0-9]+\n"))) << value;
        return std::atol(value.c_str());
    }
    void ReloadWith(const std::string& config, const std::string& until) {
        WriteConfig("rwcommunity public 127.0.0.1\n" + config);
        Agent().Signal(SIGHUP);
        ASSERT_TRUE(Agent().WaitForOutput(until)) << Log();
    }
};

TEST_F(SystemGroupTest, IsWalkedInOrderInEachVersion) {
    StartWith("createUser me SHA-256 \"long enough\" AES\nrouser me priv\n", kSampleModule);
    const std::vector<Outcome> walks = {
        V1("snmpwalk", {".1.3.6.1.2.1.1"}), V2c("snmpwalk", {".1.3.6.1.2.1.1"}),
        V2c("snmpbulkwalk", {".1.3.6.1.2.1.1"}),
        Client("snmpbulkwalk", {"-v3", "-l", "authPriv", "-u", "me", "-a", "SHA-256", "-A", "long enough", "-x", "AES",
                                "-X", "long enough", Udp(), ".1.3.6.1.2.1.1"})};
    for (const Outcome& walk : walks) {
        std::string names;
        std::istringstream lines(walk.output);
        for (std::string line; std::getline(lines, line);) {
            names += line.substr(kSystem.size(), line.find(' ') - kSystem.size()) + " ";
        }
        std::string expected = "1.0 2.0 3.0 4.0 5.0 6.0 7.0 8.0 ";
        for (const std::string column : {"2", "3", "4"}) {
            for (int row = 1; row <= 6; ++row) {
                expected.append("9.1.").append(column).append(".").append(std::to_string(row)).append(" ");
            }
        }
        EXPECT_EQ(names, expected) << walk.output;
    }
}

TEST_F(SystemGroupTest, WithoutAConfigurationItDescribesTheHost) {
    Start({"--module", kTestModule});
    EXPECT_EQ(Text(1), KernelWords());
    EXPECT_TRUE(Text(1).starts_with("Linux ")) << Text(1);
    EXPECT_EQ(Get(kSystem + "2.0"), kSystem + "2.0 = OID: .1.3.6.1.4.1.32473.100.1\n");
    EXPECT_EQ(Text(4), "");
    EXPECT_EQ(Text(5), HostName());
    EXPECT_EQ(Text(6), "Unknown");
    EXPECT_EQ(Number(kSystem + "7.0"), 72);
}

TEST_F(SystemGroupTest, TakesItsTextsUnchangedFromTheConfiguration) {
    const std::string longest(255, 'x');
    StartWith("sysDescr   Linux, as we like it\nsysContact Me \"and you\" <me@example.org>  # both\nsysName " +
              longest + "\nsysLocation \tattic\nsysServices 0\n");
    EXPECT_EQ(Text(1), "Linux, as we like it");
    EXPECT_EQ(Get(kSystem + "4.0"), kSystem + "4.0 = STRING: \"Me \\\"and you\\\" <me@example.org>  # both\"\n");
    EXPECT_EQ(Text(5), longest);
    EXPECT_EQ(Text(6), "attic");
    EXPECT_EQ(Number(kSystem + "7.0"), 0);
}

TEST_F(SystemGroupTest, SighupTakesNewTextsAndForgetsRemovedOnes) {
    StartWith("sysContact first\nsysName alias\nsysServices 79\n");
    EXPECT_EQ(Text(5), "alias");
    ReloadWith("sysContact second\n", "agent.conf again");
    EXPECT_EQ(Text(4), "second");
    EXPECT_EQ(Text(5), HostName());
    EXPECT_EQ(Number(kSystem + "7.0"), 72);
}

TEST_F(SystemGroupTest, SighupWithAValueThatIsTooLongChangesNothing) {
    StartWith("sysContact first\n");
    ReloadWith("sysContact second\nsysLocation " + std::string(256, 'x') + "\n", "stays as it was");
    EXPECT_NE(Log().find("line 3: Error: sysLocation holds at most 255 octets, not 256"), std::string::npos) << Log();
    EXPECT_EQ(Text(4), "first");
}

TEST_F(SystemGroupTest, AValueThatTheObjectsCannotHoldIsAFaultWithItsLine) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1\nsysName " + std::string(256, 'x') + "\n");
    ExpectRefusal(WithOwn({"--config", file}), kFaulty,
                  file + ": line 2: Error: sysName holds at most 255 octets, not 256");
    for (const char* const services : {"128", "-1", "7x", "many", "99999999999999999999"}) {
        WriteConfig("rocommunity public 127.0.0.1\n\nsysServices " + std::string(services) + "\n");
        ExpectRefusal(WithOwn({"--config", file}), kFaulty,
                      file + ": line 3: Error: sysServices needs a number from 0 to 127");
    }
}

TEST_F(SystemGroupTest, CannotBeWritten) {
    StartWith("sysContact first\n");
    ExpectSetRefused({kSystem + "4.0", "s", "second"}, "notWritable", kSystem + "4.0");
    ExpectSetRefused({kSystem + "9.1.3.1", "s", "text"}, "notWritable", kSystem + "9.1.3.1");
    EXPECT_EQ(Text(4), "first");
}

TEST_F(SystemGroupTest, TheUpTimeCountsHundredthsOfASecond) {
    Start({"--module", kTestModule});
    const auto before = std::chrono::steady_clock::now();
    const long first = Number(kSystem + "3.0");
    long last = first;
    while (last < first + 30) {
        last = Number(kSystem + "3.0");
    }
    const std::chrono::duration<double, std::centi> passed = std::chrono::steady_clock::now() - before;
    EXPECT_LE(static_cast<double>(last - first), passed.count() + 1);
}

TEST_F(SystemGroupTest, TheTableOfMibsNamesEachWithTheSubtreeThatHoldsItsGroups) {
    Start({"--module", kMainModule, "--module", kTestModule});
    const std::string table = V2c("snmpwalk", {kSystem + "9.1"}).output;
    for (const auto& [name, root] :
         std::vector<std::pair<std::string, std::string>>{{"AGENT-TEST-MIB", ".1.3.6.1.4.1.32473"},
                                                          {"HOST-RESOURCES-MIB", ".1.3.6.1.2.1.25"},
                                                          {"SNMP-MPD-MIB", ".1.3.6.1.6.3.11.2.1"},
                                                          {"SNMP-USER-BASED-SM-MIB", ".1.3.6.1.6.3.15.1.1"},
                                                          {"SNMP-FRAMEWORK-MIB", kEngine.substr(0, kEngine.size() - 1)},
                                                          {"SNMPv2-MIB", kSystem.substr(0, kSystem.size() - 1)}}) {
        std::smatch row;
        const std::regex description("9\\.1\\.3\\.([0-9]+) = STRING: \"" + name + "\"");
        ASSERT_TRUE(std::regex_search(table, row, description)) << table;
        EXPECT_NE(table.find("9.1.2." + row.str(1) + " = OID: " + root + "\n"), std::string::npos) << table;
    }
    const long change = Number(kSystem + "8.0");
    EXPECT_EQ(change, Number(kSystem + "9.1.4.1"));
    EXPECT_LE(change, Number(kSystem + "3.0"));
    EXPECT_EQ(Get(kSystem + "9.1.3.8"), kSystem + "9.1.3.8 = No Such Instance currently exists at this OID\n");
    EXPECT_EQ(Get(kSystem + "9.1.3.0"), kSystem + "9.1.3.0 = No Such Instance currently exists at this OID\n");
}

TEST_F(SystemGroupTest, AMibWhoseGroupsLieApartHasARowForEach) {
    Start({"--module", kMainModule});
    const std::string table = V2c("snmpwalk", {kSystem + "9.1"}).output;
    std::set<std::string> roots;
    const std::regex row("9\\.1\\.3\\.([0-9]+) = STRING: \"SNMPv2-MIB\"");
    for (auto found = std::sregex_iterator(table.begin(), table.end(), row); found != std::sregex_iterator(); ++found) {
        roots.insert(Get(kSystem + "9.1.2." + found->str(1)).substr((kSystem + "9.1.2.6 = OID: ").size()));
    }
    EXPECT_EQ(roots, (std::set<std::string>{".1.3.6.1.2.1.1\n", ".1.3.6.1.2.1.11\n"})) << table;
}

TEST_F(SystemGroupTest, SysObjectIdComesFromTheConfigurationAndReturnsToTheDefaultWithIt) {
    const std::string object = kSystem + "2.0";
    StartWith("sysObjectID 1.3.6.1.4.1.8072.3.2.10\n");
    EXPECT_EQ(Get(object), object + " = OID: .1.3.6.1.4.1.8072.3.2.10\n");
    ReloadWith("sysObjectID .1.3.6.1.4.1.32473.4294967295  \n", "agent.conf again");
    EXPECT_EQ(Get(object), object + " = OID: .1.3.6.1.4.1.32473.4294967295\n");
    ReloadWith("sysObjectID linux\n", "line 2: Error: sysObjectID needs an object identifier in numbers");
    EXPECT_EQ(Get(object), object + " = OID: .1.3.6.1.4.1.32473.4294967295\n");
    WriteConfig("rwcommunity public 127.0.0.1\n");
    Agent().Signal(SIGHUP);
    const std::string ours = object + " = OID: .1.3.6.1.4.1.32473.100.1\n";
    for (int tries = 0; tries < 500 && Get(object) != ours; ++tries) {
        ASSERT_FALSE(Agent().HasEnded());
    }
    EXPECT_EQ(Get(object), ours);
}

TEST_F(SystemGroupTest, ASysObjectIdThatCannotBeSentIsAFault) {
    for (const char* const id : {"1", "3.1", "1.40", "1.3..6", "1.3.4294967296", "1.3 6", "iso.3.6", "1.3.6x"}) {
        const std::string file = WriteConfig("rocommunity public 127.0.0.1\nsysObjectID " + std::string(id) + "\n");
        const Outcome outcome = RunAgent({"--check-config", file});
        EXPECT_EQ(outcome.status, 1) << id;
        EXPECT_NE(outcome.output.find(file + ": line 2: Error: sysObjectID needs an object identifier"),
                  std::string::npos)
            << id << ": " << outcome.output;
    }
}

TEST_F(SystemGroupTest, TheEngineReportsItsIdentifierBootsTimeAndLongestMessage) {
    const std::string config = "engineID fixed\n";
    StartWith(config);
    EXPECT_EQ(Get(kEngine + "1.0"), kEngine + "1.0 = Hex-STRING: 80 00 1F 88 04 66 69 78 65 64 \n");
    EXPECT_EQ(Number(kEngine + "2.0"), 1);
    EXPECT_LE(Number(kEngine + "3.0"), Number(kSystem + "3.0") / 100 + 1);
    EXPECT_EQ(Number(kEngine + "4.0"), 65507);
    ExpectCleanEnd();
    StartWith(config);
    EXPECT_EQ(Number(kEngine + "2.0"), 2);
}

TEST_F(SystemGroupTest, IsLeftToAModuleThatServesItItself) {
    Start({"--module", kTestModule}, {"AGENT_TEST_MODULE=system"});
    EXPECT_NE(Log().find("leaves SNMPv2-MIB.system to a module"), std::string::npos) << Log();
    EXPECT_EQ(Text(1), "the module's own");
    for (const char* const own : {"2.0", "3.0", "9.1.3.1"}) {
        EXPECT_EQ(Get(kSystem + own), kSystem + own + " = No Such Object available on this agent at this OID\n");
    }
    EXPECT_EQ(Number(kEngine + "4.0"), 65507);
}

}  // namespace
}  // namespace agent_test
