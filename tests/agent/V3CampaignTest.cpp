// Version 3 messages with valid keys and random content, and every message size that a client may claim to accept.
//
// A short run by default. Environment variables turn it into a campaign:
//   CVHOST_V3_MESSAGES  how many messages
//   CVHOST_V3_SEED      the seed of a run that is to be repeated; it is printed when a run fails

#include <algorithm>
#include <chrono>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/agent/Dice.h"
#include "tests/agent/V3Test.h"

namespace agent_test {
namespace {

using Name = std::vector<unsigned int>;

const Name kNames[] = {
    {1, 3, 6, 1, 2, 1, 25},
    {1, 3, 6, 1, 2, 1, 25, 1, 1, 0},
    {1, 3, 6, 1, 2, 1, 25, 4, 2, 1, 5},
    {1, 3, 6, 1, 2, 1, 1},
    {1, 3, 6, 1, 2, 1, 1, 1, 0},
    {1, 3, 6, 1, 4, 1, 32473, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 2, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 14, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 15, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 2},
    {1, 3, 6, 1, 4, 1, 32473, 3, 2, 1, 1},
    {1, 3, 6, 1, 4, 1, 32473, 3, 2, 1, 2},
    {1, 3, 6, 1, 4, 1, 32473, 3, 4, 1},
    {1, 3, 6, 1, 4, 1, 32473, 77, 1, 0},
    {1, 3, 6, 1, 6, 3, 15, 1, 1, 3, 0},
    {1, 3, 7},
    {0, 0},
    {2, 39},
};

std::int64_t AnySize(Dice& dice) {
    switch (dice.Below(8)) {
        case 0: return 484;
        case 1: return static_cast<std::int64_t>(dice.Below(484)) - 2;
        case 2: return 65507 + static_cast<std::int64_t>(dice.Below(60)) - 30;
        case 3:
            return dice.OnceIn(2) ? 0x7fffffff : std::int64_t{0x7fffffff} + static_cast<std::int64_t>(dice.Below(3));
        case 4: return 484 + static_cast<std::int64_t>(dice.Below(65100));
        default: return 484 + static_cast<std::int64_t>(dice.Below(3000));
    }
}

std::string AnyValue(Dice& dice) {
    switch (dice.Below(7)) {
        case 0: return ber::Integer(static_cast<std::int64_t>(dice.Below(1000)) - 500);
        case 1: return ber::Field(ber::kOctetString, dice.Octets(dice.Below(300)));
        case 2: return ber::Oid(dice.Of(kNames));
        case 3: return ber::Field(static_cast<unsigned char>(dice.Below(256)), dice.Octets(dice.Below(20)));
        case 4: return ber::Integer(static_cast<std::int64_t>(dice.Below(0x7fffffff)), 0x42);
        default: return ber::Field(ber::kNull, "");
    }
}

/// The request's varbinds: few or many, all alike or all different.
std::vector<V3Message::VarBind> AnyVarBinds(Dice& dice, bool isSet) {
    constexpr std::size_t kCounts[] = {1, 3, 20, 70, 200, 1500};
    const std::size_t count = 1 + dice.Below(dice.OnceIn(30) ? 3000 : dice.Of(kCounts));
    const bool areAlike = dice.OnceIn(2);
    const bool haveValues = isSet || dice.OnceIn(4);
    std::vector<V3Message::VarBind> varBinds;
    std::size_t octets = 0;
    while (varBinds.size() < count && octets < 50000) {
        if (areAlike && !varBinds.empty()) {
            varBinds.push_back(varBinds.front());
        } else {
            Name name = dice.Of(kNames);
            for (std::size_t more = dice.OnceIn(4) ? dice.Below(dice.OnceIn(20) ? 118 : 4) : 0; more > 0; --more) {
                name.push_back(static_cast<unsigned int>(dice.OnceIn(8) ? dice.Below(0xffffffff) : dice.Below(300)));
            }
            varBinds.push_back({ber::Oid(name), haveValues ? AnyValue(dice) : ber::Field(ber::kNull, "")});
        }
        octets += varBinds.back().name.size() + varBinds.back().value.size() + 4;
    }
    return varBinds;
}

class V3CampaignTest : public V3Test {
protected:
    struct Sent {
        V3Message message;
        const V3User* user;
    };

    /// Writes one message, which depends only on the dice and on the engine's time. Remembers it if any answer to it
    /// must be a proper one.
    std::string Make(Dice& dice) {
        constexpr unsigned char kCommands[] = {V3Message::kGet,     V3Message::kGet,     V3Message::kGetNext,
                                               V3Message::kGetNext, V3Message::kGetBulk, V3Message::kGetBulk,
                                               V3Message::kSet};
        const V3User& user = dice.Of(m_users);
        V3Message message = From(user);
        message.maxSize = AnySize(dice);
        message.command = dice.OnceIn(40) ? static_cast<unsigned char>(0xA0 + dice.Below(12)) : dice.Of(kCommands);
        message.varBinds = AnyVarBinds(dice, message.command == V3Message::kSet);
        if (message.command == V3Message::kGetBulk || dice.OnceIn(10)) {
            message.errorStatus =
                static_cast<std::int64_t>(dice.OnceIn(2) ? 0 : dice.Below(80)) - (dice.OnceIn(20) ? 9 : 0);
            message.errorIndex =
                static_cast<std::int64_t>(dice.Below(dice.OnceIn(5) ? 5000 : 40)) - (dice.OnceIn(20) ? 9 : 0);
        }
        Disturb(dice, message);
        if (dice.OnceIn(4)) {
            return message.Encode(user, [&dice](std::string octets) { return dice.Mutated(std::move(octets)); });
        }
        m_sent[message.id] = {message, &user};
        return message.Encode(user);
    }
    /// Messages that the library answers with a report, and messages for no context.
    void Disturb(Dice& dice, V3Message& message) {
        switch (dice.Below(24)) {
            case 0: message.flags &= ~V3Message::kReportableFlag; break;
            case 1: message.flags &= ~V3Message::kPrivFlag; break;
            case 2: message.flags &= ~(V3Message::kPrivFlag | V3Message::kAuthFlag); break;
            case 3: message.engineId = dice.Octets(dice.Below(40)); break;
            case 4: message.contextEngineId = dice.Octets(dice.Below(dice.OnceIn(3) ? 1000 : 40)); break;
            case 5: message.contextName = dice.Octets(dice.Below(dice.OnceIn(3) ? 1000 : 40)); break;
            case 6: message.contextName = std::string(1 + dice.Below(700), '\0'); break;
            case 7: message.time += 1000; break;
            case 8: message.boots += 1; break;
            case 9: message.contextEngineId.clear(); break;
            default: break;
        }
    }

    /// Waits until a request of another version is answered: everything sent before it has been served by then, unless
    /// it was delegated. Returns false when the agent does not answer.
    bool TakeAnswers(std::uint64_t number) {
        const auto mark = static_cast<std::int64_t>(number % 0x7fffff00);
        const std::string pdu =
            ber::Integer(mark) + ber::Integer(0) + ber::Integer(0) +
            ber::Field(ber::kSequence,
                       ber::Field(ber::kSequence, ber::Oid({1, 3, 6, 1, 2, 1, 1, 3, 0}) + ber::Field(ber::kNull, "")));
        const std::string probe = ber::Field(ber::kSequence, ber::Integer(1) + ber::Field(ber::kOctetString, "public") +
                                                                 ber::Field(V3Message::kGet, pdu));
        for (int tries = 0; tries < 4; ++tries) {
            if (!m_socket->Send(probe)) {
                return false;
            }
            for (std::string octets = m_socket->Receive(kPatienceMs); !octets.empty();
                 octets = m_socket->Receive(kPatienceMs)) {
                ber::Reader reader(octets);
                ber::Reader fields(reader.Take(ber::kSequence).value_or(""));
                if (fields.TakeInteger() == 3) {
                    Look(octets);
                    continue;
                }
                fields.Take(ber::kOctetString);
                ber::Reader response(fields.Take(V3Message::kResponse).value_or(""));
                if (response.TakeInteger() == mark) {
                    return true;
                }
            }
            if (Agent().HasEnded()) {
                return false;
            }
        }
        return false;
    }
    /// A response must be complete, and no longer than its client accepts.
    void Look(const std::string& octets) {
        ++m_answers;
        ber::Reader reader(octets);
        ber::Reader fields(reader.Take(ber::kSequence).value_or(""));
        fields.TakeInteger();
        ber::Reader header(fields.Take(ber::kSequence).value_or(""));
        const auto sent = m_sent.find(header.TakeInteger().value_or(-1));
        if (sent == m_sent.end()) {
            return;
        }
        const auto& [message, user] = sent->second;
        EXPECT_LE(octets.size(), static_cast<std::size_t>(std::max<std::int64_t>(message.maxSize, 484)));
        const auto response = V3Message::Decode(octets, *user);
        EXPECT_TRUE(response.has_value()) << octets.size() << " octets for " << user->Name();
        m_sent.erase(sent);
    }

    static constexpr int kPatienceMs = 5000;
    static constexpr std::uint64_t kBatch = 16;

    std::map<std::int64_t, Sent> m_sent;
    std::uint64_t m_answers = 0;
};

TEST_F(V3CampaignTest, NoMessageWithValidKeysHarmsTheAgent) {
    const std::uint64_t seed = Setting("CVHOST_V3_SEED", std::random_device()());
    const std::uint64_t count = Setting("CVHOST_V3_MESSAGES", kIsSanitized ? 500 : 2000);
    SCOPED_TRACE("repeat with CVHOST_V3_SEED=" + std::to_string(seed));
    RecordProperty("seed", std::to_string(seed));
    StartWithUsers();
    std::uint64_t number = 0;
    while (number < count) {
        std::size_t octets = 0;
        const std::uint64_t end = std::min(count, number + kBatch);
        for (; number < end && octets < 150000; ++number) {
            Dice dice(seed * 1000003 + number);
            const std::string message = Make(dice);
            octets += message.size();
            m_socket->Send(message);
        }
        ASSERT_TRUE(TakeAnswers(number)) << "within the " << kBatch << " messages up to number " << number << "\n"
                                         << Log().substr(0, 20000);
        ASSERT_FALSE(HasFailure()) << "within the " << kBatch << " messages up to number " << number;
        m_sent.clear();
        if (number % 100000 < kBatch) {
            std::cout << number << " messages, " << m_answers << " responses\n" << std::flush;
        }
    }
    EXPECT_GT(m_answers, count / 4) << "nearly nothing is answered, so the messages are not what they should be";
}

}  // namespace
}  // namespace agent_test
