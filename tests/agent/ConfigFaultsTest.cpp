// What --check-config and a start say about a configuration in which every directive is spelled correctly.

#include <netdb.h>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

using Perms = std::filesystem::perms;

class ConfigFaultsTest : public AgentTest {
protected:
    Outcome Check(const std::string& name) const {
        std::filesystem::permissions(m_scratch / name, Perms::owner_read | Perms::owner_write);
        return RunAgent({"--check-config", m_scratch / name, "--state-dir", m_scratch / "state"});
    }
    /// Whether there is somebody to say that a host does not exist.
    static bool HasResolver() {
        addrinfo* found = nullptr;
        const int error = ::getaddrinfo("upd", nullptr, nullptr, &found);
        EXPECT_NE(error, 0) << "there is a host of that name";
        return error != EAI_AGAIN;
    }
    static std::string UndefinedView(const std::string& file, int line = 1) {
        return file + ": line " + std::to_string(line) +
               ": Error: the view some is not defined; add \"view some included OID\"";
    }
};

TEST_F(ConfigFaultsTest, TheAgentDoesNotStartWithAnUndefinedView) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1 -V some\n");
    ExpectRefusal(WithOwn({"--config", file}), kFaulty, UndefinedView(file));
}

TEST_F(ConfigFaultsTest, CheckConfigPrintsFaultsAndRemarks) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1 -V some\nmaster agentx\n");
    std::filesystem::permissions(file, Perms::owner_read);
    const Outcome outcome = RunAgent({"--check-config", file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("cvtagentd: " + UndefinedView(file) + "\n"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find(file + ": line 2: Note: master has no effect in this agent\n"), std::string::npos)
        << outcome.output;
    EXPECT_EQ(outcome.output.find("no faults"), std::string::npos) << outcome.output;
}

TEST_F(ConfigFaultsTest, RemarksDoNotStopAReload) {
    StartWritable();
    WriteConfig("rocommunity other 127.0.0.1\nmaster agentx\nrouser stranger\n");
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_EQ(Log().find("no faults"), std::string::npos) << Log();
    const std::string file = WriteConfig("rocommunity third 127.0.0.1 -V some\n");
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("stays as it was: " + UndefinedView(file))) << Log();
}

TEST_F(ConfigFaultsTest, AddressesAreTriedWithoutOpeningTheConfiguredPort) {
    const std::string port = std::to_string(m_port);
    m_community = "public";
    const std::string own = "rocommunity public 127.0.0.1\nagentaddress " + Udp() + ",tcp:127.0.0.1:" + port + "\n";
    Start({"--module", kTestModule, "--listen", "tcp:127.0.0.1:" + port, "--config", WriteConfig(own)});
    EXPECT_EQ(Check("agent.conf").status, 0) << "the running agent has the port, and keeps it";
    EXPECT_EQ(V2c("snmpget", {kValues + "1.0"}).status, 0);
    for (const std::string& address :
         Arguments{"udp:127.0.0.1:99999", "upd:161", "udp:127.0.0.1:snmp", "udp:127.0.0.1:-1", "tcp:65536",
                   "udp6:[::1]:x", "unix:" + m_scratch / "none/socket", "unix:" + m_scratch / "agent.conf"}) {
        const std::string file =
            m_scratch.Write("addresses.conf", "rocommunity public 127.0.0.1\n\nagentaddress udp:161," + address + "\n");
        const Outcome outcome = Check("addresses.conf");
        const bool isFault = address != "upd:161" || HasResolver();
        EXPECT_EQ(outcome.status, isFault ? 1 : 0) << address;
        const std::string what = isFault ? "Error: cannot listen on " : "for now, the agent cannot listen on ";
        EXPECT_NE(outcome.output.find(std::string(file).append(": line 3: ").append(what).append(address).append(": ")),
                  std::string::npos)
            << address << ": " << outcome.output;
    }
}

TEST_F(ConfigFaultsTest, WhatTheLibrarySaysBrieflyComesWithAdvice) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"rocommunity", "Error: rocommunity needs a value; complete the line"},
        {"disableSNMPv1 yes", "Warning: Unknown token: disableSNMPv1; write it as [snmp] disableSNMPv1"},
        {"agentxpinginterval 5",
         "Warning: Unknown token: agentxpinginterval; it has an effect with --agentx only, so remove it"},
        {"[snmpp] disableSNMPv1 yes", "Error: there is no section [snmpp]; did you mean [snmp]?"},
        {"rocommunity other 300.0.0.1",
         "Error: cannot resolve IPv4 source hostname; write an address, a network such as 192.0.2.0/24, or default"},
        {"rocommunity other 192.0.2.0/33",
         "Error: bad mask length; a network of IPv4 has 0 to 32 bits, as in 192.0.2.0/24"},
        {"rocommunity other 192.0.2.1/255.255.0.0",
         "Error: source/mask mismatch; write a network such as 192.0.2.0/24"},
        {"rocommunity other 127.0.0.1 more words",
         "Error: bad SUBTREE object id; write an object identifier in numbers there, or -V and the name of a view"},
        {"view some", "Error: missing TYPE parameter; write view NAME included|excluded OID"},
        {"group some usm", "Error: an unfinished group; write group NAME usm USER, or group NAME v1|v2c COM2SEC-NAME"},
        {"com2sec name default", "Error: missing COMMUNITY parameter; write com2sec NAME SOURCE COMMUNITY"},
        {"createUser me MD6 \"long enough\"",
         "Error: unknown authProtocol; write SHA-256, or another one of SHA, SHA-224, SHA-384, SHA-512 and MD5"},
        {"createUser me SHA-256 \"long enough\" BLOWFISH", "Error: unknown privProtocol; write AES"}};
    for (const auto& [line, message] : cases) {
        const std::string file = WriteConfig("rocommunity public 127.0.0.1\n" + line + "\n");
        std::string expected = "cvtagentd: ";
        EXPECT_EQ(Check("agent.conf").output, expected.append(file).append(": line 2: ").append(message).append("\n"))
            << line;
    }
}

TEST_F(ConfigFaultsTest, AnAddressThatIsNamedTwiceIsReportedAsAFaultAndNotAsAPortInUse) {
    const std::string file = WriteConfig("rocommunity public 127.0.0.1\nagentaddress " + Udp() + "," + Udp() + "\n");
    EXPECT_EQ(Check("agent.conf").output,
              "cvtagentd: " + file + ": line 2: Error: agentaddress names " + Udp() + " twice; remove one\n");
    ExpectRefusal({"--module", kTestModule, "--state-dir", m_scratch / "state", "--config", file}, kFaulty,
                  "agentaddress names " + Udp() + " twice; remove one");
}

TEST_F(ConfigFaultsTest, AnAddressThatTheHostLacksForNowKeepsNoReloadFromTakingAccessAway) {
    m_community = "public";
    const std::string address = "agentaddress udp:203.0.113.9:161\n";
    Start({"--module", kTestModule, "--config", WriteConfig("rwcommunity public 127.0.0.1\n" + address)});
    const Outcome outcome = Check("agent.conf");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.output.find(": line 2: for now, the agent cannot listen on udp:203.0.113.9:161: this host has no "
                                  "such address"),
              std::string::npos)
        << outcome.output;
    ASSERT_EQ(V2c("snmpget", {kValues + "1.0"}).status, 0);
    WriteConfig("rwcommunity other 127.0.0.1\n" + address);
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_NE(V2c("snmpget", {kValues + "1.0"}, {"-t", "0.5", "-r", "0"}).status, 0);
}

TEST_F(ConfigFaultsTest, EveryWayToWriteAnAddressPassesTheCheck) {
    for (const std::string address :
         {"161", "127.0.0.1", "localhost:161", "udp:161", "udp::161", "tcp:161", "UDP:127.0.0.1:161", "udp:127.0.0.1",
          "udp6:161", "udp6:[::1]:161", "udp6:::1", "tcp6:[::1]:161", "unix:socket", "/tmp/cvtagentd-test-socket"}) {
        m_scratch.Write("addresses.conf", "rocommunity public 127.0.0.1\nagentaddress " + address + "\n");
        EXPECT_EQ(Check("addresses.conf").output, m_scratch / "addresses.conf: no faults\n") << address;
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/cvtagentd-test-socket"));
    EXPECT_FALSE(std::filesystem::exists(m_scratch / "state/socket"));
}

TEST_F(ConfigFaultsTest, ALineThatTheLibraryMustNotSeeIsNamedByCheckStartAndReload) {
    const std::string good = "rocommunity private 127.0.0.1\n";
    Start({"--module", kTestModule, "--config", WriteConfig(good)});
    for (const std::string line :
         {"createUser reader SHA-256", "createUser -e 0x8000000001020304 reader NONSENSE", "\fcreateUser reader SHA",
          "trapsink -v2c -c", "usmUser 1", "trapsink -v", "trap2sink -Cn", "informsink -e", "group some",
          "group some v2c", "vacmView 1", "vacmAccess 1 1 1 \"a\"", "vacmAuthAccess 1", "vacmGroup 1 1 \"a\"",
          "oldEngineID 0x80"}) {
        const std::string file = WriteConfig(std::string(good).append("\n").append(line).append("\n"));
        const Outcome outcome = Check("agent.conf");
        EXPECT_EQ(outcome.status, 1) << line;
        const std::string place = file + ": line 3: Error: ";
        EXPECT_NE(outcome.output.find("cvtagentd: " + place), std::string::npos) << line << ": " << outcome.output;
        EXPECT_EQ(outcome.output.find("crashes"), std::string::npos) << line << ": " << outcome.output;
        const Outcome start =
            RunAgent(WithOwn({"--module", kTestModule, "--state-dir", m_scratch.Path(), "--config", file}));
        EXPECT_NE(start.status, 0) << line;
        EXPECT_NE(start.output.find("cvtagentd: " + place), std::string::npos) << line << ": " << start.output;
        Agent().Signal(SIGHUP);
        EXPECT_TRUE(Agent().WaitForOutput("stays as it was: " + place)) << line << ": " << Log();
    }
}

TEST_F(ConfigFaultsTest, ANullOctetIsAFaultWithItsLineInIncludedFilesToo) {
    const std::string null(1, '\0');
    const std::string more = m_scratch.Write("more.conf", "rocommunity public 127.0.0.1\n# a" + null + "b\n");
    const std::string file = WriteConfig("includeFile more.conf\nrocommunity other" + null + " 127.0.0.1\n");
    const Outcome outcome = Check("agent.conf");
    EXPECT_EQ(outcome.status, 1);
    const std::size_t first = outcome.output.find("cvtagentd: " + file + ": line 2: Error: has a null octet");
    const std::size_t second = outcome.output.find("cvtagentd: " + more + ": line 2: Error: has a null octet");
    EXPECT_LT(first, second) << outcome.output;
    EXPECT_NE(second, std::string::npos) << outcome.output;
}

TEST_F(ConfigFaultsTest, FaultsAndRemarksComeInTheOrderOfTheLinesOnOneStream) {
    const std::string file = m_scratch.Write("agent.conf",
                                             "rocomunity public 127.0.0.1\n"              // 1: the library's fault
                                             "rocommunity public 127.0.0.1 -V some\n"     // 2: the review's fault
                                             "master agentx\n"                            // 3: a remark
                                             "sysServices many\n"                         // 4: the library's fault
                                             "createUser me SHA3 \"long enough\" AES2\n"  // 5: two remarks
                                             "access us \"\" any noauth exact _all_ none none\n"  // 6
                                             "agentaddress upd:161\n"                             // 7
                                             "frobnicate everything\n");                          // 8
    std::filesystem::permissions(file, Perms::owner_read | Perms::owner_write);
    const Outcome outcome =
        RunToEnd({"sh", "-c", "exec \"$0\" \"$@\" >/dev/null", kAgentFile, "--check-config", file}, m_scratch);
    EXPECT_EQ(outcome.status, 1);
    const std::string unresolved =
        ": not a valid address, or its host cannot be resolved; write it as udp:HOST:PORT, tcp:HOST:PORT, "
        "udp6:[HOST]:PORT or unix:FILE";
    const std::vector<std::string> expected = {
        "cvtagentd: " + file + ": line 1: Warning: Unknown token: rocomunity; did you mean rocommunity?",
        "cvtagentd: " + UndefinedView(file, 2),
        file + ": line 3: Note: master has no effect in this agent",
        "cvtagentd: " + file + ": line 4: Error: sysServices needs a number from 0 to 127",
        file + ": line 5: Warning: SHA3 is taken as SHA-384; write the method in full",
        file + ": line 5: Warning: AES2 is taken as AES-256; write the method in full",
        "cvtagentd: " + file +
            ": line 6: Error: the group us is not defined; add \"group us usm USER\" or "
            "\"group us v1|v2c COM2SEC-NAME\"",
        HasResolver() ? "cvtagentd: " + file + ": line 7: Error: cannot listen on upd:161" + unresolved
                      : file + ": line 7: for now, the agent cannot listen on upd:161" + unresolved,
        "cvtagentd: " + file + ": line 8: Warning: Unknown token: frobnicate"};
    std::string text;
    for (const std::string& line : expected) {
        text += line + "\n";
    }
    EXPECT_EQ(outcome.output, text);
}

TEST_F(ConfigFaultsTest, IncludeSearchFindsTheSameFilesInACheckAsInAStart) {
    const std::string state = m_scratch / "state";
    m_scratch.Write("state/more.conf", "rocommunity private 127.0.0.1\n");
    const std::string file = WriteConfig("includeSearch more\n");
    EXPECT_EQ(RunAgent({"--check-config", file, "--state-dir", state}).output, file + ": no faults\n");
    EXPECT_EQ(RunAgent({"--check-config", file}, {"STATE_DIRECTORY=" + state}).output, file + ": no faults\n");
    EXPECT_EQ(RunAgent({"--check-config", file}, {"STATE_DIRECTORY=" + m_scratch.Path()}).status, 1);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(state)) {
        names.push_back(entry.path().filename());
    }
    EXPECT_EQ(names, std::vector<std::string>{"more.conf"}) << "a check writes nothing";
    Start({"--module", kTestModule, "--config", file});
    EXPECT_EQ(AgentTest::Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
    Agent().Signal(SIGHUP);
    EXPECT_TRUE(Agent().WaitForOutput("stays as it was: " + file + ": includeSearch takes effect only at a start"))
        << Log();
    EXPECT_EQ(AgentTest::Get(kValues + "1.0"), kValues + "1.0 = INTEGER: 1\n");
}

TEST_F(ConfigFaultsTest, WithoutAFileTheServicesOwnIsChecked) {
    const Outcome outcome = RunAgent({"--check-config"}, {"STATE_DIRECTORY=" + m_scratch / "state"});
    EXPECT_NE(outcome.output.find(CVHOST_SYSCONFDIR "/cvtagentd.conf"), std::string::npos) << outcome.output;
}

}  // namespace
}  // namespace agent_test
