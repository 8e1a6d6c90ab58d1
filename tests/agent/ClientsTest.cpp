// Every usual client, in every version and at every level of security.

#include <algorithm>
#include <sstream>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

constexpr const char* kClients = CVHOST_SOURCE_DIR "/tests/agent/clients";
constexpr const char* kCheckSnmp = "/usr/lib/nagios/plugins/check_snmp";

const std::string kSysName = ".1.3.6.1.2.1.1.5.0";
const std::string kStorage = ".1.3.6.1.2.1.25.2.3";
const std::string kStorageDescr = kStorage + ".1.3";
const std::string kLevel = kValues + "1.0";

/// How each client is told its credentials.
struct Asker {
    const char* name;
    Arguments credentials;  // of the SNMP library's own clients
    Arguments plugin;       // of check_snmp
    Arguments session;      // of Net::SNMP, which does not know SHA-256
};

void PrintTo(const Asker& asker, std::ostream* out) { *out << asker.name; }

const Arguments kPerlUser = {"-version",      "3",   "-username",     "sha1",
                             "-authprotocol", "sha", "-authpassword", "long enough"};

const Asker kAskers[] = {
    {"Version1", {"-v1", "-c", "public"}, {"-P", "1", "-C", "public"}, {"-version", "1", "-community", "public"}},
    {"Version2c", {"-v2c", "-c", "public"}, {"-P", "2c", "-C", "public"}, {"-version", "2c", "-community", "public"}},
    {"NoAuthNoPriv",
     {"-v3", "-l", "noAuthNoPriv", "-u", "none"},
     {"-P", "3", "-L", "noAuthNoPriv", "-U", "none"},
     {"-version", "3", "-username", "none"}},
    {"AuthNoPriv",
     {"-v3", "-l", "authNoPriv", "-u", "sha2", "-a", "SHA-256", "-A", "long enough"},
     {"-P", "3", "-L", "authNoPriv", "-U", "sha2", "-a", "SHA-256", "-A", "long enough"},
     kPerlUser},
    {"AuthPriv",
     {"-v3", "-l", "authPriv", "-u", "sha2", "-a", "SHA-256", "-A", "long enough", "-x", "AES", "-X", "long enough"},
     {"-P", "3", "-L", "authPriv", "-U", "sha2", "-a", "SHA-256", "-A", "long enough", "-x", "AES", "-X",
      "long enough"},
     kPerlUser + Arguments{"-privprotocol", "aes", "-privpassword", "long enough"}},
};

class ClientsTest : public AgentTest, public ::testing::WithParamInterface<Asker> {
protected:
    void SetUp() override {
        Start({"--module", kMainModule, "--module", kTestModule, "--config", WriteConfig(R"(sysName here
rwcommunity public 127.0.0.1
createUser none
createUser sha1 SHA "long enough" AES
createUser sha2 SHA-256 "long enough" AES
rwuser none noauth
rwuser sha1 auth
rwuser sha2 auth
)")});
    }

    bool IsVersion1() const { return GetParam().credentials.front() == "-v1"; }
    std::string Port() const { return Udp().substr(Udp().rfind(':') + 1); }

    Outcome Ask(const std::string& client, const Arguments& arguments, const Arguments& options = {}) const {
        return Client(client, options + GetParam().credentials + Arguments{Udp()} + arguments);
    }
    /// With the names of the storage table.
    Outcome AskByName(const std::string& client, const Arguments& options, const Arguments& arguments = {}) const {
        const Arguments program = {client, "-t", "5", "-r", "1"};
        return RunToEnd(program + options + GetParam().credentials + Arguments{Udp()} + arguments, m_scratch,
                        {"MIBS=HOST-RESOURCES-MIB", "MIBDIRS=" + std::string(kClients),
                         "SNMPCONFPATH=" + m_scratch.Path(), "SNMP_PERSISTENT_DIR=" + m_scratch.Path()});
    }
    Outcome Plugin(const Arguments& arguments) const {
        return RunToEnd(
            Arguments{kCheckSnmp, "-H", "127.0.0.1", "-p", Port(), "-t", "20"} + GetParam().plugin + arguments,
            m_scratch, {"MIBS=", "SNMPCONFPATH=" + m_scratch.Path()});
    }
    static std::vector<std::string> Lines(const std::string& text) {
        std::istringstream in(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    std::vector<std::string> Descriptions() const { return Lines(Ask("snmpwalk", {kStorageDescr}, {"-OqvtU"}).output); }
    const std::string m_sysName = kSysName + " = STRING: \"here\"\n";
};

TEST_P(ClientsTest, SnmpgetAndSnmpgetnextReadAnInstance) {
    EXPECT_EQ(Ask("snmpget", {kSysName}).output, m_sysName);
    EXPECT_EQ(Ask("snmpgetnext", {".1.3.6.1.2.1.1.5"}).output, m_sysName);
}

TEST_P(ClientsTest, WalksOfEitherKindReadATable) {
    const std::string walk = Ask("snmpwalk", {kStorageDescr}).output;
    EXPECT_TRUE(walk.starts_with(kStorageDescr + ".1 = STRING: ")) << walk;
    if (IsVersion1()) {
        return;  // which has no GETBULK
    }
    EXPECT_EQ(Ask("snmpbulkwalk", {kStorageDescr}).output, walk);
    const std::string bulk = Ask("snmpbulkget", {kSysName, kStorageDescr}, {"-Cn0", "-Cr1"}).output;
    EXPECT_EQ(Lines(bulk).back(), Lines(walk).front());
}

TEST_P(ClientsTest, SnmptableShowsEveryRow) {
    const Outcome table = AskByName("snmptable", {"-Cb"}, {kStorage});
    EXPECT_EQ(table.status, 0) << table.output;
    const std::vector<std::string> lines = Lines(table.output);
    ASSERT_GT(lines.size(), 3U) << table.output;
    EXPECT_NE(lines[2].find(" Descr "), std::string::npos) << table.output;
    const std::vector<std::string> descriptions = Descriptions();
    EXPECT_EQ(lines.size() - 3, descriptions.size()) << table.output;
    EXPECT_NE(lines[3].find(descriptions.front()), std::string::npos) << table.output;
}

TEST_P(ClientsTest, SnmpdfShowsEveryRow) {
    const Outcome table = AskByName("snmpdf", {});
    EXPECT_EQ(table.status, 0) << table.output;
    const std::vector<std::string> lines = Lines(table.output);
    EXPECT_EQ(lines.size(), Descriptions().size() + 1) << table.output;
    EXPECT_TRUE(std::all_of(lines.begin() + 1, lines.end(), [](const std::string& line) {
        return line.ends_with('%');
    })) << table.output;
}

TEST_P(ClientsTest, SnmpstatusSaysWhoAnswersAndForHowLong) {
    const Outcome status = Ask("snmpstatus", {});
    EXPECT_EQ(status.status, 0) << status.output;
    EXPECT_NE(status.output.find("]=>[Linux "), std::string::npos) << status.output;
    EXPECT_NE(status.output.find("] Up: 0:00:"), std::string::npos) << status.output;
}

TEST_P(ClientsTest, SnmpsetWritesAnInstance) {
    EXPECT_EQ(Ask("snmpset", {kLevel, "i", "5"}).output, kLevel + " = INTEGER: 5\n");
    EXPECT_EQ(Ask("snmpget", {kLevel}).output, kLevel + " = INTEGER: 5\n");
}

TEST_P(ClientsTest, TheMonitoringPluginComparesWithItsThresholds) {
    if (::access(kCheckSnmp, X_OK) != 0) {
        GTEST_SKIP() << "no check_snmp (monitoring-plugins-standard)";
    }
    const Outcome ok = Plugin({"-o", kLevel, "-w", "0:5", "-c", "0:9"});
    EXPECT_EQ(ok.status, 0) << ok.output;
    EXPECT_TRUE(ok.output.starts_with("SNMP OK - 1 ")) << ok.output;
    const Outcome warning = Plugin({"-o", kLevel, "-w", "2:5", "-c", "0:9"});
    EXPECT_EQ(warning.status, 1) << warning.output;
    EXPECT_EQ(Plugin({"-o", kSysName, "-r", "here"}).status, 0);
    EXPECT_EQ(Plugin({"-o", kSysName, "-r", "elsewhere"}).status, 2);
}

TEST_P(ClientsTest, PerlsNetSnmpGetsATableAndSets) {
    if (RunToEnd({"perl", "-MNet::SNMP", "-MCrypt::Rijndael", "-e", "1"}, m_scratch).status != 0) {
        GTEST_SKIP() << "no Net::SNMP (libnet-snmp-perl, libcrypt-rijndael-perl)";
    }
    const Outcome session =
        RunToEnd(Arguments{"perl", std::string(kClients) + "/session.pl", Port(), kSysName, kStorageDescr, kLevel} +
                     GetParam().session,
                 m_scratch);
    EXPECT_EQ(session.output, "here\n" + std::to_string(Descriptions().size()) + "\n7\n");
    EXPECT_EQ(session.status, 0);
}

INSTANTIATE_TEST_SUITE_P(EachVersion, ClientsTest, ::testing::ValuesIn(kAskers),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace agent_test
