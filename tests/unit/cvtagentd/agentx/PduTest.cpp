#include "agent/cvtagentd/agentx/Pdu.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "agent/cvtagentd/agentx/PduResponse.h"
#include "tests/support/AgentxOctets.h"

namespace agent_test {
namespace {

using cvtagentd::Pdu;
using cvtagentd::PduError;
using cvtagentd::PduRange;
using cvtagentd::PduType;
using Arcs = AgentxOctets::Arcs;

/// The octets that words such as "04020000" stand for; blanks separate fields.
std::string Hex(const std::string& text) {
    std::string octets;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == ' ') {
            ++at;
        } else {
            octets += static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16));
            at += 2;
        }
    }
    return octets;
}

AgentxOctets::Header Header(PduType type, std::uint8_t flags = 0) {
    return {1, static_cast<std::uint8_t>(type), flags, 0x01020304, 0x05060708, 0xF90A0B0C};
}

/// Reads from memory that ends where the message ends, so that the address sanitizer sees each octet too many.
PduError Decode(const std::string& octets, Pdu& pdu) {
    const std::unique_ptr<char[]> exact(new char[octets.size()]);
    octets.copy(exact.get(), octets.size());
    return Pdu::Decode({exact.get(), octets.size()}, pdu);
}
PduError Decode(const std::string& octets) {
    Pdu pdu;
    return Decode(octets, pdu);
}

std::string Encode(const Pdu& pdu) {
    std::string octets;
    pdu.AppendTo(octets);
    return octets;
}

bool IsSame(const CVT::BVarBind& a, const CVT::BVarBind& b) {
    if (a.name != b.name || a.type != b.type) {
        return false;
    }
    switch (static_cast<int>(a.type)) {
        case CVT::kInteger: return a.integer == b.integer;
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: return a.number == b.number;
        case CVT::kOctetString:
        case cvtagentd::kIpAddress:
        case cvtagentd::kOpaque:
        case cvtagentd::kCounter64: return a.octets == b.octets;
        case CVT::kObjectIdentifier: return a.identifier == b.identifier;
        default: return true;
    }
}

std::string Dotted(const CVT::BObjectIdentifier& name) { return std::string(name.ToString().View()); }
CVT::BObjectIdentifier Oid(const std::string& dotted) { return CVT::BObjectIdentifier(CVT::BString(dotted.c_str())); }

/// Messages of every type, in one byte order; written with the short form of names as the agent writes them.
std::vector<std::string> Samples(bool inNetworkOrder) {
    const AgentxOctets o(inNetworkOrder);
    const std::string name = o.Name({1, 25, 4, 2}, false, 2);
    const std::string from = o.Name({1, 25, 4, 2}, true, 2);
    const std::string context = o.Text("other");
    const std::string varBinds =
        o.VarBind(AgentxOctets::kInteger, name, o.Word(0xFFFFFFFE)) +
        o.VarBind(AgentxOctets::kOctetString, name, o.Text("five!")) + o.VarBind(AgentxOctets::kNull, name) +
        o.VarBind(AgentxOctets::kObjectIdentifier, name, o.Name({1, 3, 6, 2, 0xFFFFFFFF})) +
        o.VarBind(AgentxOctets::kIpAddress, name, o.Text(Hex("7F000001"))) +
        o.VarBind(AgentxOctets::kCounter32, name, o.Word(0xFFFFFFFF)) +
        o.VarBind(AgentxOctets::kGauge32, name, o.Word(66)) + o.VarBind(AgentxOctets::kTimeTicks, name, o.Word(67)) +
        o.VarBind(AgentxOctets::kOpaque, name, o.Text(Hex("9F780400"))) +
        o.VarBind(AgentxOctets::kCounter64, name, o.Long(0xFEDCBA9876543210)) +
        o.VarBind(AgentxOctets::kNoSuchObject, name) + o.VarBind(AgentxOctets::kNoSuchInstance, name) +
        o.VarBind(AgentxOctets::kEndOfMibView, name);
    const std::string ranges = from + o.Name({1, 25, 5}, false, 2) + name + o.Name({});
    const std::uint8_t elsewhere = cvtagentd::kNonDefaultContext;
    return {
        o.Message(Header(PduType::kOpen), Hex("0A000000") + o.Name({8072, 3}, false, 4) + o.Text("host resources")),
        o.Message(Header(PduType::kClose), Hex("05000000")),
        o.Message(Header(PduType::kRegister), Hex("0B7F0000") + name),
        o.Message(Header(PduType::kRegister, elsewhere | cvtagentd::kInstanceRegistration),
                  context + Hex("00010A00") + name + o.Word(22)),
        o.Message(Header(PduType::kUnregister), Hex("007F0000") + name),
        o.Message(Header(PduType::kUnregister, elsewhere), context + Hex("00FF0900") + name + o.Word(0xFFFFFFFF)),
        o.Message(Header(PduType::kGet), ranges),
        o.Message(Header(PduType::kGet, elsewhere), context + from + o.Name({})),
        o.Message(Header(PduType::kGetNext), ranges),
        o.Message(Header(PduType::kGetBulk), o.Short(1) + o.Short(0xFFFF) + ranges),
        o.Message(Header(PduType::kTestSet), varBinds),
        o.Message(Header(PduType::kTestSet, elsewhere), o.Text("") + varBinds),
        o.Message(Header(PduType::kCommitSet), ""),
        o.Message(Header(PduType::kUndoSet), ""),
        o.Message(Header(PduType::kCleanupSet), ""),
        o.Message(Header(PduType::kNotify), varBinds),
        o.Message(Header(PduType::kPing), ""),
        o.Message(Header(PduType::kPing, elsewhere), context),
        o.Message(Header(PduType::kIndexAllocate, cvtagentd::kNewIndex), varBinds),
        o.Message(Header(PduType::kIndexDeallocate, cvtagentd::kAnyIndex), varBinds),
        o.Message(Header(PduType::kAddAgentCaps), name + o.Text("what it serves")),
        o.Message(Header(PduType::kRemoveAgentCaps, elsewhere), context + name),
        o.Message(Header(PduType::kResponse), o.Word(123456) + o.Short(0) + o.Short(0) + varBinds),
        o.Message(Header(PduType::kResponse), o.Word(0) + o.Short(266) + o.Short(0xFFFF)),
    };
}

class PduOrderTest : public ::testing::TestWithParam<bool> {
protected:
    std::string Message(PduType type, const std::string& payload, std::uint8_t flags = 0) const {
        return m_octets.Message(Header(type, flags), payload);
    }
    /// A GET whose one range has this for its start, and no end.
    std::string Get(const std::string& name) const { return Message(PduType::kGet, name + m_octets.Name({})); }
    std::string TestSet(unsigned int tag, const std::string& value) const {
        return Message(PduType::kTestSet, m_octets.VarBind(tag, m_octets.Name({1, 3}), value));
    }
    std::string WithLength(std::string message) const {
        return message.replace(16, 4, m_octets.Word(message.size() - Pdu::kHeaderSize));
    }

    const AgentxOctets m_octets{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(ByteOrders, PduOrderTest, ::testing::Bool(),
                         [](const auto& order) { return std::string(order.param ? "Network" : "LowestFirst"); });

// The examples of RFC 2741, sections 5.1, 5.2 and 6.2.3.

TEST(Pdu, ReadsTheNamesOfTheRfc) {
    const struct {
        const char* octets;
        const char* name;
    } cases[] = {
        {"04020000 00000001 00000001 00000001 00000000", "1.3.6.1.2.1.1.1.0"},  // sysDescr.0
        {"04000000 00000001 00000002 00000003 00000004", "1.2.3.4"},
        {"00000000", ""},  // the null identifier
    };
    for (const auto& [octets, name] : cases) {
        const std::string message =
            Hex("01050000 00000000 00000000 00000000") + std::string(4, '\0') + Hex(octets) + Hex("00000000");
        std::string whole = message;
        whole[2] = AgentxOctets::kNetworkOrder;
        whole[19] = static_cast<char>(message.size() - Pdu::kHeaderSize);
        Pdu pdu;
        ASSERT_EQ(Decode(whole, pdu), PduError::kNone) << name;
        ASSERT_EQ(pdu.ranges.size(), 1U);
        EXPECT_EQ(Dotted(pdu.ranges[0].start), name);
        EXPECT_FALSE(pdu.ranges[0].includesStart);
        EXPECT_TRUE(pdu.ranges[0].end.IsEmpty());
        EXPECT_EQ(Encode(pdu), whole) << name;
    }
}

TEST(Pdu, ReadsTheSearchRangeOfTheRfc) {
    const std::string message =
        Hex("01061000 00000007 00000001 00000002 00000024"
            "03020100 00000001 00000019 00000002"
            "04020000 00000001 00000019 00000002 00000001");
    Pdu pdu;
    ASSERT_EQ(Decode(message, pdu), PduError::kNone);
    EXPECT_EQ(pdu.header.type, PduType::kGetNext);
    EXPECT_EQ(pdu.header.session, 7U);
    EXPECT_EQ(pdu.header.transaction, 1U);
    EXPECT_EQ(pdu.header.packet, 2U);
    ASSERT_EQ(pdu.ranges.size(), 1U);
    EXPECT_EQ(Dotted(pdu.ranges[0].start), "1.3.6.1.2.1.25.2");
    EXPECT_TRUE(pdu.ranges[0].includesStart);
    EXPECT_EQ(Dotted(pdu.ranges[0].end), "1.3.6.1.2.1.25.2.1");
    EXPECT_EQ(Encode(pdu), message);
}

TEST(Pdu, ReadsTheRegistrationOfARangeOfTheRfc) {  // 1.3.6.1.2.1.2.2.1.[1-22].7
    const std::string message =
        Hex("01031100 00000007 00000000 00000003 00000024"
            "007F0A00"
            "06020000 00000001 00000002 00000002 00000001 00000001 00000007"
            "00000016");
    Pdu pdu;
    ASSERT_EQ(Decode(message, pdu), PduError::kNone);
    EXPECT_TRUE(pdu.header.Has(cvtagentd::kInstanceRegistration));
    EXPECT_EQ(pdu.timeout, 0);
    EXPECT_EQ(pdu.priority, 127);
    EXPECT_EQ(pdu.rangeArc, 10);
    EXPECT_EQ(Dotted(pdu.name), "1.3.6.1.2.1.2.2.1.1.7");
    EXPECT_EQ(pdu.upperBound, 22U);
    EXPECT_EQ(Encode(pdu), message);
}

TEST(Pdu, ReadsWhatAHostWithTheLowestOctetFirstSends) {
    const std::string message =
        Hex("01080000 07000000 01000000 02000000 14000000"
            "02000000 02000000 01000000 03000000 FEFFFFFF");
    Pdu pdu;
    ASSERT_EQ(Decode(message, pdu), PduError::kNone);
    EXPECT_EQ(pdu.header.session, 7U);
    EXPECT_EQ(pdu.header.packet, 2U);
    ASSERT_EQ(pdu.varBinds.size(), 1U);
    EXPECT_EQ(Dotted(pdu.varBinds[0].name), "1.3");
    EXPECT_EQ(pdu.varBinds[0].type, CVT::kInteger);
    EXPECT_EQ(pdu.varBinds[0].integer, -2);
    EXPECT_EQ(Encode(pdu), message);
}

TEST(Pdu, WritesInNetworkByteOrderUnlessToldOtherwise) {
    Pdu pdu;
    pdu.header.type = PduType::kPing;
    pdu.header.packet = 1;
    EXPECT_EQ(Encode(pdu), Hex("010D1000 00000000 00000000 00000001 00000000"));
    pdu.header.flags = 0;
    EXPECT_EQ(Encode(pdu), Hex("010D0000 00000000 00000000 01000000 00000000"));
}

TEST_P(PduOrderTest, ReadsTheHeader) {
    for (const std::string& sample : Samples(GetParam())) {
        Pdu pdu;
        ASSERT_EQ(Decode(sample, pdu), PduError::kNone) << Pdu::Name(pdu.header.type);
        EXPECT_EQ(static_cast<char>(pdu.header.type), sample[1]);
        EXPECT_EQ(static_cast<char>(pdu.header.flags), sample[2]);
        EXPECT_EQ(pdu.header.Has(cvtagentd::kNetworkByteOrder), GetParam());
        EXPECT_EQ(pdu.header.session, 0x01020304U);
        EXPECT_EQ(pdu.header.transaction, 0x05060708U);
        EXPECT_EQ(pdu.header.packet, 0xF90A0B0CU);
    }
}

TEST_P(PduOrderTest, WritesEveryMessageAsItWasRead) {
    Pdu pdu;  // one for all: no message may see what another has left
    for (const std::string& sample : Samples(GetParam())) {
        ASSERT_EQ(Decode(sample, pdu), PduError::kNone) << Pdu::Name(pdu.header.type);
        EXPECT_EQ(Encode(pdu), sample) << Pdu::Name(pdu.header.type);
    }
}

TEST_P(PduOrderTest, ReadsTheFieldsOfEachMessage) {
    const std::string name = m_octets.Name({1, 25}, true, 2);
    Pdu pdu;
    ASSERT_EQ(Decode(Message(PduType::kOpen, Hex("FF000000") + name + m_octets.Text("who")), pdu), PduError::kNone);
    EXPECT_EQ(pdu.timeout, 255);
    EXPECT_EQ(Dotted(pdu.name), "1.3.6.1.2.1.25");
    EXPECT_EQ(pdu.description, "who");
    ASSERT_EQ(Decode(Message(PduType::kClose, Hex("06000000")), pdu), PduError::kNone);
    EXPECT_EQ(pdu.reason, cvtagentd::PduCloseReason::kByManager);
    ASSERT_EQ(Decode(Message(PduType::kRegister, Hex("FE010000") + name), pdu), PduError::kNone);
    EXPECT_EQ(pdu.timeout, 254);
    EXPECT_EQ(pdu.priority, 1);
    EXPECT_EQ(pdu.rangeArc, 0);
    ASSERT_EQ(Decode(Message(PduType::kUnregister, Hex("00FFFF00") + name + m_octets.Word(0xFFFFFFFF)), pdu),
              PduError::kNone);
    EXPECT_EQ(pdu.priority, 255);
    EXPECT_EQ(pdu.rangeArc, 255);
    EXPECT_EQ(pdu.upperBound, 0xFFFFFFFFU);
    ASSERT_EQ(Decode(Message(PduType::kGetBulk, m_octets.Short(0xFFFE) + m_octets.Short(3) + name + name), pdu),
              PduError::kNone);
    EXPECT_EQ(pdu.nonRepeaters, 0xFFFE);
    EXPECT_EQ(pdu.maxRepetitions, 3);
    EXPECT_EQ(pdu.ranges.size(), 1U);
    ASSERT_EQ(
        Decode(Message(PduType::kResponse, m_octets.Word(0xFFFFFFFF) + m_octets.Short(268) + m_octets.Short(9)), pdu),
        PduError::kNone);
    EXPECT_EQ(pdu.sysUpTime, 0xFFFFFFFFU);
    EXPECT_EQ(pdu.error, cvtagentd::kProcessingError);
    EXPECT_EQ(pdu.index, 9);
    EXPECT_TRUE(pdu.varBinds.empty());
    ASSERT_EQ(Decode(Message(PduType::kAddAgentCaps, name + m_octets.Text("what")), pdu), PduError::kNone);
    EXPECT_EQ(pdu.description, "what");
}

TEST_P(PduOrderTest, ReadsAContextOnlyWhereThereIsOne) {
    Pdu pdu;
    const std::uint8_t elsewhere = cvtagentd::kNonDefaultContext;
    ASSERT_EQ(Decode(Message(PduType::kGet, m_octets.Text("other"), elsewhere), pdu), PduError::kNone);
    EXPECT_EQ(pdu.context, "other");
    EXPECT_TRUE(pdu.ranges.empty());
    ASSERT_EQ(Decode(Message(PduType::kPing, m_octets.Text(""), elsewhere), pdu), PduError::kNone);
    EXPECT_EQ(pdu.context, "");
    EXPECT_EQ(Decode(Message(PduType::kPing, "", elsewhere)), PduError::kCutOff);
    EXPECT_EQ(Decode(Message(PduType::kPing, m_octets.Text("other"))), PduError::kTrailingOctets);
    for (const PduType type : {PduType::kCommitSet, PduType::kUndoSet, PduType::kCleanupSet}) {
        EXPECT_EQ(Decode(Message(type, "", elsewhere)), PduError::kNone);
        EXPECT_EQ(Decode(Message(type, m_octets.Text("other"), elsewhere)), PduError::kTrailingOctets);
    }
    pdu.context = "left from another";
    ASSERT_EQ(Decode(Message(PduType::kGet, ""), pdu), PduError::kNone);
    EXPECT_EQ(pdu.context, "");
}

TEST_P(PduOrderTest, ReadsEachValueAtItsLimits) {
    const auto read = [this](unsigned int tag, const std::string& value) {
        Pdu pdu;
        EXPECT_EQ(Decode(TestSet(tag, value), pdu), PduError::kNone) << tag;
        EXPECT_EQ(pdu.varBinds.size(), 1U) << tag;
        EXPECT_EQ(Encode(pdu), TestSet(tag, value)) << tag;
        return pdu.varBinds.empty() ? CVT::BVarBind() : pdu.varBinds.front();
    };
    for (const std::int64_t value : {-2147483648LL, -1LL, 0LL, 1LL, 2147483647LL}) {
        EXPECT_EQ(read(AgentxOctets::kInteger, m_octets.Word(static_cast<std::uint64_t>(value))).integer, value);
    }
    for (const unsigned int tag : {AgentxOctets::kCounter32, AgentxOctets::kGauge32, AgentxOctets::kTimeTicks}) {
        for (const std::uint32_t value : {0U, 1U, 0x80000000U, 0xFFFFFFFFU}) {
            const CVT::BVarBind varBind = read(tag, m_octets.Word(value));
            EXPECT_EQ(varBind.type, tag);
            EXPECT_EQ(varBind.number, value);
        }
    }
    EXPECT_EQ(read(AgentxOctets::kCounter64, m_octets.Long(0x0102030405060708)).octets.View(), Hex("0102030405060708"));
    EXPECT_EQ(read(AgentxOctets::kCounter64, m_octets.Long(~0ULL)).octets.View(), Hex("FFFFFFFFFFFFFFFF"));
    EXPECT_EQ(read(AgentxOctets::kIpAddress, m_octets.Text(Hex("C0000201"))).octets.View(), Hex("C0000201"));
    for (const std::size_t length : {0U, 1U, 2U, 3U, 4U, 5U, 65535U, 65536U}) {
        const std::string text(length, '\xAA');
        for (const unsigned int tag : {AgentxOctets::kOctetString, AgentxOctets::kOpaque}) {
            const CVT::BVarBind varBind = read(tag, m_octets.Text(text));
            EXPECT_EQ(varBind.type, tag);
            EXPECT_EQ(varBind.octets.View(), text) << length;
        }
    }
    EXPECT_EQ(Dotted(read(AgentxOctets::kObjectIdentifier, m_octets.Name({0, 0xFFFFFFFF})).identifier), "0.4294967295");
    EXPECT_TRUE(read(AgentxOctets::kObjectIdentifier, m_octets.Name({})).identifier.IsEmpty());
    for (const unsigned int tag : {AgentxOctets::kNull, AgentxOctets::kNoSuchObject, AgentxOctets::kNoSuchInstance,
                                   AgentxOctets::kEndOfMibView}) {
        EXPECT_EQ(read(tag, "").type, tag);
    }
}

TEST_P(PduOrderTest, RefusesValuesOfUnknownTypes) {
    for (unsigned int tag = 0; tag <= 0xFFFF; tag += tag < 300 ? 1 : 0x0101) {
        const PduError error = Decode(TestSet(tag, ""));
        const bool isKnown =
            (tag >= 2 && tag <= 6 && tag != 3) || (tag >= 64 && tag <= 70 && tag != 69) || (tag >= 128 && tag <= 130);
        EXPECT_EQ(error == PduError::kUnknownValue, !isKnown) << tag;
    }
    EXPECT_EQ(Decode(TestSet(0x0102, m_octets.Word(0))), PduError::kUnknownValue);  // both octets count
}

TEST_P(PduOrderTest, TakesNamesOfUpTo128Arcs) {
    for (const unsigned int prefix : {0U, 1U, 255U}) {
        const std::size_t most = prefix == 0 ? 128 : 123;
        for (std::size_t count = most - 2; count <= 255; ++count) {
            Pdu pdu;
            const PduError error = Decode(Get(m_octets.Name(Arcs(count, 0xFFFFFFFF), false, prefix)), pdu);
            if (count > most) {
                EXPECT_EQ(error, PduError::kTooManyArcs) << prefix << ' ' << count;
            } else {
                ASSERT_EQ(error, PduError::kNone) << prefix << ' ' << count;
                ASSERT_EQ(pdu.ranges.front().start.NumArcs(), count + (prefix == 0 ? 0 : 5));
            }
        }
    }
}

TEST_P(PduOrderTest, WritesTheShortFormOfEachNameThatHasOne) {
    const auto written = [](const std::string& dotted) {
        Pdu pdu;
        pdu.header.type = PduType::kRemoveAgentCaps;
        pdu.header.flags = GetParam() ? cvtagentd::kNetworkByteOrder : 0;
        pdu.name = Oid(dotted);
        return Encode(pdu).substr(Pdu::kHeaderSize);
    };
    EXPECT_EQ(written("1.3.6.1.2"), m_octets.Name({}, false, 2));
    EXPECT_EQ(written("1.3.6.1.255.0"), m_octets.Name({0}, false, 255));
    EXPECT_EQ(written("1.3.6.1.4.1.32473"), m_octets.Name({1, 32473}, false, 4));
    EXPECT_EQ(written("1.3.6.1"), m_octets.Name({1, 3, 6, 1}));
    EXPECT_EQ(written("1.3.6.1.0.5"), m_octets.Name({1, 3, 6, 1, 0, 5}));
    EXPECT_EQ(written("1.3.6.1.256"), m_octets.Name({1, 3, 6, 1, 256}));
    EXPECT_EQ(written("1.3.6.2.2"), m_octets.Name({1, 3, 6, 2, 2}));
    EXPECT_EQ(written("1.3.6.1.258.1"), m_octets.Name({1, 3, 6, 1, 258, 1}));
}

TEST_P(PduOrderTest, IgnoresReservedOctetsAndPadding) {
    std::string message = TestSet(AgentxOctets::kOctetString, m_octets.Text("x"));
    for (const std::size_t reserved : {std::size_t{3}, Pdu::kHeaderSize + 2, Pdu::kHeaderSize + 3, Pdu::kHeaderSize + 6,
                                       Pdu::kHeaderSize + 7, message.size() - 1}) {
        message[reserved] = '\xFF';
    }
    Pdu pdu;
    ASSERT_EQ(Decode(message, pdu), PduError::kNone);
    EXPECT_EQ(pdu.varBinds.front().octets.View(), "x");
    EXPECT_EQ(Encode(pdu), TestSet(AgentxOctets::kOctetString, m_octets.Text("x")));
}

TEST_P(PduOrderTest, BelievesNoLengthThatIsLongerThanWhatIsLeft) {
    for (const std::uint32_t length : {5U, 8U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFCU, 0xFFFFFFFDU, 0xFFFFFFFFU}) {
        const std::string text = m_octets.Word(length) + "four";
        EXPECT_EQ(Decode(TestSet(AgentxOctets::kOctetString, text)), PduError::kCutOff) << length;
        EXPECT_EQ(Decode(TestSet(AgentxOctets::kOpaque, text)), PduError::kCutOff) << length;
        EXPECT_EQ(Decode(TestSet(AgentxOctets::kIpAddress, text)), PduError::kCutOff) << length;
        EXPECT_EQ(Decode(Message(PduType::kGet, text, cvtagentd::kNonDefaultContext)), PduError::kCutOff) << length;
        EXPECT_EQ(Decode(Message(PduType::kAddAgentCaps, m_octets.Name({1}) + text)), PduError::kCutOff) << length;
    }
    EXPECT_EQ(Decode(Message(PduType::kRemoveAgentCaps, Hex("02000000") + m_octets.Word(1))), PduError::kCutOff);
}

TEST_P(PduOrderTest, AnAddressHasFourOctets) {
    for (const std::size_t length : {0U, 1U, 3U, 5U, 8U, 16U}) {
        EXPECT_EQ(Decode(TestSet(AgentxOctets::kIpAddress, m_octets.Text(std::string(length, 'a')))),
                  PduError::kBadAddress);
    }
}

TEST_P(PduOrderTest, RefusesOctetsAfterTheLastField) {
    for (const std::string& sample : Samples(GetParam())) {
        Pdu pdu;
        EXPECT_EQ(Decode(sample + Hex("00000000"), pdu), PduError::kTrailingOctets);
        EXPECT_EQ(pdu.header.packet, 0xF90A0B0CU);
        const auto type = static_cast<PduType>(sample[1]);
        const PduError error = Decode(WithLength(sample + Hex("00000000")), pdu);
        switch (type) {
            case PduType::kGet:
            case PduType::kGetNext:
            case PduType::kGetBulk:
            case PduType::kTestSet:
            case PduType::kNotify:
            case PduType::kIndexAllocate:
            case PduType::kIndexDeallocate:
            case PduType::kResponse: EXPECT_NE(error, PduError::kNone) << Pdu::Name(type); break;  // in a list
            default: EXPECT_EQ(error, PduError::kTrailingOctets) << Pdu::Name(type); break;
        }
    }
}

TEST_P(PduOrderTest, AnUnknownTypeStillHasAHeader) {
    for (unsigned int type = 0; type <= 255; ++type) {
        Pdu pdu;
        const PduError error =
            Decode(Message(static_cast<PduType>(type), type == 2 ? Hex("01000000") : std::string()), pdu);
        EXPECT_EQ(error == PduError::kUnknownType, type < 1 || type > 18) << type;
        EXPECT_EQ(pdu.header.packet, 0xF90A0B0CU);
    }
}

/// Whatever is left of a message after a cut, it is refused, or it is a shorter message of whole elements.
TEST_P(PduOrderTest, EveryTruncationIsRefusedOrShorter) {
    for (const std::string& sample : Samples(GetParam())) {
        const std::string name = Pdu::Name(static_cast<PduType>(sample[1]));
        for (std::size_t size = 0; size < sample.size(); ++size) {
            const std::string cut = sample.substr(0, size);
            EXPECT_EQ(Decode(cut), PduError::kTooShort) << name << ' ' << size;
            if (size < Pdu::kHeaderSize) {
                continue;
            }
            Pdu pdu;
            const std::string adjusted = WithLength(cut);
            const PduError error = Decode(adjusted, pdu);
            if (size % 4 != 0) {
                EXPECT_EQ(error, PduError::kBadLength) << name << ' ' << size;
            } else if (error == PduError::kNone) {
                EXPECT_EQ(Encode(pdu), adjusted) << name << ' ' << size;
            } else {
                EXPECT_EQ(error, PduError::kCutOff) << name << ' ' << size;
            }
        }
    }
}

TEST_P(PduOrderTest, EveryOctetReplacedIsRefusedOrReadTheSameAgain) {
    for (const std::string& sample : Samples(GetParam())) {
        for (std::size_t place = 0; place < sample.size(); ++place) {
            for (const int octet : {0, 1, 2, 4, 5, 6, 0x0F, 0x10, 0x40, 0x7F, 0x80, 0x81, 0xFC, 0xFE, 0xFF}) {
                std::string changed = sample;
                changed[place] = static_cast<char>(octet);
                Pdu pdu;
                if (Decode(changed, pdu) != PduError::kNone) {
                    continue;
                }
                const std::string written = Encode(pdu);
                Pdu again;
                ASSERT_EQ(Decode(written, again), PduError::kNone) << place << ' ' << octet;
                ASSERT_EQ(Encode(again), written) << place << ' ' << octet;
            }
        }
    }
}

TEST_P(PduOrderTest, FindsTheEndOfAMessageInItsFirst20Octets) {
    const std::string message = Samples(GetParam()).front();
    const std::string two = message + message;
    for (std::size_t received = 0; received <= two.size(); ++received) {
        std::size_t size = 0;
        ASSERT_EQ(Pdu::Frame(two.substr(0, received), size), PduError::kNone);
        EXPECT_EQ(size, received < Pdu::kHeaderSize ? Pdu::kHeaderSize : message.size()) << received;
    }
}

TEST_P(PduOrderTest, FindsTheLongestMessageAndNoLongerOne) {
    const auto frame = [this](std::uint32_t length, std::size_t& size) {
        return Pdu::Frame(m_octets.Message(Header(PduType::kGet), "", length), size);
    };
    std::size_t size = 0;
    EXPECT_EQ(frame(Pdu::kLongestPayload, size), PduError::kNone);
    EXPECT_EQ(size, Pdu::kHeaderSize + Pdu::kLongestPayload);
    EXPECT_EQ(frame(Pdu::kLongestPayload + 4, size), PduError::kBadLength);
    for (const std::uint32_t length : {1U, 2U, 3U, 5U, 0x80000000U, 0xFFFFFFFCU, 0xFFFFFFFFU}) {
        EXPECT_EQ(frame(length, size), PduError::kBadLength) << length;
    }
    const std::string longest = Message(PduType::kPing, m_octets.Text(std::string(Pdu::kLongestPayload - 4, 'x')),
                                        cvtagentd::kNonDefaultContext);
    EXPECT_EQ(Decode(longest), PduError::kNone);
}

TEST_P(PduOrderTest, AWrongVersionIsSeenInTheFirstOctet) {
    for (int version = 0; version <= 255; ++version) {
        std::string message = Samples(GetParam()).front();
        message[0] = static_cast<char>(version);
        const PduError expected = version == 1 ? PduError::kNone : PduError::kWrongVersion;
        std::size_t size = 0;
        EXPECT_EQ(Pdu::Frame(message.substr(0, 1), size), expected) << version;
        EXPECT_EQ(Pdu::Frame(message, size), expected) << version;
        EXPECT_EQ(Decode(message), expected) << version;
    }
}

TEST_P(PduOrderTest, AResponseHasTheIdentifiersAndTheOrderOfItsRequest) {
    const std::string name = m_octets.Name({1, 25, 1}, false, 2);
    std::string buffer = "before";
    cvtagentd::PduHeader request;
    request.type = PduType::kGet;
    request.flags = static_cast<std::uint8_t>(cvtagentd::kNonDefaultContext | cvtagentd::kInstanceRegistration |
                                              (GetParam() ? cvtagentd::kNetworkByteOrder : 0));
    request.session = 0x01020304;
    request.transaction = 0x05060708;
    request.packet = 0xF90A0B0C;
    cvtagentd::PduResponse response(buffer, request, 77);
    CVT::BVarBind varBind;
    varBind.name = Oid("1.3.6.1.2.1.25.1");
    varBind.type = CVT::kTimeTicks;
    varBind.number = 99;
    response.Add(varBind);
    response.Add(varBind.name, CVT::kEndOfMibView);
    response.Add(Oid("1.3"), varBind);
    const std::string varBinds = m_octets.VarBind(AgentxOctets::kTimeTicks, name, m_octets.Word(99)) +
                                 m_octets.VarBind(AgentxOctets::kEndOfMibView, name) +
                                 m_octets.VarBind(AgentxOctets::kTimeTicks, m_octets.Name({1, 3}), m_octets.Word(99));
    EXPECT_EQ(response.Size(), 8 + varBinds.size());
    response.Finish();
    EXPECT_EQ(buffer, "before" + Message(PduType::kResponse, m_octets.Word(77) + m_octets.Word(0) + varBinds));
}

TEST_P(PduOrderTest, AResponseWithAnErrorHasNoVarBinds) {
    std::string buffer;
    cvtagentd::PduHeader request;
    request.flags = GetParam() ? cvtagentd::kNetworkByteOrder : 0;
    for (int times = 0; times < 2; ++times) {
        cvtagentd::PduResponse response(buffer, request);
        response.Add(Oid("1.3"), CVT::kNull);
        response.Finish(CVT::genErr, 0x0102);
    }
    const std::string one =
        m_octets.Message({1, 18, 0, 0, 0, 0}, m_octets.Word(0) + m_octets.Short(CVT::genErr) + m_octets.Short(0x0102));
    EXPECT_EQ(buffer, one + one);
}

TEST(PduResponseTest, LeavesNothingWhenItIsNotFinished) {
    std::string buffer = "before";
    {
        cvtagentd::PduResponse response(buffer, {});
        response.Add(Oid("1.3"), CVT::kEndOfMibView);
    }
    EXPECT_EQ(buffer, "before");
}

TEST_P(PduOrderTest, WritesValuesThatAgentxHasNotAsNull) {
    CVT::BVarBind varBind;
    varBind.name = Oid("1.3");
    varBind.octets.Assign("seven77");
    for (const int type : {0, 1, 3, 0x40, 0x45, 0x46, 0x7F, 0x83, 0xFF}) {
        varBind.type = static_cast<CVT::ESnmpType>(type);
        Pdu pdu;
        pdu.header.type = PduType::kTestSet;
        pdu.header.flags = GetParam() ? cvtagentd::kNetworkByteOrder : 0;
        pdu.varBinds = {varBind};
        EXPECT_EQ(Encode(pdu).substr(Pdu::kHeaderSize), m_octets.VarBind(AgentxOctets::kNull, m_octets.Name({1, 3})))
            << type;
    }
}

// Random messages, from any that can be written.

class RandomPdu {
public:
    explicit RandomPdu(std::uint64_t seed) : m_generator(seed) {}

    Pdu Make() {
        Pdu pdu;
        pdu.header.type = static_cast<PduType>(1 + Below(18));
        pdu.header.flags = static_cast<std::uint8_t>(Below(32));
        pdu.header.session = Word();
        pdu.header.transaction = Word();
        pdu.header.packet = Word();
        pdu.context = Text();
        pdu.timeout = static_cast<std::uint8_t>(Below(256));
        pdu.name = Name();
        pdu.description = Text();
        pdu.reason = static_cast<cvtagentd::PduCloseReason>(Below(256));
        pdu.priority = static_cast<std::uint8_t>(Below(256));
        pdu.rangeArc = static_cast<std::uint8_t>(Below(3));
        pdu.upperBound = Word();
        pdu.nonRepeaters = static_cast<std::uint16_t>(Word());
        pdu.maxRepetitions = static_cast<std::uint16_t>(Word());
        for (std::size_t more = Below(6); more > 0; --more) {
            pdu.ranges.push_back({Name(), Below(2) == 0, Name()});
            pdu.varBinds.push_back(VarBind());
        }
        pdu.sysUpTime = Word();
        pdu.error = static_cast<std::uint16_t>(Word());
        pdu.index = static_cast<std::uint16_t>(Word());
        return pdu;
    }

private:
    std::size_t Below(std::size_t count) { return m_generator() % count; }
    std::uint32_t Word() { return static_cast<std::uint32_t>(Below(3) == 0 ? Below(4) : m_generator()); }
    std::string Text(std::size_t most = 40) {
        std::string text(Below(most), '\0');
        for (char& octet : text) {
            octet = static_cast<char>(Below(256));
        }
        return text;
    }
    CVT::BObjectIdentifier Name() {
        CVT::BObjectIdentifier name;
        if (Below(2) == 0) {
            name = Oid("1.3.6.1");
        }
        for (std::size_t more = Below(Below(8) == 0 ? 129 : 12); more > 0; --more) {
            name.Append(Word());
        }
        return name;
    }
    CVT::BVarBind VarBind() {
        constexpr int kTypes[] = {2, 4, 5, 6, 0x40, 0x41, 0x42, 0x43, 0x44, 0x46, 0x80, 0x81, 0x82};
        CVT::BVarBind varBind;
        varBind.name = Name();
        varBind.type = static_cast<CVT::ESnmpType>(kTypes[Below(std::size(kTypes))]);
        varBind.integer = static_cast<int>(Word());
        varBind.number = Word();
        varBind.identifier = Name();
        varBind.octets.Assign(Text());
        if (varBind.type == cvtagentd::kIpAddress) {
            varBind.octets.Assign("adr4");
        } else if (varBind.type == cvtagentd::kCounter64) {
            varBind.octets.Assign(std::string("counter") + static_cast<char>(Below(256)));
        }
        return varBind;
    }

    std::mt19937_64 m_generator;
};

/// The members that messages of this type have are equal.
void ExpectSame(const Pdu& a, const Pdu& b) {
    EXPECT_EQ(a.header.type, b.header.type);
    EXPECT_EQ(a.header.flags, b.header.flags);
    EXPECT_EQ(a.header.session, b.header.session);
    EXPECT_EQ(a.header.transaction, b.header.transaction);
    EXPECT_EQ(a.header.packet, b.header.packet);
    switch (a.header.type) {
        case PduType::kOpen: EXPECT_EQ(a.timeout, b.timeout); [[fallthrough]];
        case PduType::kAddAgentCaps: EXPECT_EQ(a.description, b.description); [[fallthrough]];
        case PduType::kRemoveAgentCaps: EXPECT_EQ(a.name, b.name); break;
        case PduType::kClose: EXPECT_EQ(a.reason, b.reason); break;
        case PduType::kRegister: EXPECT_EQ(a.timeout, b.timeout); [[fallthrough]];
        case PduType::kUnregister:
            EXPECT_EQ(a.name, b.name);
            EXPECT_EQ(a.priority, b.priority);
            EXPECT_EQ(a.rangeArc, b.rangeArc);
            EXPECT_EQ(a.rangeArc == 0 ? 0 : a.upperBound, a.rangeArc == 0 ? 0 : b.upperBound);
            break;
        case PduType::kGetBulk:
            EXPECT_EQ(a.nonRepeaters, b.nonRepeaters);
            EXPECT_EQ(a.maxRepetitions, b.maxRepetitions);
            [[fallthrough]];
        case PduType::kGet:
        case PduType::kGetNext:
            EXPECT_TRUE(std::equal(a.ranges.begin(), a.ranges.end(), b.ranges.begin(), b.ranges.end(),
                                   [](const PduRange& one, const PduRange& other) {
                                       return one.start == other.start && one.includesStart == other.includesStart &&
                                              one.end == other.end;
                                   }));
            break;
        case PduType::kResponse:
            EXPECT_EQ(a.sysUpTime, b.sysUpTime);
            EXPECT_EQ(a.error, b.error);
            EXPECT_EQ(a.index, b.index);
            [[fallthrough]];
        case PduType::kTestSet:
        case PduType::kNotify:
        case PduType::kIndexAllocate:
        case PduType::kIndexDeallocate:
            EXPECT_TRUE(std::equal(a.varBinds.begin(), a.varBinds.end(), b.varBinds.begin(), b.varBinds.end(), IsSame));
            break;
        default: break;
    }
}

TEST(Pdu, ReadsWhatItHasWritten) {
    Pdu read;  // one for all, as a session has one
    for (std::uint64_t seed = 0; seed < 5000; ++seed) {
        const Pdu pdu = RandomPdu(seed).Make();
        const std::string octets = Encode(pdu);
        std::size_t size = 0;
        ASSERT_EQ(Pdu::Frame(octets, size), PduError::kNone) << seed;
        ASSERT_EQ(size, octets.size()) << seed;
        ASSERT_EQ(Decode(octets, read), PduError::kNone) << seed;
        ExpectSame(pdu, read);
        const bool takesContext = pdu.header.Has(cvtagentd::kNonDefaultContext) && pdu.header.type != PduType::kOpen &&
                                  pdu.header.type != PduType::kClose && pdu.header.type != PduType::kResponse &&
                                  pdu.header.type != PduType::kCommitSet && pdu.header.type != PduType::kUndoSet &&
                                  pdu.header.type != PduType::kCleanupSet;
        ASSERT_TRUE(!takesContext || read.context == pdu.context) << seed;
        ASSERT_FALSE(HasFailure()) << seed;
    }
}

TEST(Pdu, SurvivesRandomChanges) {
    std::mt19937_64 dice(14);
    int good = 0;
    Pdu pdu;
    for (std::uint64_t seed = 0; seed < 20000; ++seed) {
        std::string octets = Encode(RandomPdu(seed).Make());
        for (std::size_t times = 1 + dice() % 3; times > 0; --times) {
            octets[dice() % octets.size()] = static_cast<char>(dice());
        }
        if (Decode(octets, pdu) == PduError::kNone) {
            ++good;
            const std::string written = Encode(pdu);
            Pdu again;
            ASSERT_EQ(Decode(written, again), PduError::kNone) << seed;
            ASSERT_EQ(Encode(again), written) << seed;
        }
    }
    EXPECT_GT(good, 1000) << "the changes reach nothing behind the header";
}

TEST(Pdu, NamesErrorsAndTypes) {
    for (int error = 1; error <= static_cast<int>(PduError::kTrailingOctets); ++error) {
        EXPECT_STRNE(Pdu::Text(static_cast<PduError>(error)), "unknown") << error;
    }
    EXPECT_STREQ(Pdu::Name(PduType::kOpen), "Open");
    EXPECT_STREQ(Pdu::Name(PduType::kCleanupSet), "CleanupSet");
    EXPECT_STREQ(Pdu::Name(PduType::kResponse), "Response");
    EXPECT_STREQ(Pdu::Name(static_cast<PduType>(0)), "unknown");
    EXPECT_STREQ(Pdu::Name(static_cast<PduType>(19)), "unknown");
    EXPECT_STREQ(Pdu::Name(static_cast<PduType>(255)), "unknown");
    EXPECT_STREQ(Pdu::ErrorName(cvtagentd::kOpenFailed), "openFailed");
    EXPECT_STREQ(Pdu::ErrorName(cvtagentd::kDuplicateRegistration), "duplicateRegistration");
    EXPECT_STREQ(Pdu::ErrorName(cvtagentd::kProcessingError), "processingError");
    EXPECT_EQ(Pdu::ErrorName(0), nullptr);
    EXPECT_EQ(Pdu::ErrorName(255), nullptr);
    EXPECT_EQ(Pdu::ErrorName(269), nullptr);
    EXPECT_EQ(Pdu::ErrorName(65535), nullptr);
}

}  // namespace
}  // namespace agent_test
