// The counters by which a manager sees what the agent has refused: the snmp group, snmpMPDStats, usmStats.

#include <map>
#include <regex>

#include "tests/agent/V3Test.h"

namespace agent_test {
namespace {

const std::string kSnmp = ".1.3.6.1.2.1.11.";
const std::string kMpdStats = ".1.3.6.1.6.3.11.2.1.";
const std::string kUsmStats = ".1.3.6.1.6.3.15.1.1.";

/// By name; counters that have not changed are left out.
using Changes = std::map<std::string, long>;

class CountersTest : public V3Test {
protected:
    /// What `act` changes, without what reading the counters changes.
    template <class Act>
    Changes After(Act act) {
        const std::vector<long> first = Read();
        const std::vector<long> second = Read();
        act();
        const std::vector<long> third = Read();
        Changes changes;
        for (std::size_t at = 0; at < m_counters.size(); ++at) {
            const long change = third[at] - second[at] - (second[at] - first[at]);
            if (change != 0) {
                changes[m_counters[at].first] = change;
            }
        }
        return changes;
    }

    /// In one request, so that reading always changes the same counters by the same numbers.
    std::vector<long> Read() const {
        Arguments names;
        for (const auto& [name, oid] : m_counters) {
            names.push_back(oid);
        }
        const Outcome outcome = Client("snmpget", Arguments{"-v2c", "-c", "public", "-OqvU", Udp()} + names);
        std::istringstream lines(outcome.output);
        std::vector<long> values;
        for (std::string line; std::getline(lines, line);) {
            EXPECT_TRUE(std::regex_match(line, std::regex("[0-9]+"))) << line;
            values.push_back(std::atol(line.c_str()));
        }
        EXPECT_EQ(values.size(), m_counters.size()) << outcome.output;
        values.resize(m_counters.size());
        return values;
    }

    void Send(const std::string& octets) const { ASSERT_TRUE(m_socket->Send(octets)); }
    /// A version 1 or 2c message for sysUpTime, `command` an octet of BER.
    static std::string Community(const std::string& community, int version, unsigned char command = V3Message::kGet) {
        const std::string varBind =
            ber::Field(ber::kSequence, ber::Oid({1, 3, 6, 1, 2, 1, 1, 3, 0}) + ber::Field(ber::kNull, ""));
        return ber::Field(ber::kSequence, ber::Integer(version) + ber::Field(ber::kOctetString, community) +
                                              ber::Field(command, ber::Integer(7) + ber::Integer(0) + ber::Integer(0) +
                                                                      ber::Field(ber::kSequence, varBind)));
    }
    const V3User& User(const std::string& name) const {
        return *std::find_if(m_users.begin(), m_users.end(), [&](const auto& user) { return user.Name() == name; });
    }
    V3Message Get(const V3User& user) {
        V3Message message = From(user);
        message.varBinds = Times(1, {1, 3, 6, 1, 2, 1, 1, 3, 0});
        return message;
    }

    const std::vector<std::pair<std::string, std::string>> m_counters = {
        {"InPkts", kSnmp + "1.0"},
        {"OutPkts", kSnmp + "2.0"},
        {"InBadVersions", kSnmp + "3.0"},
        {"InBadCommunityNames", kSnmp + "4.0"},
        {"InBadUses", kSnmp + "5.0"},
        {"InASNParseErrs", kSnmp + "6.0"},
        {"InTotalReqVars", kSnmp + "13.0"},
        {"InTotalSetVars", kSnmp + "14.0"},
        {"InGetRequests", kSnmp + "15.0"},
        {"InGetNexts", kSnmp + "16.0"},
        {"InSetRequests", kSnmp + "17.0"},
        {"OutTooBigs", kSnmp + "20.0"},
        {"OutNoSuchNames", kSnmp + "21.0"},
        {"OutGetResponses", kSnmp + "28.0"},
        {"SilentDrops", kSnmp + "31.0"},
        {"UnknownSecurityModels", kMpdStats + "1.0"},
        {"InvalidMsgs", kMpdStats + "2.0"},
        {"UnknownPDUHandlers", kMpdStats + "3.0"},
        {"UnsupportedSec", kUsmStats + "1.0"},
        {"NotInTimeWindows", kUsmStats + "2.0"},
        {"UnknownUsers", kUsmStats + "3.0"},
        {"UnknownEngines", kUsmStats + "4.0"},
        {"WrongDigests", kUsmStats + "5.0"},
        {"DecryptionErrors", kUsmStats + "6.0"},
    };
};

TEST_F(CountersTest, RequestsThatAreAnsweredAreCountedByKind) {
    StartWithUsers();
    EXPECT_EQ(
        After([&] { EXPECT_FALSE(m_socket->Ask(Community("public", 1)).empty()); }),
        (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"InGetRequests", 1}, {"InTotalReqVars", 1}, {"OutGetResponses", 1}}));
    EXPECT_EQ(
        After([&] { EXPECT_FALSE(m_socket->Ask(Community("public", 0, V3Message::kGetNext)).empty()); }),
        (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"InGetNexts", 1}, {"InTotalReqVars", 1}, {"OutGetResponses", 1}}));
    EXPECT_EQ(
        After([&] {
            EXPECT_EQ(Set({kValues + "1.0", "i", "5"}).status, 0);
        }),
        (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"InSetRequests", 1}, {"InTotalSetVars", 1}, {"OutGetResponses", 1}}));
    EXPECT_EQ(After([&] {
                  ExpectSetRefused({kValues + "1.0", "s", "text"}, "wrongType", kValues + "1.0");
              }),
              (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"InSetRequests", 1}, {"OutGetResponses", 1}}));
    EXPECT_EQ(
        After([&] { EXPECT_FALSE(m_socket->Ask(Get(User("aes")).Encode(User("aes"))).empty()); }),
        (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"InGetRequests", 1}, {"InTotalReqVars", 1}, {"OutGetResponses", 1}}));
}

TEST_F(CountersTest, RefusedCommunitiesAreCounted) {
    StartWithUsers();
    for (const int version : {0, 1}) {
        EXPECT_EQ(After([&] { Send(Community("guessed", version)); }),
                  (Changes{{"InPkts", 1}, {"InBadCommunityNames", 1}}));
    }
}

TEST_F(CountersTest, MessagesThatAreNotSnmpAreCounted) {
    StartWithUsers();
    EXPECT_EQ(After([&] { Send("nonsense"); }), (Changes{{"InPkts", 1}, {"InASNParseErrs", 1}}));
    EXPECT_EQ(After([&] { Send(Community("public", 7)); }), (Changes{{"InPkts", 1}, {"InBadVersions", 1}}));
}

TEST_F(CountersTest, EachKindOfRefusalOfVersion3IsCounted) {
    StartWithUsers();
    const auto ask = [&](const V3Message& message, const V3User& user) {
        return After([&] { EXPECT_FALSE(m_socket->Ask(message.Encode(user)).empty()); });
    };
    V3User nobody("nobody", Digest::kSha256, Cipher::kNone);
    nobody.Localize(m_engineId);
    EXPECT_EQ(ask(Get(nobody), nobody), (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"UnknownUsers", 1}}));

    V3User guessed("aes", Digest::kSha256, Cipher::kAes);
    guessed.Localize(m_engineId + "x");  // other keys
    EXPECT_EQ(ask(Get(guessed), guessed), (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"WrongDigests", 1}}));

    V3Message late = Get(User("aes"));
    late.time += 1000;
    EXPECT_EQ(ask(late, User("aes")), (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"NotInTimeWindows", 1}}));

    V3Message strange = Get(User("plain"));
    strange.engineId = m_engineId + "x";
    EXPECT_EQ(ask(strange, User("plain")), (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"UnknownEngines", 1}}));

    V3User sealed("md5", Digest::kMd5, Cipher::kAes);  // the user has no key for privacy
    sealed.Localize(m_engineId);
    EXPECT_EQ(ask(Get(sealed), sealed), (Changes{{"InPkts", 1}, {"OutPkts", 1}, {"UnsupportedSec", 1}}));
}

TEST_F(CountersTest, AMessageForAContextThatDoesNotExistIsOnlyReceived) {
    StartWithUsers();
    V3Message message = Get(User("plain"));
    message.contextName = "nowhere";
    EXPECT_EQ(After([&] {
                  Send(message.Encode(User("plain")));
                  EXPECT_EQ(m_socket->Receive(300), "");
              }),
              (Changes{{"InPkts", 1}}));
}

TEST_F(CountersTest, AResponseThatDoesNotFitIsCountedAsTooBig) {
    StartWithUsers();
    V3Message message = Get(User("plain"));
    message.maxSize = 484;
    message.varBinds = Times(30, {1, 3, 6, 1, 2, 1, 1, 1, 0});
    EXPECT_EQ(After([&] { EXPECT_FALSE(m_socket->Ask(message.Encode(User("plain"))).empty()); })["OutTooBigs"], 1);
}

TEST_F(CountersTest, SnmpEnableAuthenTrapsSaysWhatTheConfigurationSaysAndCanBeWritten) {
    const std::string object = kSnmp + "30.0";
    m_community = "all";
    Start({"--module", kTestModule, "--config", WriteConfig("rwcommunity all 127.0.0.1\n")});
    EXPECT_EQ(AgentTest::Get(object), object + " = INTEGER: 2\n");
    EXPECT_EQ(Set({object, "i", "1"}).status, 0);
    EXPECT_EQ(AgentTest::Get(object), object + " = INTEGER: 1\n");
    ExpectSetRefused({object, "i", "3"}, "wrongValue", object);
    EXPECT_EQ(AgentTest::Get(object), object + " = INTEGER: 1\n");
    WriteConfig("rwcommunity all 127.0.0.1\nauthtrapenable 2\n");
    Agent().Signal(SIGHUP);
    ASSERT_TRUE(Agent().WaitForOutput("agent.conf again")) << Log();
    EXPECT_EQ(AgentTest::Get(object), object + " = INTEGER: 2\n");
    ExpectCleanEnd();
    WriteConfig("rwcommunity all 127.0.0.1\nauthtrapenable 1\n");
    Start({"--module", kTestModule, "--config", m_scratch / "agent.conf"});
    EXPECT_EQ(AgentTest::Get(object), object + " = INTEGER: 1\n");
}

TEST_F(CountersTest, WithSnmpEnableAuthenTrapsAWrongCommunityIsReportedToTheTrapSink) {
    const SnmpSocket unused(SnmpSocket::Kind::kUdp, m_port);
    const int sink = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(::bind(sink, reinterpret_cast<const sockaddr*>(&address), length), 0);
    ASSERT_EQ(::getsockname(sink, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const auto receives = [&](int patienceMs) {
        pollfd readable{sink, POLLIN, 0};
        char octet = 0;
        return ::poll(&readable, 1, patienceMs) == 1 && ::recv(sink, &octet, 1, 0) >= 0;
    };
    m_community = "all";
    Start({"--module", kTestModule, "--config",
           WriteConfig("rwcommunity all 127.0.0.1\ntrap2sink 127.0.0.1:" + std::to_string(ntohs(address.sin_port)) +
                       " public\n")});
    while (receives(200)) {  // a notification of the start, if the library sends one
    }
    m_socket = std::make_unique<SnmpSocket>(SnmpSocket::Kind::kUdp, m_port);
    Send(Community("guessed", 1));
    EXPECT_FALSE(receives(300));
    EXPECT_EQ(Set({kSnmp + "30.0", "i", "1"}).status, 0);
    Send(Community("guessed", 1));
    EXPECT_TRUE(receives(20000)) << Log();
    ::close(sink);
}

}  // namespace
}  // namespace agent_test
