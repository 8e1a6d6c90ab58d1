// An AgentX master that sends random messages: requests of every type, the phases of SETs in any order, messages that
// only a subagent sends, and octets changed at random. The agent answers, or closes the session; it never crashes,
// leaks, answers what was not asked or keeps an undo cell.
//
// A short run by default. Environment variables turn it into a campaign:
//   CVHOST_AGENTX_MESSAGES  how many messages
//   CVHOST_AGENTX_SEED      the seed of a run that is to be repeated; it is printed when a run fails

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/agent/AgentXTest.h"
#include "tests/agent/Dice.h"
#include "tests/agent/ScriptedMaster.h"
#include "tests/support/Sanitizers.h"

namespace agent_test {
namespace {

using Master = ScriptedMaster;

const Master::Oid kNames[] = {
    {},
    {1, 3, 6, 1, 2, 1, 1, 3, 0},
    {1, 3, 6, 1, 4, 1, 32473},
    {1, 3, 6, 1, 4, 1, 32473, 0},
    {1, 3, 6, 1, 4, 1, 32473, 0, 1, 0},
    {1, 3, 6, 1, 4, 1, 32473, 0, 3, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 2, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 3, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 4, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 5, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 14},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 15, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 1, 17, 0},
    {1, 3, 6, 1, 4, 1, 32473, 2, 2},
    {1, 3, 6, 1, 4, 1, 32473, 2, 2, 3, 1, 2},
    {1, 3, 6, 1, 4, 1, 32473, 2, 2, 3, 1, 2, 1},
    {1, 3, 6, 1, 4, 1, 32473, 2, 2, 3, 1, 2, 7, 5},
    {1, 3, 6, 1, 4, 1, 32473, 2, 2, 5, 0},
    {1, 3, 6, 1, 4, 1, 32473, 77},
    {1, 3, 7},
    {2, 39},
};

/// Makes one message, which depends only on the dice.
class AnyMessage {
public:
    AnyMessage(Dice& dice, std::uint32_t packet) : m_dice(dice) {
        constexpr std::uint8_t kTypes[] = {Master::kGet,       Master::kGet,     Master::kGetNext,   Master::kGetNext,
                                           Master::kGetBulk,   Master::kTestSet, Master::kTestSet,   Master::kTestSet,
                                           Master::kCommitSet, Master::kUndoSet, Master::kCleanupSet};
        m_header.type = m_dice.OnceIn(30) ? static_cast<std::uint8_t>(m_dice.Below(20)) : m_dice.Of(kTypes);
        m_header.session = Master::kSession;
        m_header.transaction = static_cast<std::uint32_t>(1 + m_dice.Below(6));  // few, so that they meet
        m_header.packet = packet;
        std::string payload = Payload();
        if (m_dice.OnceIn(15)) {
            m_header.flags |= kNonDefaultContext;
            payload.insert(0, m_octets.Text(m_dice.Octets(m_dice.Below(m_dice.OnceIn(5) ? 300 : 8))));
            m_isGood = false;  // there is no other context
        }
        if (m_dice.OnceIn(30)) {
            m_header.session = static_cast<std::uint32_t>(m_dice.Below(10));
            m_isGood = m_isGood && m_header.session == Master::kSession;
        }
        if (m_dice.OnceIn(4)) {
            payload = m_dice.Mutated(std::move(payload));
            payload.resize(payload.size() / 4 * 4);
            m_isGood = false;
        }
        m_text = m_octets.Message(m_header, payload);
        if (m_dice.OnceIn(60)) {  // the header, but not where a message ends
            m_text[1 + m_dice.Below(15)] = static_cast<char>(m_dice.Below(256));
            m_text[2] = static_cast<char>((m_text[2] & ~AgentxOctets::kNetworkOrder) |
                                          (m_octets.IsInNetworkOrder() ? AgentxOctets::kNetworkOrder : 0));
            m_isGood = false;
            m_hasItsPacket = false;
        }
    }

    const std::string& Octets() const { return m_text; }
    /// For the log of a failure.
    std::string Description() const {
        return "type " + std::to_string(m_header.type) + ", transaction " + std::to_string(m_header.transaction) +
               ", packet " + std::to_string(m_header.packet);
    }
    /// Whether the agent must answer it, and without closing the session.
    bool IsAnswered() const { return m_isGood && m_header.type >= Master::kGet && m_header.type <= Master::kUndoSet; }
    bool IsGood() const { return m_isGood; }
    bool HasItsPacket() const { return m_hasItsPacket; }

private:
    static constexpr std::uint8_t kNonDefaultContext = 0x08;

    std::string Payload() {
        switch (m_header.type) {
            case Master::kGet:
            case Master::kGetNext: return Ranges();
            case Master::kGetBulk:
                return m_octets.Short(m_dice.Below(m_dice.OnceIn(8) ? 0x10000 : 3)) +
                       m_octets.Short(m_dice.Below(m_dice.OnceIn(8) ? 0x10000 : 12)) + Ranges();
            case Master::kTestSet: return Offers();
            case Master::kCommitSet:
            case Master::kUndoSet:
            case Master::kCleanupSet: return {};
            case Master::kResponse:
                m_isGood = false;
                return m_octets.Word(m_dice.Below(1000)) + m_octets.Short(m_dice.Below(300)) +
                       m_octets.Short(m_dice.Below(3)) + (m_dice.OnceIn(2) ? Offers() : "");
            case Master::kClose:  // seldom, since it is the end
                m_isGood = false;
                m_header.type = m_dice.OnceIn(20) ? m_header.type : 0;
                return m_octets.Octet(static_cast<unsigned int>(m_dice.Below(8))) + std::string(3, '\0');
            default: m_isGood = false; return m_dice.OnceIn(2) ? Ranges() : Offers();
        }
    }
    std::size_t Count() { return 1 + m_dice.Below(m_dice.OnceIn(40) ? 400 : 6); }
    std::string Ranges() {
        std::string ranges;
        for (std::size_t more = Count(); more > 0; --more) {
            ranges += Name(m_dice.OnceIn(3)) + (m_dice.OnceIn(2) ? m_octets.Name({}) : Name(false));
        }
        return ranges;
    }
    std::string Offers() {
        std::string offers;
        for (std::size_t more = Count(); more > 0; --more) {
            offers += Offer();
        }
        return offers;
    }
    std::string Offer() {
        const std::string name = Name(false);
        switch (m_dice.Below(10)) {
            case 0: return m_octets.VarBind(AgentxOctets::kOctetString, name, Text(m_dice.OnceIn(9) ? 5000 : 12));
            case 1: return m_octets.VarBind(AgentxOctets::kObjectIdentifier, name, Name(false));
            case 2: return m_octets.VarBind(AgentxOctets::kGauge32, name, m_octets.Word(m_dice.Below(1000)));
            case 3: return m_octets.VarBind(AgentxOctets::kCounter64, name, m_octets.Long(m_dice.Below(1000)));
            case 4: return m_octets.VarBind(AgentxOctets::kIpAddress, name, m_octets.Text(m_dice.Octets(4)));
            case 5: return m_octets.VarBind(AgentxOctets::kOpaque, name, Text(9));
            case 6: return m_octets.VarBind(m_dice.OnceIn(2) ? AgentxOctets::kNull : AgentxOctets::kNoSuchObject, name);
            default:  // not those on which the module takes its time
                return m_octets.VarBind(AgentxOctets::kInteger, name,
                                        m_octets.Word(m_dice.OnceIn(4) ? 13 + m_dice.Below(4) : m_dice.Below(12)));
        }
    }
    std::string Text(std::size_t most) { return m_octets.Text(m_dice.Octets(m_dice.Below(most))); }
    std::string Name(bool include) {
        Master::Oid name = m_dice.Of(kNames);
        if (m_dice.OnceIn(5)) {
            for (std::size_t more = m_dice.Below(m_dice.OnceIn(10) ? 110 : 4); more > 0; --more) {
                name.push_back(static_cast<std::uint32_t>(m_dice.Below(m_dice.OnceIn(5) ? 0xffffffff : 20)));
            }
        }
        const bool hasPrefix = name.size() > 4 && name[0] == 1 && name[1] == 3 && name[2] == 6 && name[3] == 1 &&
                               name[4] > 0 && name[4] < 256;
        if (!hasPrefix || m_dice.OnceIn(4)) {
            return m_octets.Name(name, include);
        }
        const unsigned int prefix = name[4];
        name.erase(name.begin(), name.begin() + 5);
        return m_octets.Name(name, include, prefix);
    }

    Dice& m_dice;
    const AgentxOctets m_octets{m_dice.OnceIn(2)};
    AgentxOctets::Header m_header;
    bool m_isGood = true;
    bool m_hasItsPacket = true;
    std::string m_text;
};

class AgentXCampaignTest : public AgentXTest {
protected:
    /// Ends the connection if it lasts, and takes the agent's next one. Every undo cell must have been released.
    void Reconnect() {
        m_script.Disconnect();
        m_asked.clear();
        m_mayAnswerAnything = false;
        for (int attempt = 0; attempt < 5; ++attempt) {
            try {
                m_script.TakeAgent(kSubtrees);
                std::string cells;
                for (int tries = 0; tries < 2000 && cells != "0 cells"; ++tries) {
                    cells = m_script.GetText(kRecord, kProbe);
                }
                EXPECT_EQ(cells, "0 cells");
                return;
            } catch (const Master::Disconnected&) {
            }
        }
        FAIL() << "the agent closes every connection";
    }

    /// Sends some messages and takes the answers to them. Returns false when the agent has closed the connection.
    bool SendSome(std::uint64_t first, std::uint64_t end) {
        bool mayClose = false;
        try {
            for (std::uint64_t number = first; number < end; ++number) {
                Dice dice(m_seed * 1000003 + number);
                const auto packet = static_cast<std::uint32_t>(kFirstPacket + number % 0x1000000);
                const AnyMessage message(dice, packet);
                m_asked[packet] = message.IsAnswered() ? message.Description() : "";
                mayClose = mayClose || !message.IsGood();
                m_mayAnswerAnything = m_mayAnswerAnything || !message.HasItsPacket();
                m_script.SendOctets(message.Octets());
            }
            m_script.SendGet(kRecord, kProbe);
            TakeAnswers();
            return true;
        } catch (const Master::Disconnected&) {
            EXPECT_TRUE(mayClose) << "the agent has closed the connection after good messages";
            return false;
        }
    }
    /// Until the last request sent is answered, and every other one that must be. What need not be answered may be
    /// answered later.
    void TakeAnswers() {
        const auto isAwaited = [](const auto& one) { return !one.second.empty(); };
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        bool isProbed = false;
        while (!isProbed || std::any_of(m_asked.begin(), m_asked.end(), isAwaited)) {
            const auto message = m_script.Receive(1000);
            if (std::chrono::steady_clock::now() >= deadline) {
                const auto awaited = std::find_if(m_asked.begin(), m_asked.end(), isAwaited);
                ADD_FAILURE() << "not answered: " << (awaited == m_asked.end() ? "the last GET" : awaited->second);
                return;
            }
            if (!message) {
                continue;
            }
            if (message->type == Master::kClose) {
                throw Master::Disconnected("the agent has closed the session");
            }
            if (message->type != Master::kResponse) {
                m_script.Answer(*message);
            } else if (message->packet < kFirstPacket && message->transaction == kProbe) {
                isProbed = true;
            } else {
                ++m_answers;
                m_refusals += message->Error() == kParseError ? 1U : 0U;
                EXPECT_TRUE(m_asked.erase(message->packet) == 1 || m_mayAnswerAnything)
                    << "an answer to packet " << message->packet << ", which was not asked or is answered already";
            }
        }
    }

    /// A message that ends too early, or claims a length that it does not have.
    void SendTorn(std::uint64_t number) {
        Dice dice(m_seed * 1000003 + number);
        std::string octets = AnyMessage(dice, 1).Octets();
        if (dice.OnceIn(2)) {
            octets.resize(dice.Below(octets.size()));
        } else {
            octets[16 + dice.Below(4)] = static_cast<char>(dice.Below(256));
        }
        try {
            m_script.SendOctets(octets);
            m_script.SendOctets(AnyMessage(dice, 1).Octets());
            while (m_script.Receive(20)) {
            }
        } catch (const Master::Disconnected&) {
        }
    }

    static constexpr int kSubtrees = 4;
    static constexpr std::chrono::seconds kPatience{10};
    static constexpr int kParseError = 266;
    static constexpr std::uint32_t kProbe = 0x7fffffff;  // a transaction
    static constexpr std::uint32_t kFirstPacket = 0x40000000;
    const Master::Oid kRecord{1, 3, 6, 1, 4, 1, 32473, 2, 1, 10, 0};

    ScriptedMaster m_script{m_master};
    std::uint64_t m_seed = Setting("CVHOST_AGENTX_SEED", std::random_device()());
    std::map<std::uint32_t, std::string> m_asked;  // in this session, by the packet; empty: need not be answered
    bool m_mayAnswerAnything = false;
    std::uint64_t m_answers = 0;
    std::uint64_t m_refusals = 0;  // of messages that could not be read
    std::uint64_t m_closed = 0;    // by the agent
};

TEST_F(AgentXCampaignTest, NoMessageOfAMasterHarmsTheAgent) {
    constexpr std::uint64_t kBatch = 20;
    const std::uint64_t count = Setting("CVHOST_AGENTX_MESSAGES", kIsSanitized ? 1000 : 4000);
    const std::uint64_t patience = std::max<std::uint64_t>(count / 400, 200);  // between two torn messages
    SCOPED_TRACE("repeat with CVHOST_AGENTX_SEED=" + std::to_string(m_seed));
    RecordProperty("seed", std::to_string(m_seed));
    Start({"--module", kTestModule}, {"AGENT_TEST_MODULE=count"}, "");
    Reconnect();
    std::uint64_t torn = 0;
    for (std::uint64_t number = 0; number < count; number += kBatch) {
        SCOPED_TRACE("within the messages from number " + std::to_string(number));
        bool goesOn = SendSome(number, std::min(count, number + kBatch));
        m_closed += goesOn ? 0 : 1;
        if (goesOn && number / patience > torn) {
            torn = number / patience;
            SendTorn(number);
            goesOn = false;
        }
        ASSERT_FALSE(Agent().HasEnded()) << Log().substr(0, 20000);
        ASSERT_FALSE(HasFailure()) << Log().substr(0, 20000);
        if (!goesOn) {
            ASSERT_NO_THROW(Reconnect()) << Log().substr(0, 20000);
        }
        if (number % 50000 < kBatch) {
            std::cout << number << " messages, " << m_answers << " responses, " << m_refusals << " parse errors, "
                      << m_closed << " times closed\n"
                      << std::flush;
        }
    }
    Reconnect();
    EXPECT_GT(m_answers, count / 3) << "nearly nothing is answered, so the messages are not what they should be";
}

}  // namespace
}  // namespace agent_test
