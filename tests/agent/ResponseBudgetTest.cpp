// Version 3 responses that would be longer than the client accepts.

#include <sstream>

#include "tests/agent/AgentTest.h"

namespace agent_test {
namespace {

constexpr const char* kClient = CVHOST_SOURCE_DIR "/tests/agent/clients/bulk.pl";

struct Asker {
    const char* name;
    int longestMessage;
    bool isSealed;
};

void PrintTo(const Asker& asker, std::ostream* out) { *out << asker.name; }

constexpr Asker kAskers[] = {
    {"FewOctets", 600, false},       {"FewOctetsSealed", 600, true},
    {"EthernetPacket", 1472, false}, {"EthernetPacketSealed", 1472, true},
    {"WholeDatagram", 65507, false}, {"WholeDatagramSealed", 65507, true},
};

class ResponseBudgetTest : public AgentTest, public ::testing::WithParamInterface<Asker> {
protected:
    void SetUp() override {
        if (RunToEnd({"perl", "-MNet::SNMP", "-MCrypt::Rijndael", "-e", "1"}, m_scratch).status != 0) {
            GTEST_SKIP() << "no Net::SNMP (libnet-snmp-perl, libcrypt-rijndael-perl)";
        }
        Start({"--module", kTestModule, "--module", CVHOST_READ_TEST_MODULE, "--config",
               WriteConfig("createUser me SHA \"long enough\" AES \"long enough\"\nrouser me auth\n")});
    }

    /// A GETBULK of that many repetitions.
    Outcome Ask(int repetitions, const std::string& oids) const {
        Arguments arguments = {"perl",
                               kClient,
                               Udp().substr(Udp().rfind(':') + 1),
                               std::to_string(repetitions),
                               oids,
                               "-version",
                               "3",
                               "-username",
                               "me",
                               "-authprotocol",
                               "sha",
                               "-authpassword",
                               "long enough",
                               "-maxmsgsize",
                               std::to_string(GetParam().longestMessage)};
        if (GetParam().isSealed) {
            arguments = arguments + Arguments{"-privprotocol", "aes", "-privpassword", "long enough"};
        }
        return RunToEnd(arguments, m_scratch);
    }
    std::vector<std::string> Names(int repetitions, const std::string& oids) const {
        const Outcome outcome = Ask(repetitions, oids);
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        std::istringstream in(outcome.output);
        std::vector<std::string> names;
        for (std::string name; std::getline(in, name);) {
            names.push_back(name);
        }
        return names;
    }

    const std::string m_number = ".1.3.6.1.4.1.32473.3.2.1.1";
    const std::string m_text = ".1.3.6.1.4.1.32473.3.2.1.2";
};

TEST_P(ResponseBudgetTest, AResponseHoldsTheFirstRowsThatFitWithoutAGap) {
    const std::vector<std::string> names = Names(200, m_text);
    ASSERT_FALSE(names.empty());
    const auto fit = static_cast<std::size_t>(GetParam().longestMessage) / 200;
    EXPECT_LE(names.size(), fit);
    constexpr std::size_t kOctets = 225;  // of a varbind, and of all that a message holds besides
    EXPECT_GE(names.size() + 1,
              std::min<std::size_t>(static_cast<std::size_t>(GetParam().longestMessage) / kOctets, 200))
        << "there was room for more";
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i], m_text + "." + std::to_string(i + 1));
    }
}

TEST_P(ResponseBudgetTest, SeveralColumnsComeRowByRowUpToTheLastValueThatFits) {
    const std::vector<std::string> names = Names(100, m_number + "," + m_text);
    ASSERT_FALSE(names.empty());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i], (i % 2 == 0 ? m_number : m_text) + "." + std::to_string(i / 2 + 1));
    }
}

TEST_P(ResponseBudgetTest, NumbersFillTheMessage) {
    constexpr std::size_t kOctets = 25;  // of a varbind, at most
    constexpr std::size_t kHeader = 200;
    const std::size_t fit = (static_cast<std::size_t>(GetParam().longestMessage) - kHeader) / kOctets;
    EXPECT_GE(Names(200, m_number).size(), std::min<std::size_t>(fit, 200));
}

/// The names of the snmp group have nine arcs.
TEST_P(ResponseBudgetTest, NumbersWithTheShortestNamesFillTheMessageToo) {
    constexpr std::size_t kOctets = 16;  // of a varbind; a counter may take a second octet
    const std::size_t header = GetParam().isSealed ? 200 : 170;
    const std::size_t fit = (static_cast<std::size_t>(GetParam().longestMessage) - header) / kOctets;
    EXPECT_GE(Names(28, ".1.3.6.1.2.1.11").size(), std::min<std::size_t>(fit, 28));
}

TEST_P(ResponseBudgetTest, AsManyNumbersFitAsInTheAnswerToAGet) {
    const std::size_t columns = GetParam().longestMessage < 1472 ? 10 : 45;
    std::string oids = m_number;
    for (std::size_t i = 1; i < columns; ++i) {
        oids += "," + m_number + "." + std::to_string(i);
    }
    EXPECT_EQ(Names(1, oids).size(), columns);
}

TEST_P(ResponseBudgetTest, IfOneRowDoesNotFitItsFirstValuesAreReturnedOrElseItIsRefused) {
    const std::string longText = kValues + "14.0";  // a text of 20,000 octets follows it
    const std::string four = longText + "," + longText + "," + longText + "," + longText;
    if (GetParam().longestMessage > 60000) {
        EXPECT_EQ(Names(3, four).size(), 3U);
    } else {
        const Outcome outcome = Ask(3, four);
        EXPECT_NE(outcome.status, 0) << outcome.output;
        EXPECT_NE(outcome.output.find("tooBig"), std::string::npos) << outcome.output;
    }
    EXPECT_EQ(Names(1, m_number), std::vector<std::string>{m_number + ".1"});
}

INSTANTIATE_TEST_SUITE_P(Sizes, ResponseBudgetTest, ::testing::ValuesIn(kAskers),
                         [](const auto& asker) { return std::string(asker.param.name); });

}  // namespace
}  // namespace agent_test
