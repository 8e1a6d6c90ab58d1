// The agent's check of a state file of the SNMP library: which files are complete, and that no truncated file is.

#include "agent/cvtagentd/process/StateContent.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace cvtagentd {
namespace {

const std::string kEngine = "0x80001f8880065b134bcb0f026b00000000";

std::string Hex(std::size_t octets) {
    std::string text = "0x";
    for (std::size_t octet = 0; octet < octets; ++octet) {
        text += "5c";
    }
    return text;
}

std::string Line(const std::string& name, const std::string& auth, const std::string& authKey, const std::string& priv,
                 const std::string& privKey, const std::string& end = "0x") {
    return "usmUser 1 3 " + kEngine + " " + name + " " + name + " NULL " + auth + " " + authKey + " " + priv + " " +
           privKey + " " + end + "\n";
}

std::string Reader() { return Line("\"reader\"", ".1.3.6.1.6.3.10.1.1.5", Hex(32), ".1.3.6.1.6.3.10.1.2.4", Hex(16)); }

const std::string kHead = "#\n# net-snmp (or ucd-snmp) persistent data file.\n#\n\n\n";
const std::string kTail = "engineBoots 7\noldEngineID " + kEngine + "\n";

std::string Good() {
    return kHead + Line("\"nobody\"", ".1.3.6.1.6.3.10.1.1.1", "\"\"", ".1.3.6.1.6.3.10.1.2.1", "\"\"", "\"\"") +
           Reader() + kTail;
}

std::string Joined(std::initializer_list<std::string> parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += part;
    }
    return text;
}

std::string FaultOf(const std::string& text) { return StateContent(text).Fault(); }

TEST(StateContent, ACompleteFileHasItsUsersItsEngineAndItsBoots) {
    const StateContent content(Good());
    EXPECT_EQ(content.Fault(), "");
    const std::string engine("\x80\x00\x1f\x88\x80\x06\x5b\x13\x4b\xcb\x0f\x02\x6b\0\0\0\0", 17);
    EXPECT_EQ(content.EngineId(), engine);
    EXPECT_EQ(content.EngineBoots(), 7U);
    EXPECT_EQ(content.NonVolatileUsers(), (StateContent::Users{{engine, "nobody"}, {engine, "reader"}}));
}

TEST(StateContent, OnlyUsersInStorageThatOutlivesTheAgentCount) {
    for (const int storage : {1, 2, 3, 4, 5}) {
        std::string text = Good();
        text.replace(text.find("usmUser 1 3"), 11, "usmUser 1 " + std::to_string(storage));
        const StateContent content(text);
        EXPECT_EQ(content.Fault(), "");
        EXPECT_EQ(content.NonVolatileUsers().size(), storage == 3 ? 2U : 1U) << storage;
    }
}

TEST(StateContent, ATruncatedFileHasAFaultWhereverItIsCut) {
    const std::string good = Good();
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_NE(FaultOf(good.substr(0, length)), "") << good.substr(0, length);
    }
}

TEST(StateContent, AFaultNamesItsLine) {
    EXPECT_EQ(FaultOf(kHead + Reader().substr(0, 150)), "line 6: it is cut off");
    EXPECT_EQ(FaultOf(kHead + Reader()), "the line engineBoots is missing");
    EXPECT_EQ(FaultOf(kHead + Reader() + "engineBoots 7\n"), "its last line, oldEngineID, is missing");
    EXPECT_EQ(FaultOf(kHead), "it is empty");
    EXPECT_EQ(FaultOf(""), "it is empty");
    EXPECT_EQ(FaultOf(std::string(4096, '\0')), "line 1: it is cut off");
    EXPECT_EQ(FaultOf(std::string(100, '\0') + "\n" + kTail), "line 1: it contains null octets");
}

TEST(StateContent, AFileIsCompleteWithoutTheLinesOfRemovedUsers) {
    EXPECT_EQ(FaultOf(kHead + kTail), "");
    EXPECT_EQ(FaultOf(kTail + Reader()), "") << "the order does not matter either";
}

TEST(StateContent, KeysHaveTheLengthOfTheirProtocol) {
    const std::string noPriv = ".1.3.6.1.6.3.10.1.2.1";
    const std::size_t authOctets[] = {0, 16, 20, 28, 32, 48, 64};
    for (std::size_t number = 1; number <= std::size(authOctets); ++number) {
        const std::size_t right = authOctets[number - 1];
        const std::string protocol = ".1.3.6.1.6.3.10.1.1." + std::to_string(number);
        for (std::size_t octets = 0; octets <= 65; ++octets) {
            const std::string fault = FaultOf(Line("\"a\"", protocol, Hex(octets), noPriv, "\"\"") + kTail);
            EXPECT_EQ(fault.empty(), octets == right) << protocol << ", " << octets << " octets: " << fault;
        }
    }
    const std::string sha256 = ".1.3.6.1.6.3.10.1.1.5";
    const std::pair<std::string, std::size_t> ciphers[] = {
        {noPriv, 0},
        {".1.3.6.1.6.3.10.1.2.2", 16},
        {".1.3.6.1.6.3.10.1.2.4", 16},
        {".1.3.6.1.4.1.14832.1.3", 24},
        {".1.3.6.1.4.1.14832.1.4", 32},
        {".1.3.6.1.4.1.9.12.6.1.1", 24},
        {".1.3.6.1.4.1.9.12.6.1.2", 32},
    };
    for (const auto& [protocol, least] : ciphers) {
        for (std::size_t octets = 0; octets <= 64; ++octets) {
            const std::string fault = FaultOf(Line("\"a\"", sha256, Hex(32), protocol, Hex(octets)) + kTail);
            EXPECT_EQ(fault.empty(), octets >= least) << protocol << ", " << octets << " octets: " << fault;
        }
    }
    EXPECT_EQ(FaultOf(Line("\"a\"", sha256, Hex(12), noPriv, "\"\"") + kTail),
              "line 1: the key for authentication has 12 octets, not 32");
}

TEST(StateContent, NamesMayContainQuotesBlanksAndArbitraryOctets) {
    const std::string auth = ".1.3.6.1.6.3.10.1.1.1";
    const std::string priv = ".1.3.6.1.6.3.10.1.2.1";
    const auto nameOf = [&](const std::string& written) {
        const StateContent content(Line(written, auth, "\"\"", priv, "\"\"") + kTail);
        EXPECT_EQ(content.Fault(), "") << written;
        return content.NonVolatileUsers().empty() ? "" : content.NonVolatileUsers().begin()->name;
    };
    EXPECT_EQ(nameOf("\"two words\""), "two words");
    EXPECT_EQ(nameOf(R"("a \"quote\" \\ #")"), R"(a "quote" \ #)");
    EXPECT_EQ(nameOf("0xc3a4"), "\xC3\xA4");
    EXPECT_EQ(nameOf("0x6d6500"), "me") << "as older versions of the library write it";
}

TEST(StateContent, IncompleteLinesOfTheLibraryAreFaults) {
    const std::string user = "usmUser 1 3 " + kEngine + " \"me\" \"me\" NULL ";
    const std::string none = ".1.3.6.1.6.3.10.1.1.1 \"\" .1.3.6.1.6.3.10.1.2.1 \"\"";
    ASSERT_EQ(FaultOf(user + none + " \"\"\n" + kTail), "");
    for (const std::string& line : {
             user + none,
             user + none + " \"\" more",
             user + none + " \"",
             std::string("usmUser"),
             Joined({"usmUser x 3 ", kEngine, " \"me\" \"me\" NULL ", none, " \"\""}),
             "usmUser 1 3 0x8 \"me\" \"me\" NULL " + none + " \"\"",
             Joined({"usmUser 1 3 ", kEngine, " \"\" \"\" NULL ", none, " \"\""}),
             Joined({"usmUser 1 3 ", kEngine, " \"me\" \"me NULL ", none, " \"\""}),
             user + ".1.3.6.1.6.3.10.1.1. \"\" .1.3.6.1.6.3.10.1.2.1 \"\" \"\"",
             user + ".1.3.6.1.6.3.10.1.1.1 0x0 .1.3.6.1.6.3.10.1.2.1 \"\" \"\"",
             user + ".1.3.6.1.6.3.10.1.1.1 \"\" .1.3.6.1.6.3.10.1.2.1 0x0g \"\"",
             std::string("engineBoots"),
             std::string("engineBoots x"),
             std::string("engineBoots -1"),
             std::string("engineBoots 2147483648"),
             std::string("engineBoots 1 2"),
             std::string("oldEngineID"),
             std::string("oldEngineID 0x"),
             std::string("oldEngineID 0x800"),
             std::string("oldEngineID \"no end"),
         }) {
        EXPECT_TRUE(FaultOf(Joined({kHead, line, "\n", kTail})).starts_with("line 6: ")) << line;
    }
}

TEST(StateContent, HandWrittenDirectivesAreLeftToTheLibrary) {
    EXPECT_EQ(FaultOf("createUser me SHA-256 \"long enough\"\n"), "");
    EXPECT_EQ(FaultOf(kHead + "createUser me SHA-256 \"long enough\"\n" + Reader() + kTail), "");
    EXPECT_EQ(FaultOf("createUser me SHA-256 \"long en"), "line 1: it is cut off");
}

}  // namespace
}  // namespace cvtagentd
