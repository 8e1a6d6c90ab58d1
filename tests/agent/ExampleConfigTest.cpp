// The example configuration: clients check line by line what its comments promise.

#include <sys/prctl.h>

#include <regex>
#include <sstream>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

const std::string kHost = ".1.3.6.1.2.1.25.";
const std::string kRun = kHost + "4.2.1.";
const std::string kDate = kHost + "1.2.0";

constexpr const char* kExample = CVHOST_SOURCE_DIR "/packaging/cvtagentd.conf";

class ExampleConfigTest : public AgentTest {
protected:
    /// The file, without the leading # of each line of directives that `pattern` matches.
    static std::string Example(const std::string& pattern) {
        std::ifstream in(kExample);
        const std::regex wanted("#(createUser|rouser|rocommunity|view|group|access) .*" + pattern + ".*");
        std::string content;
        int uncommented = 0;
        for (std::string line; std::getline(in, line);) {
            const bool matches = !pattern.empty() && std::regex_match(line, wanted);
            uncommented += matches ? 1 : 0;
            content += (matches ? line.substr(1) : line) + "\n";
        }
        EXPECT_EQ(uncommented > 0, !pattern.empty()) << pattern;
        return content;
    }
    void StartWith(const std::string& config) {
        Start({"--module", kMainModule, "--module", kTestModule, "--config", WriteConfig(config)});
    }
    Outcome As(const std::string& user, const std::string& client, const Arguments& arguments,
               const Arguments& protocols = {"-a", "SHA-256", "-x", "AES"}) const {
        return Client(client, Arguments{"-v3", "-l", "authPriv", "-u", user} + protocols +
                                  Arguments{"-A", "change this pass phrase", "-X", "and this one", Udp()} + arguments);
    }
    static std::string ReasonOf(const Outcome& outcome) {
        const auto begin = outcome.output.find("Reason: ");
        return begin == std::string::npos
                   ? outcome.output
                   : outcome.output.substr(begin + 8, outcome.output.find_first_of(" \n", begin + 8) - begin - 8);
    }
    void ExpectNoAnswer(const Arguments& version) const {
        const Outcome outcome =
            Client("snmpget", Arguments{"-t", "0.3", "-r", "0"} + version + Arguments{Udp(), kMemorySize});
        EXPECT_NE(outcome.output.find("Timeout"), std::string::npos) << outcome.output;
    }
};

TEST_F(ExampleConfigTest, UnchangedItGrantsAccessOnlyToTheReaderOnceThatUserIsAdded) {
    StartWith(Example(""));
    EXPECT_NE(As("reader", "snmpget", {kMemorySize}).status, 0);
    ExpectNoAnswer({"-v2c", "-c", "public"});
    ExpectNoAnswer({"-v1", "-c", "public"});
    ExpectCleanEnd();
    const Outcome added = RunToEnd(m_command + Arguments{"--create-user", "reader", "--state-dir", m_scratch / "state",
                                                         "--config", WriteConfig(Example(""))},
                                   m_scratch, {}, m_scratch.Write("input", "change this pass phrase\nand this one\n"));
    ASSERT_EQ(added.status, 0) << added.output;
    StartWith(Example(""));
    EXPECT_EQ(As("reader", "snmpget", {kMemorySize}).status, 0);
}

TEST_F(ExampleConfigTest, TheReaderReadsEverythingWithEncryptionAndWritesNothing) {
    StartWith(Example("reader"));
    const std::string walk = As("reader", "snmpbulkwalk", {kHost + "4.2.1"}).output;
    EXPECT_NE(walk.find(kRun + "2.1 = "), std::string::npos) << walk;
    EXPECT_NE(walk.find(kRun + "5.1 = "), std::string::npos) << walk;
    EXPECT_EQ(ReasonOf(As("reader", "snmpset", {kDate, "x", "00"})), "noAccess");
    EXPECT_EQ(ReasonOf(As("reader", "snmpset", {kValues + "1.0", "i", "2"})), "noAccess");
    const Outcome plain = Client("snmpget", {"-v3", "-l", "authNoPriv", "-u", "reader", "-a", "SHA-256", "-A",
                                             "change this pass phrase", Udp(), kMemorySize});
    EXPECT_NE(plain.status, 0) << plain.output;
    ExpectCleanEnd();
    StartWith(Example(""));  // "Remove it once the agent has started"
    EXPECT_EQ(As("reader", "snmpget", {kMemorySize}).status, 0);
}

TEST_F(ExampleConfigTest, TheOperatorReadsEverythingAndWritesOnlyTheFiveColumns) {
    const pid_t victim = ::fork();
    if (victim == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (;;) {
            ::pause();
        }
    }
    const std::string row = "." + std::to_string(victim);
    StartWith(Example("(operator|everything|writable)"));
    EXPECT_EQ(As("operator", "snmpget", {kRun + "7" + row}).output, kRun + "7" + row + " = INTEGER: 2\n");
    EXPECT_EQ(As("operator", "snmpget", {kValues + "1.0"}).output, kValues + "1.0 = INTEGER: 1\n");

    // The module's own errors show that the request has reached it.
    EXPECT_EQ(ReasonOf(As("operator", "snmpset", {kDate, "x", "00"})), "wrongValue");
    const Arguments date = {"x", "07EA0B150D393800"};
    for (const Arguments& varBind :
         {Arguments{kHost + "2.3.1.5.999999", "i", "1"}, Arguments{kHost + "3.8.1.8.999999"} + date,
          Arguments{kHost + "3.8.1.9.999999"} + date}) {
        EXPECT_EQ(ReasonOf(As("operator", "snmpset", varBind)), "inconsistentName") << varBind.front();
    }
    const Outcome killed = As("operator", "snmpset", {kRun + "7" + row, "i", "4"});
    EXPECT_EQ(killed.status, 0) << killed.output;
    ::kill(victim, killed.status == 0 ? 0 : SIGTERM);
    EXPECT_EQ(SignalThatEnds(victim), SIGKILL);

    const std::string type = kRun + "6" + row;
    for (const std::string& other : {type, kHost + "2.3.1.4.1", kHost + "1.5.0", kValues + "1.0"}) {
        EXPECT_EQ(ReasonOf(As("operator", "snmpset", {other, "i", "2"})), "noAccess") << other;
    }
}

TEST_F(ExampleConfigTest, TheCommunityReadsAllButProcessArgumentsAndOnlyFromItsNetwork) {
    const std::regex off("\\[snmp\\] disableSNMPv2c yes");
    const std::regex network("192\\.0\\.2\\.0/24");
    const std::string away = std::regex_replace(Example("discreet"), off, "");
    const std::string here = std::regex_replace(away, network, "127.0.0.0/8");
    StartWith(here);
    m_community = "change-this";
    EXPECT_EQ(V2c("snmpget", {kMemorySize}).status, 0);
    const std::string walk = V2c("snmpbulkwalk", {kHost + "4.2.1"}).output;
    EXPECT_NE(walk.find(kRun + "4.1 = "), std::string::npos) << walk;
    EXPECT_NE(walk.find(kRun + "6.1 = "), std::string::npos) << walk;
    EXPECT_EQ(walk.find(kRun + "5."), std::string::npos) << walk;
    EXPECT_EQ(V2c("snmpget", {kRun + "5.1"}).output.find("STRING"), std::string::npos);
    EXPECT_EQ(ReasonOf(Set({kValues + "1.0", "i", "2"})), "noAccess");
    ExpectNoAnswer({"-v1", "-c", "change-this"});
    ExpectCleanEnd();

    StartWith(away);
    ExpectNoAnswer({"-v2c", "-c", "change-this"});
    ExpectCleanEnd();
    StartWith(std::regex_replace(Example("discreet"), network, "127.0.0.0/8"));
    ExpectNoAnswer({"-v2c", "-c", "change-this"});
}

TEST_F(ExampleConfigTest, WeakCryptographyWorksOnlyForTheUserWhoseLineNamesIt) {
    StartWith(Example("(antique|reader)") + "createUser halfway SHA-256 \"change this pass phrase\"\nrouser halfway\n");
    EXPECT_EQ(As("antique", "snmpget", {kMemorySize}, {"-a", "MD5", "-x", "DES"}).status, 0);
    const Arguments impatient = {"-t", "0.3", "-r", "0"};
    EXPECT_NE(As("reader", "snmpget", {kMemorySize}, impatient + Arguments{"-a", "MD5", "-x", "DES"}).status, 0);
    EXPECT_NE(As("halfway", "snmpget", {kMemorySize}, impatient + Arguments{"-a", "SHA-256", "-x", "DES"}).status, 0);
    ExpectCleanEnd();
    const std::string before = "rouser reader authpriv\n";
    EXPECT_EQ(RunAgent({"--check-config", WriteConfig(before + "createUser reader default \"change this\"\n")}).status,
              1);
}

}  // namespace
}  // namespace agent_test
