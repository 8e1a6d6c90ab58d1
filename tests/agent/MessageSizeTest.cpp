// Responses of every version that would exceed the longest message, in answer to messages that a manager could send.

#include <string>
#include <vector>

#include "tests/agent/V3Test.h"

namespace agent_test {
namespace {

constexpr long kTooBig = 1;

const std::vector<unsigned int> kHost = {1, 3, 6, 1, 2, 1, 25};
const std::vector<unsigned int> kNobodys = {1, 3, 6, 1, 4, 1, 32473, 77, 1, 0};
const std::vector<unsigned int> kLevel = {1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0};
const std::vector<unsigned int> kLong = {1, 3, 6, 1, 4, 1, 32473, 2, 1, 15, 0};  // 20,000 octets

/// The parts of a version 1 or 2c response that are checked.
struct CommunityResponse {
    std::size_t octets = 0;
    std::int64_t errorStatus = -1;
    std::size_t varBinds = 0;
};

/// A transport, and the version that is used on it. (No community is valid on a Unix socket.)
struct Way {
    const char* name;
    SnmpSocket::Kind kind;
    int version;
};

constexpr Way kWays[] = {
    {"v1 over UDP", SnmpSocket::Kind::kUdp, 0},
    {"v2c over UDP", SnmpSocket::Kind::kUdp, 1},
    {"v1 over TCP", SnmpSocket::Kind::kTcp, 0},
    {"v2c over TCP", SnmpSocket::Kind::kTcp, 1},
};

class MessageSizeTest : public V3Test {
protected:
    /// The response, which must be no longer than the message allows; no value when there is none.
    std::optional<V3Message> Answer(const V3Message& message, const V3User& user) {
        const std::string octets = m_socket->Ask(message.Encode(user));
        EXPECT_LE(octets.size(), static_cast<std::size_t>(message.maxSize));
        auto response = V3Message::Decode(octets, user);
        EXPECT_TRUE(response.has_value()) << user.Name() << ": " << octets.size() << " octets\n" << Log();
        if (response) {
            EXPECT_EQ(response->requestId, message.requestId);
        }
        return response;
    }
    /// Starts the agent on UDP, TCP and a Unix socket.
    void StartOnAllWays(const std::string& config = {}) {
        m_tcpPort = FreePort();
        StartWithUsers(config,
                       {"--listen", "tcp:127.0.0.1:" + std::to_string(m_tcpPort), "--listen", "unix:" + m_file});
    }
    std::unique_ptr<SnmpSocket> Open(SnmpSocket::Kind kind) const {
        switch (kind) {
            case SnmpSocket::Kind::kUdp: return std::make_unique<SnmpSocket>(kind, m_port);
            case SnmpSocket::Kind::kTcp: return std::make_unique<SnmpSocket>(kind, m_tcpPort);
            default: return std::make_unique<SnmpSocket>(m_file);
        }
    }
    static CommunityResponse Answer(SnmpSocket& socket, int version, const std::string& community,
                                    unsigned char command, const std::vector<V3Message::VarBind>& varBinds,
                                    int repetitions = 0) {
        std::string list;
        for (const auto& varBind : varBinds) {
            list += ber::Field(ber::kSequence, varBind.name + varBind.value);
        }
        const std::string pdu =
            ber::Integer(7) + ber::Integer(0) + ber::Integer(repetitions) + ber::Field(ber::kSequence, list);
        const std::string octets =
            socket.Ask(ber::Field(ber::kSequence, ber::Integer(version) + ber::Field(ber::kOctetString, community) +
                                                      ber::Field(command, pdu)));
        CommunityResponse response;
        response.octets = octets.size();
        ber::Reader reader(octets);
        ber::Reader fields(reader.Take(ber::kSequence).value_or(""));
        fields.TakeInteger();
        fields.Take(ber::kOctetString);
        ber::Reader parts(fields.Take(V3Message::kResponse).value_or(""));
        parts.TakeInteger();
        response.errorStatus = parts.TakeInteger().value_or(-1);
        parts.TakeInteger();
        for (ber::Reader rest(parts.Take(ber::kSequence).value_or("")); rest.Take(ber::kSequence);) {
            ++response.varBinds;
        }
        return response;
    }
    void ExpectTooBig(const V3Message& message, const V3User& user) {
        const auto response = Answer(message, user);
        if (response) {
            EXPECT_EQ(response->command, V3Message::kResponse) << user.Name();
            EXPECT_EQ(response->errorStatus, kTooBig) << user.Name();
            EXPECT_EQ(response->errorIndex, 0) << user.Name();
            EXPECT_EQ(response->varBinds.size(), 0U) << user.Name();
        }
    }

    int m_tcpPort = 0;
    const std::string m_file = m_scratch / "socket";
};

TEST_F(MessageSizeTest, WhenNeitherTheResponseNorTheRequestFitsTheClientIsToldInAFewOctets) {
    StartWithUsers();
    for (const V3User& user : m_users) {
        for (const unsigned char command : {V3Message::kGet, V3Message::kGetNext, V3Message::kSet}) {
            for (const auto& name : {kHost, kNobodys, kLevel}) {
                V3Message message = From(user);
                message.maxSize = 484;
                message.command = command;
                message.varBinds = Times(70, name);
                if (command == V3Message::kSet) {
                    for (auto& varBind : message.varBinds) {
                        varBind.value = ber::Integer(5);
                    }
                }
                SCOPED_TRACE(std::to_string(command) + " of a name of " + std::to_string(name.size()) + " arcs");
                ExpectTooBig(message, user);
            }
        }
    }
}

TEST_F(MessageSizeTest, OverAStreamTheClientsOwnLimitAppliesToo) {
    StartOnAllWays();
    for (const SnmpSocket::Kind kind : {SnmpSocket::Kind::kTcp, SnmpSocket::Kind::kUnix}) {
        m_socket = Open(kind);
        for (const V3User& user : m_users) {
            for (const unsigned char command : {V3Message::kGetNext, V3Message::kSet}) {
                V3Message message = From(user);
                message.maxSize = 500;
                message.command = command;
                message.varBinds = Times(70, kHost);
                ExpectTooBig(message, user);
            }
        }
    }
}

TEST_F(MessageSizeTest, ABulkResponseHoldsWhatFits) {
    StartWithUsers();
    for (const V3User& user : m_users) {
        if (user.Name() == "stranger") {
            continue;
        }
        for (const int size : {484, 600, 1472, 65507}) {
            V3Message message = From(user);
            message.maxSize = size;
            message.command = V3Message::kGetBulk;
            message.errorIndex = 1;
            const std::size_t columns =
                static_cast<std::size_t>(size) / 25;  // for many more columns the library reads nothing
            message.varBinds = Times(std::min<std::size_t>(columns, 1000), kNobodys);
            const auto response = Answer(message, user);
            ASSERT_TRUE(response.has_value());
            EXPECT_EQ(response->errorStatus, 0) << user.Name() << " " << size;
            const auto least = static_cast<std::size_t>(size - 250) / 40;
            EXPECT_GE(response->varBinds.size(), std::min<std::size_t>(least, 1000)) << user.Name() << " " << size;
        }
    }
}

TEST_F(MessageSizeTest, AMessageThatClaimsAnInvalidSizeIsDropped) {
    StartWithUsers();
    for (const std::int64_t size : {-1, 0, 1, 100, 483}) {
        V3Message message = From(m_users[0]);
        message.maxSize = size;
        message.varBinds = Times(70, kHost);
        EXPECT_TRUE(m_socket->Ask(message.Encode(m_users[0]), 300).empty()) << size;
    }
    V3Message message = From(m_users[0]);
    message.maxSize = 0x7fffffff;
    message.varBinds = Times(1, kHost);
    EXPECT_TRUE(V3Message::Decode(m_socket->Ask(message.Encode(m_users[0])), m_users[0]).has_value());
}

TEST_F(MessageSizeTest, VersionsWithACommunityAreToldThatADatagramWouldBeTooBig) {
    StartOnAllWays();
    for (const Way& way : kWays) {
        const auto socket = Open(way.kind);
        for (const unsigned char command : {V3Message::kGet, V3Message::kGetNext}) {
            auto name = kLong;
            if (command == V3Message::kGetNext) {
                name.pop_back();
            }
            const CommunityResponse response = Answer(*socket, way.version, "public", command, Times(4, name));
            EXPECT_EQ(response.errorStatus, kTooBig) << way.name;
            EXPECT_LE(response.varBinds, 4U) << way.name;
            EXPECT_EQ(Answer(*socket, way.version, "public", command, Times(3, name)).errorStatus, 0) << way.name;
        }
        if (way.version == 1) {
            const CommunityResponse bulk =
                Answer(*socket, 1, "public", V3Message::kGetBulk, Times(4, {1, 3, 6, 1, 4, 1, 32473, 2, 1, 15}), 1);
            EXPECT_EQ(bulk.errorStatus, 0) << way.name;
            EXPECT_EQ(bulk.varBinds, 3U) << way.name;
        }
    }
}

TEST_F(MessageSizeTest, ARequestOverAStreamThatIsNearlyAsLongAsADatagramIsAnswered) {
    StartOnAllWays();
    std::vector<V3Message::VarBind> varBinds = Times(3600, kNobodys);  // with 14 octets of a name each
    for (auto& varBind : varBinds) {
        varBind.value = ber::Integer(1);
    }
    varBinds.resize(60000 / (varBinds[0].name.size() + varBinds[0].value.size() + 2));
    for (const Way& way : kWays) {
        if (way.kind != SnmpSocket::Kind::kUdp) {
            const auto socket = Open(way.kind);
            for (const unsigned char command : {V3Message::kGet, V3Message::kGetNext, V3Message::kSet}) {
                const CommunityResponse response = Answer(*socket, way.version, "private", command, varBinds);
                EXPECT_GE(response.errorStatus, 0) << way.name << " " << static_cast<int>(command);
                EXPECT_LE(response.octets, 65507U) << way.name;
            }
        }
    }
}

TEST_F(MessageSizeTest, TheConfiguredLimitAppliesToAllVersions) {
    StartOnAllWays("[snmp] sendMessageMaxSize 700\n");
    for (const Way& way : kWays) {
        const auto socket = Open(way.kind);
        const CommunityResponse response =
            Answer(*socket, way.version, "public", V3Message::kGetNext, Times(100, kHost));
        EXPECT_EQ(response.errorStatus, kTooBig) << way.name;
        EXPECT_LE(response.octets, 700U) << way.name;
    }
    V3Message message = From(m_users[4]);
    message.command = V3Message::kGetNext;
    message.varBinds = Times(100, kHost);
    ExpectTooBig(message, m_users[4]);
}

TEST_F(MessageSizeTest, WhereTheConfigurationAsksForTheOtherWayOfEncodingTheAnswersAreTheSame) {
    StartOnAllWays("[snmp] reverseEncodeBER no\n");
    for (const Way& way : kWays) {
        const auto socket = Open(way.kind);
        EXPECT_EQ(Answer(*socket, way.version, "public", V3Message::kGetNext, Times(3, kHost)).varBinds, 3U)
            << way.name;
    }
    for (const V3User& user : m_users) {
        V3Message message = From(user);
        message.maxSize = 484;
        message.command = V3Message::kGetNext;
        message.varBinds = Times(70, kHost);
        ExpectTooBig(message, user);
    }
}

TEST_F(MessageSizeTest, DelegatedRequestsAndSetsRefusedMeanwhileKeepToTheLimit) {
    const std::string file = m_scratch / "go";
    StartWithUsers({}, {}, {"READ_TEST_VALUE=" + file});
    for (const V3User& user : {m_users[0], m_users[5]}) {
        std::filesystem::remove(file);
        V3Message waiting = From(user);
        waiting.maxSize = 484;
        waiting.varBinds = Times(70, {1, 3, 6, 1, 4, 1, 32473, 3, 4, 1, 1, 2});
        ASSERT_TRUE(m_socket->Send(waiting.Encode(user)));
        V3Message set = From(user);
        set.maxSize = 484;
        set.command = V3Message::kSet;
        set.varBinds = Times(70, kLevel);
        ExpectTooBig(set, user);
        m_scratch.Write("go", "");
        const auto late = V3Message::Decode(m_socket->Receive(), user);
        ASSERT_TRUE(late.has_value());
        EXPECT_EQ(late->requestId, waiting.requestId);
        EXPECT_EQ(late->errorStatus, kTooBig);
        EXPECT_TRUE(late->varBinds.empty());
    }
}

TEST_F(MessageSizeTest, AContextThatDoesNotExistIsNotAnswered) {
    StartWithUsers();
    const V3User& user = m_users[4];
    const auto answers = [&](const std::string& engineId, const std::string& name) {
        V3Message message = From(user);
        message.contextEngineId = engineId;
        message.contextName = name;
        message.varBinds = Times(1, kHost);
        return V3Message::Decode(m_socket->Ask(message.Encode(user), 500), user).has_value();
    };
    EXPECT_TRUE(answers(m_engineId, ""));
    EXPECT_TRUE(answers("", "")) << "as in discovery";
    EXPECT_FALSE(answers(m_engineId + "x", ""));
    EXPECT_FALSE(answers(m_engineId.substr(1), ""));
    EXPECT_FALSE(answers(std::string(m_engineId.size(), 'x'), ""));
    EXPECT_FALSE(answers(std::string(200, 'x'), ""));
    EXPECT_FALSE(answers(m_engineId, "other"));
    EXPECT_FALSE(answers(m_engineId, std::string(1, '\0')));
    EXPECT_FALSE(answers(m_engineId, std::string("\0other", 6)));
    EXPECT_TRUE(answers(m_engineId, ""));
}

}  // namespace
}  // namespace agent_test
