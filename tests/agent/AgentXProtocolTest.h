#pragma once

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "agent/cvtagentd/agentx/Pdu.h"
#include "tests/agent/AgentXTest.h"
#include "tests/agent/ScriptedMaster.h"

namespace agent_test {

using cvtagentd::Pdu;
using cvtagentd::PduType;

inline CVT::BObjectIdentifier Name(const std::string& dotted) {
    return CVT::BObjectIdentifier(CVT::BString(dotted.substr(dotted.front() == '.' ? 1 : 0).c_str()));
}

/// A subagent that serves the test module, and a master that the test plays, message by message.
class AgentXProtocolTest : public AgentXTest {
protected:
    void StartServing(const Arguments& settings = {}) {
        Start({"--module", kTestModule}, settings, "");
        m_script.TakeAgent(kSubtrees);
    }

    static Pdu Request(PduType type, std::uint32_t transaction = 1) {
        Pdu pdu;
        pdu.header.type = type;
        pdu.header.flags = 0;
        pdu.header.session = ScriptedMaster::kSession;
        pdu.header.transaction = transaction;
        return pdu;
    }
    static void AddRange(Pdu& pdu, const std::string& start, const std::string& end = "", bool includesStart = false) {
        pdu.ranges.push_back({Name(start), includesStart, end.empty() ? CVT::BObjectIdentifier() : Name(end)});
    }
    static void AddInteger(Pdu& pdu, const std::string& name, int value) {
        CVT::BVarBind& varBind = pdu.varBinds.emplace_back();
        varBind.name = Name(name);
        varBind.type = CVT::kInteger;
        varBind.integer = value;
    }

    std::uint32_t Send(Pdu pdu) {
        pdu.header.packet = ++m_packet;
        std::string octets;
        pdu.AppendTo(octets);
        m_script.SendOctets(octets);
        return m_packet;
    }
    /// Returns the agent's next message that is not a question; questions are answered.
    Pdu Read() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        for (;;) {
            const auto message = m_script.Receive(20000);
            if (!message || std::chrono::steady_clock::now() >= deadline) {
                throw std::runtime_error("the agent does not answer");
            }
            Pdu pdu;
            const std::string octets = message->octets.Message(
                {1, message->type, 0, message->session, message->transaction, message->packet}, message->payload);
            EXPECT_EQ(Pdu::Decode(octets, pdu), cvtagentd::PduError::kNone);
            if (pdu.header.type == PduType::kResponse || pdu.header.type == PduType::kClose) {
                return pdu;
            }
            m_asked.push_back(pdu);
            try {
                m_script.Answer(*message);
            } catch (const ScriptedMaster::Disconnected&) {  // what was sent before is still read
            }
        }
    }
    Pdu Ask(const Pdu& pdu) {
        const std::uint32_t packet = Send(pdu);
        Pdu answer = Read();
        EXPECT_EQ(answer.header.type, PduType::kResponse);
        EXPECT_EQ(answer.header.packet, packet);
        EXPECT_EQ(answer.header.transaction, pdu.header.transaction);
        return answer;
    }

    /// "name = value" for each varbind of a response, or the error and its index.
    static std::vector<std::string> Lines(const Pdu& response) {
        if (response.error != 0) {
            return {"error " + std::to_string(response.error) + " at " + std::to_string(response.index)};
        }
        std::vector<std::string> lines;
        for (const CVT::BVarBind& varBind : response.varBinds) {
            std::string value;
            switch (varBind.type) {
                case CVT::kInteger: value = std::to_string(varBind.integer); break;
                case CVT::kOctetString: value = '"' + std::string(varBind.octets.View()) + '"'; break;
                case CVT::kNoSuchObject: value = "no such object"; break;
                case CVT::kNoSuchInstance: value = "no such instance"; break;
                case CVT::kEndOfMibView: value = "end"; break;
                default: value = std::to_string(varBind.number);
            }
            lines.push_back("." + std::string(varBind.name.ToString().View()) + " = " + value);
        }
        return lines;
    }
    using AreLines = std::vector<std::string>;

    unsigned int Identifier(std::uint32_t transaction) {
        Pdu get = Request(PduType::kGet, transaction);
        AddRange(get, kValues + "11.0");
        return Ask(get).varBinds.at(0).number;
    }

    /// A commit and its confirmation, in one piece.
    void SendConfirmation() {
        std::string octets;
        for (const PduType type : {PduType::kCommitSet, PduType::kCleanupSet}) {
            Pdu pdu = Request(type, 1);
            pdu.header.packet = ++m_packet;
            pdu.AppendTo(octets);
        }
        m_script.SendOctets(octets);
    }
    /// Whether the agent ends the connection although all its questions are answered.
    bool Disconnects() {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        try {
            while (std::chrono::steady_clock::now() < deadline) {
                if (const auto message = m_script.Receive(1000); message) {
                    m_script.Answer(*message);
                }
            }
            return false;
        } catch (const ScriptedMaster::Disconnected&) {
            return true;
        }
    }
    /// Answers the agent's questions, and its next ping with this error.
    void AnswerUntilPing(std::uint16_t error) {
        for (;;) {
            const auto message = m_script.Receive(20000);
            ASSERT_TRUE(message.has_value()) << Log();
            const bool isPing = message->type == ScriptedMaster::kPing;
            m_script.Answer(*message, isPing ? error : std::uint16_t{0});
            if (isPing) {
                return;
            }
        }
    }
    /// A search with that many ranges in one group.
    static Pdu Searching(int ranges) {
        Pdu next = Request(PduType::kGetNext, 77);
        for (int range = 0; range < ranges; ++range) {
            AddRange(next, kValues + "1.0");
        }
        return next;
    }
    /// The phases that the module has seen. Waits for the SETs that are under way.
    std::string Record() {
        Pdu get = Request(PduType::kGet, 78);
        AddRange(get, kValues + "10.0");
        return std::string(Ask(get).varBinds.at(0).octets.View());
    }

    static constexpr int kSubtrees = 4;
    ScriptedMaster m_script{m_master};
    std::vector<Pdu> m_asked;  // what the agent asked while its answer was awaited

private:
    std::uint32_t m_packet = 5000;
};

}  // namespace agent_test
