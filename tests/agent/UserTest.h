#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/agent/AgentTest.h"

namespace agent_test {

inline constexpr const char* kAuthentication = "the first \"secret\" \\ phrase";
inline constexpr const char* kPrivacy = "the second 'secret' # phrase";

/// A test with SNMPv3 users that --create-user adds to the state folder.
class UserTest : public AgentTest {
protected:
    Arguments Command(const std::string& name, const Arguments& more = {}) const {
        return Arguments{kAgentFile, "--create-user", name, "--state-dir", m_scratch / "state"} + more;
    }
    Outcome Create(const std::string& name, const std::string& lines, const Arguments& more = {}) const {
        return RunToEnd(Command(name, more), m_scratch, {}, m_scratch.Write("input", lines));
    }
    static std::string Phrases() { return std::string(kAuthentication) + "\n" + kPrivacy + "\n"; }

    std::string Kept() const {
        std::ifstream in(m_scratch / "state/cvtagentd.conf", std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    /// Expects one line that contains `text`, and an unchanged state.
    void ExpectRefused(const std::string& name, const std::string& lines, const std::string& text,
                       int status = 1) const {
        const std::string before = Kept();
        const Outcome outcome = Create(name, lines);
        EXPECT_EQ(outcome.status, status) << outcome.output;
        EXPECT_NE(outcome.output.find(text), std::string::npos) << outcome.output;
        EXPECT_EQ(outcome.output.find('\n'), outcome.output.size() - 1) << outcome.output;
        EXPECT_EQ(Kept(), before);
    }
    Outcome Ask(const std::string& name, const std::string& authentication, const std::string& privacy,
                const Arguments& options = {}) const {
        return Client("snmpget",
                      options + Arguments{"-v3", "-u", name, "-l", "authPriv", "-a", "SHA-256", "-A", authentication,
                                          "-x", "AES", "-X", privacy, Udp(), kValues + "1.0"});
    }
    void StartFor(const std::string& name) {
        Start({"--module", kTestModule, "--config", WriteConfig("rouser " + name + " authpriv\n")});
    }
    void ExpectWorks(const std::string& name) {
        StartFor(name);
        EXPECT_EQ(Ask(name, kAuthentication, kPrivacy).output, kValues + "1.0 = INTEGER: 1\n");
        EXPECT_EQ(Ask(name, kPrivacy, kPrivacy).status, 1);
        const Arguments impatient = {"-t", "0.3", "-r", "0"};  // a message that cannot be decrypted is not answered
        EXPECT_EQ(Ask(name, kAuthentication, kAuthentication, impatient).status, 1);
        ExpectCleanEnd();
    }
};

}  // namespace agent_test
