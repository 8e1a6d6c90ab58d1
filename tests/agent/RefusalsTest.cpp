// What the log says about requests: why one was refused, and with --log-level debug what each one asked.

#include <regex>

#include "tests/agent/V3Test.h"

namespace agent_test {
namespace {

constexpr const char* kSysUpTime = ".1.3.6.1.2.1.1.3.0";

class RefusalsTest : public AgentTest {
protected:
    static constexpr const char* kConfig =
        "rocommunity public 127.0.0.1\n"
        "rocommunity elsewhere 127.0.0.5 -V some\n"
        "view some included .1.3.6.1.2.1.1\n"
        "createUser plain\n"
        "createUser checked SHA-256 \"long enough\"\n"
        "createUser sealed SHA-256 \"long enough\" AES \"long enough\"\n"
        "createUser sealedDes SHA-256 \"long enough\" DES \"long enough\"\n"
        "createUser stranger SHA-256 \"long enough\"\n"
        "rouser plain noauth\nrouser checked auth\nrouser sealed priv\nrouser sealedDes priv\n";

    void StartWith(const Arguments& more = {}) {
        Start(Arguments{"--module", kTestModule, "--config", WriteConfig(kConfig)} + more);
    }
    void Ask(const Arguments& options, const std::string& client = "snmpget", const Arguments& names = {kSysUpTime}) {
        Client(client, Arguments{"-t", "1", "-r", "0"} + options + Arguments{Udp()} + names);
    }
    void AskV3(const std::string& user, const std::string& level, const Arguments& more = {}) {
        Ask(Arguments{"-v3", "-u", user, "-l", level} + more);
    }
    std::size_t Lines(const std::string& text) const {
        std::istringstream log(Log());
        std::size_t count = 0;
        for (std::string line; std::getline(log, line);) {
            count += line.find(text) == std::string::npos ? 0U : 1U;
        }
        return count;
    }
    /// Expects one line with this text, and no other line about a refusal besides `before`.
    void ExpectRefused(const std::string& text) {
        EXPECT_TRUE(Agent().WaitForOutput(text)) << text << "\n" << Log();
        EXPECT_EQ(Lines("refused"), ++m_refused) << Log();
        EXPECT_EQ(Lines("SNMP library"), 0U) << Log();
    }

    const Arguments m_right = {"-a", "SHA-256", "-A", "long enough", "-x", "AES", "-X", "long enough"};

private:
    std::size_t m_refused = 0;
};

TEST_F(RefusalsTest, AnUnknownCommunityIsToldFromOneThatIsNotGrantedToTheAddress) {
    StartWith();
    Ask({"-v1", "-c", "guessed"});
    ExpectRefused("warning: refused, unknown community: SNMPv1 from 127.0.0.1\n");
    Ask({"-v2c", "-c", "elsewhere"});
    ExpectRefused("warning: refused, community not granted to that address: SNMPv2c from 127.0.0.1 (allow");
    Ask({"-v2c", "-c", "public", "--clientaddr=127.0.0.6"});
    ExpectRefused("refused, community not granted to that address: SNMPv2c from 127.0.0.6 (allow");
    EXPECT_EQ(Log().find("guessed"), std::string::npos) << "a community is a secret";
    EXPECT_EQ(Log().find("elsewhere"), std::string::npos) << "a community is a secret";
}

TEST_F(RefusalsTest, AReloadTellsNewCommunities) {
    StartWith();
    WriteConfig("rocommunity new 127.0.0.7\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    Ask({"-v2c", "-c", "new"});
    ExpectRefused("refused, community not granted to that address: SNMPv2c from 127.0.0.1");
    Ask({"-v2c", "-c", "public"});
    ExpectRefused("refused, unknown community: SNMPv2c from 127.0.0.1\n");
}

TEST_F(RefusalsTest, EachCauseInVersion3HasALineOfItsOwn) {
    StartWith();
    AskV3("nobody", "noAuthNoPriv");
    ExpectRefused("refused, unknown user: SNMPv3 from 127.0.0.1, user nobody\n");
    AskV3("checked", "authNoPriv", {"-a", "SHA-256", "-A", "wrong phrase"});
    ExpectRefused("refused, wrong authentication pass phrase or protocol: SNMPv3 from 127.0.0.1, user checked\n");
    AskV3("sealed", "authPriv", {"-a", "SHA-256", "-A", "long enough", "-x", "AES", "-X", "wrong phrase"});
    ExpectRefused("refused, wrong privacy pass phrase or protocol: SNMPv3 from 127.0.0.1, user sealed\n");
    AskV3("sealedDes", "authPriv", {"-a", "SHA-256", "-A", "long enough", "-x", "DES", "-X", "wrong phrase"});
    ExpectRefused("refused, wrong privacy pass phrase or protocol: SNMPv3 from 127.0.0.1, user sealedDes\n");
    AskV3("sealed", "authNoPriv", m_right);
    ExpectRefused("refused, security level too low: SNMPv3 from 127.0.0.1, user sealed (");
    AskV3("checked", "authPriv", m_right);
    ExpectRefused("refused, no key for that security level: SNMPv3 from 127.0.0.1, user checked (");
    AskV3("stranger", "authNoPriv", m_right);
    ExpectRefused("refused, no access granted: SNMPv3 from 127.0.0.1, user stranger (");
    AskV3("checked", "authNoPriv", m_right + Arguments{"-Z", "99,5"});
    ExpectRefused("refused, outside the time window: SNMPv3 from 127.0.0.1, user checked (");
    AskV3("plain", "noAuthNoPriv", {"-n", "nowhere"});
    ExpectRefused("refused, unknown context: SNMPv3 from 127.0.0.1, user plain\n");
    AskV3("plain", "noAuthNoPriv", {"-e", "0x8000000001020304"});
    ExpectRefused("refused, unknown engine identifier: SNMPv3 from 127.0.0.1, user plain (");
}

TEST_F(RefusalsTest, WhatIsAnsweredAndTheSearchForTheEngineAreNoRefusals) {
    StartWith();
    Ask({"-v2c", "-c", "public"});
    AskV3("plain", "noAuthNoPriv");
    AskV3("sealed", "authPriv", m_right);
    ExpectCleanEnd();
    EXPECT_EQ(Lines("refused"), 0U) << Log();
    EXPECT_EQ(Lines("request"), 0U) << Log();
}

TEST_F(RefusalsTest, ARefusalOverAStreamAndIpv6HasItsSource) {
    const std::string port = std::to_string(m_port);
    StartWith({"--listen", "tcp:127.0.0.1:" + port, "--listen", "udp6:[::1]:" + port, "--listen",
               "unix:" + m_scratch / "socket"});
    const Arguments guess = {"-t", "0.3", "-r", "0", "-v2c", "-c", "guessed"};
    Client("snmpget", guess + Arguments{"tcp:127.0.0.1:" + port, kSysUpTime});
    ExpectRefused("refused, unknown community: SNMPv2c from 127.0.0.1\n");
    Client("snmpget", guess + Arguments{"udp6:[::1]:" + port, kSysUpTime});
    ExpectRefused("refused, unknown community: SNMPv2c from ::1\n");
    Client("snmpget", guess + Arguments{"unix:" + m_scratch / "socket", kSysUpTime});
    ExpectRefused("refused, unknown community: SNMPv2c from this host\n");
}

TEST_F(RefusalsTest, AtLevelDebugEachRequestHasALine) {
    StartWith({"--log-level", "debug"});
    const auto expect = [&](const std::string& pattern) {
        const std::regex line("cvtagentd: debug: request from 127\\.0\\.0\\.1: " + pattern + " after [0-9]+ us\n");
        for (int tries = 0; tries < 200 && !std::regex_search(Log(), line); ++tries) {
            ::poll(nullptr, 0, 10);
        }
        EXPECT_TRUE(std::regex_search(Log(), line)) << pattern << "\n" << Log();
    };
    Ask({"-v2c", "-c", "public"});
    expect("SNMPv2c, view _all_, GET, 1 varbind: noError with 1 varbind");
    Ask({"-v1", "-c", "public"}, "snmpget", {kSysUpTime, ".1.3.6.1.2.1.1.99.0"});
    expect("SNMPv1, view _all_, GET, 2 varbinds: noSuchName with 2 varbinds");
    Ask({"-v2c", "-c", "public", "-Cn0", "-Cr7"}, "snmpbulkget", {".1.3.6.1.2.1.1"});
    expect("SNMPv2c, view _all_, GETBULK, 1 varbind: noError with 7 varbinds");
    Ask({"-v2c", "-c", "public"}, "snmpset", {kValues + "1.0", "i", "5"});
    expect("SNMPv2c, view none, SET, 1 varbind: noAccess with 1 varbind");
    AskV3("sealed", "authPriv", m_right);
    expect("SNMPv3, user sealed, GET, 1 varbind: noError with 1 varbind");
    Client("snmpgetnext", {"-v2c", "-c", "elsewhere", "--clientaddr=127.0.0.5", Udp(), kSysUpTime});
    EXPECT_TRUE(Agent().WaitForOutput("request from 127.0.0.5: SNMPv2c, view some, GETNEXT, 1 varbind: noError"))
        << Log();
    for (int tries = 0; tries < 6; ++tries) {
        Ask({"-v2c", "-c", "guessed"});
    }
    EXPECT_EQ(Lines("refused, unknown community"), 6U) << "nothing is held back\n" << Log();
    for (const char* const secret : {"public", "elsewhere", "guessed", "long enough"}) {
        EXPECT_EQ(Log().find(secret), std::string::npos) << secret;
    }
}

}  // namespace
}  // namespace agent_test
