#pragma once

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdlib>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/agent/Program.h"

namespace agent_test {

inline constexpr const char* kAgentFile = CVHOST_BUILD_BIN_DIR "/cvtagentd";
inline constexpr const char* kMainModule = CVHOST_BUILD_LIB_DIR "/libCVHost.so.1";
inline constexpr const char* kSampleModule = CVHOST_BUILD_LIB_DIR "/libSampleModule.so.1";
inline constexpr const char* kReadModule = CVHOST_READ_TEST_MODULE;
inline constexpr const char* kTestModule = CVHOST_AGENT_TEST_MODULE;

// Subtrees of the modules, with a trailing dot.
inline const std::string kMemorySize = ".1.3.6.1.2.1.25.2.2.0";
inline const std::string kSample = ".1.3.6.1.4.1.32473.1.";
inline const std::string kValues = ".1.3.6.1.4.1.32473.2.1.";
inline const std::string kOuter = ".1.3.6.1.4.1.32473.2.2.";
inline const std::string kInner = ".1.3.6.1.4.1.32473.2.2.3.1.";
inline const std::string kQuick = ".1.3.6.1.4.1.32473.3.1.";
inline const std::string kTable = ".1.3.6.1.4.1.32473.3.2.1.";
inline const std::string kSlowToInitialize = ".1.3.6.1.4.1.32473.3.3.1.";
inline const std::string kSlowToAnswer = ".1.3.6.1.4.1.32473.3.4.1.";
inline const std::string kLarge = ".1.3.6.1.4.1.32473.3.5.1.";
inline const std::string kLookUps = ".1.3.6.1.4.1.32473.3.6.1.0";
inline const std::string kFailures = ".1.3.6.1.4.1.32473.0.";

/// An environment setting for agents in tests that make the SNMP library itself leak.
inline const std::string kLibraryLeaks =
    "LSAN_OPTIONS=suppressions=" CVHOST_SOURCE_DIR "/tests/agent/library-leaks.supp:print_suppressions=0";

/// The exit status of an agent whose next attempt would fail for the same reason.
inline constexpr int kFaulty = 78;

using Arguments = std::vector<std::string>;

inline Arguments operator+(Arguments a, const Arguments& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// The names of the instances in a client's output, in order.
inline std::vector<std::string> Names(const std::string& output) {
    std::vector<std::string> names;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        if (const auto end = line.find(" = ");
            line.starts_with('.') && end != std::string::npos && line.find("No more variables") == std::string::npos) {
            names.push_back(line.substr(0, end));
        }
    }
    return names;
}

/// A port of the loopback address that neither UDP nor TCP uses.
inline int FreePort() {
    for (;;) {
        const int udp = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const int tcp = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        const bool free =
            ::bind(udp, any, length) == 0 && ::getsockname(udp, any, &length) == 0 && ::bind(tcp, any, length) == 0;
        ::close(udp);
        ::close(tcp);
        if (free) {
            return ntohs(address.sin_port);
        }
    }
}

/// A test with a scratch folder, a port, and, when it calls Start, an agent on that port of the loopback address. The
/// agent must end cleanly when the test is over.
class AgentTest : public ::testing::Test {
protected:
    AgentTest() {
        ::umask(022);  // a configuration that others can write is refused
        m_scratch.MakeFolder("state");
        m_scratch.MakeFolder("cert_indexes");  // otherwise the clients make it, and print that
    }

    void TearDown() override {
        if (m_agent != nullptr && !m_agent->HasBeenWaitedFor()) {
            ExpectCleanEnd();
        }
    }

    std::string Udp() const { return "udp:127.0.0.1:" + std::to_string(m_port); }

    /// The options of an agent on the test's port, or of a subagent, with the test's state folder and further options.
    Arguments WithOwn(const Arguments& more) const {
        const Arguments where = m_master.empty() ? Arguments{"--listen", Udp()} : Arguments{"--agentx=" + m_master};
        return where + Arguments{"--state-dir", m_scratch / "state"} + more;
    }

    /// Starts the agent and waits until its log holds `until`. A test that waits for the agent's end checks the exit
    /// status itself.
    void Start(const Arguments& more, const Arguments& settings = {}, const std::string& until = "ready after") {
        for (int tries = 0; tries < 3; ++tries) {
            m_agent = std::make_unique<Program>(m_command + WithOwn(more), m_scratch / "log", settings);
            if (m_agent->WaitForOutput(until)) {
                return;
            }
            if (m_agent->Output().find("in use") == std::string::npos) {
                break;
            }
            m_port = FreePort();  // another process was quicker
        }
        FAIL() << "the agent did not start: " << m_agent->Output();
    }

    /// With the test module, and everything allowed.
    void StartWritable(const Arguments& more = {}) {
        Start(Arguments{"--module", kTestModule, "--config", WriteConfig("rwcommunity private 127.0.0.1\n")} + more);
    }

    std::string WriteConfig(const std::string& content) const { return m_scratch.Write("agent.conf", content); }

    void ExpectCleanEnd() {
        m_agent->Signal(SIGTERM);
        EXPECT_EQ(m_agent->Wait(), 0) << Log();
        EXPECT_TRUE(Log().ends_with("cvtagentd: ended\n")) << Log();
    }

    std::string Log() const { return m_agent->Output(); }
    Program& Agent() { return *m_agent; }

    /// Runs an agent that ends by itself.
    Outcome RunAgent(const Arguments& arguments, const Arguments& settings = {}) const {
        return RunToEnd(Arguments{kAgentFile} + arguments, m_scratch, settings);
    }
    /// Expects that the agent does not start, and prints one line that contains `text`.
    void ExpectRefusal(const Arguments& arguments, int status, const std::string& text,
                       const Arguments& settings = {}) const {
        const Outcome outcome = RunAgent(arguments, settings);
        EXPECT_EQ(outcome.status, status) << outcome.output;
        EXPECT_NE(outcome.output.find(text), std::string::npos) << outcome.output;
        EXPECT_EQ(outcome.output.find('\n'), outcome.output.size() - 1) << outcome.output;
        EXPECT_TRUE(WithoutTime(outcome.output).starts_with("cvtagentd: ")) << outcome.output;
    }

    /// These lines without their time stamps; a line that has none stays as it is.
    static std::string WithoutTime(const std::string& lines) {
        static const std::regex stamp(R"((^|\n)\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d )");
        return std::regex_replace(lines, stamp, "$1");
    }

    /// Runs one of the distribution's clients to its end. It prints names as numbers, and values with their type.
    Outcome Client(const std::string& name, const Arguments& arguments) const {
        return RunToEnd(Arguments{name, "-On", "-t", "5", "-r", "1"} + arguments, m_scratch,
                        {"MIBS=", "SNMPCONFPATH=" + m_scratch.Path(), "SNMP_PERSISTENT_DIR=" + m_scratch.Path()});
    }
    /// In version 2c, with the community that may write if there is one.
    Outcome V2c(const std::string& name, const Arguments& arguments, const Arguments& options = {}) const {
        return Client(name, options + Arguments{"-v2c", "-c", m_community, Udp()} + arguments);
    }
    Outcome V1(const std::string& name, const Arguments& arguments) const {
        return Client(name, Arguments{"-v1", "-c", m_community, Udp()} + arguments);
    }

    /// A client in version 2c that has sent its one request when this returns, and waits for the answer.
    std::unique_ptr<Program> Ask(const std::string& client, const Arguments& names, const Arguments& options = {},
                                 const std::string& address = {}) {
        const std::string file = m_scratch / ("asked-" + std::to_string(++m_asked));
        auto program = std::make_unique<Program>(
            Arguments{client, "-On", "-d", "-t", "20", "-r", "0", "-v2c", "-c", m_community} + options +
                Arguments{address.empty() ? Udp() : address} + names,
            file, Arguments{"MIBS=", "SNMPCONFPATH=" + m_scratch.Path(), "SNMP_PERSISTENT_DIR=" + m_scratch.Path()});
        EXPECT_TRUE(program->WaitForOutput("Sending ")) << program->Output();
        return program;
    }

    std::string Get(const std::string& oid) const { return V2c("snmpget", {oid}).output; }
    std::string GetNext(const std::string& oid) const { return V2c("snmpgetnext", {oid}).output; }
    Outcome Set(const Arguments& varBinds) const { return V2c("snmpset", varBinds); }

    /// Expects that the SET is refused with this error-status, as the client names it, for this instance.
    void ExpectSetRefused(const Arguments& varBinds, const std::string& error, const std::string& instance) const {
        const Outcome outcome = Set(varBinds);
        EXPECT_EQ(outcome.status, 2) << outcome.output;
        EXPECT_NE(outcome.output.find("Reason: " + error), std::string::npos) << outcome.output;
        EXPECT_NE(outcome.output.find("Failed object: " + instance + "\n"), std::string::npos) << outcome.output;
    }

    const ScratchFolder m_scratch;
    std::string m_community = "private";
    Arguments m_command = {kAgentFile};  ///< what Start starts

    std::string m_master;  ///< when set Start starts a subagent of the master there
    int m_port = FreePort();

private:
    std::unique_ptr<Program> m_agent;
    int m_asked = 0;
};

}  // namespace agent_test
