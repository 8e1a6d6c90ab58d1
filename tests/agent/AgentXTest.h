#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "tests/agent/AgentTest.h"

namespace agent_test {

/// A test with an AgentX master on the test's port, and, when it calls Start, an agent that serves through it. The
/// master is the distribution's, with no modules of its own except those that access control needs, so that all values
/// come from the agent.
class AgentXTest : public AgentTest {
protected:
    AgentXTest() { m_master = m_scratch / "master"; }

    /// Ends the agent first, which must end cleanly.
    void TearDown() override {
        AgentTest::TearDown();
        StopMaster();
    }

    /// `more`: further directives for the master. If the port is taken, another one is tried.
    void StartMaster(const std::string& more = "") {
        for (int tries = 0; tries < 3; ++tries) {
            const std::string config =
                m_scratch.Write("master.conf", "rwcommunity private 127.0.0.1\n" + m_masterDirective + "agentXSocket " +
                                                   m_master + "\nagentaddress " + Udp() + "\n" + more);
            m_masterProgram =
                std::make_unique<Program>(Arguments{"snmpd", "-f", "-Lo", "-C", "-c", config, "-I",
                                                    "usmConf,vacm_conf,vacm_vars,usmUser,snmpEngine"},
                                          m_scratch / "master.log",
                                          Arguments{"MIBS=", "SNMPCONFPATH=" + m_scratch.Path(),
                                                    "SNMP_PERSISTENT_DIR=" + m_scratch.MakeFolder("master-state")});
            if (m_masterProgram->WaitForOutput("NET-SNMP version")) {
                return;
            }
            m_port = FreePort();
        }
        FAIL() << "the master did not start: " << m_masterProgram->Output();
    }
    void StopMaster() {
        if (m_masterProgram != nullptr) {
            m_masterProgram->Signal(SIGCONT);
            m_masterProgram->Signal(SIGTERM);
            m_masterProgram->Wait();
            m_masterProgram.reset();
        }
    }
    void KillMaster() {
        m_masterProgram->Signal(SIGKILL);
        m_masterProgram->Wait();
        m_masterProgram.reset();
    }
    Program& Master() { return *m_masterProgram; }

    /// A master, and an agent whose subtrees are registered.
    void StartBoth(const Arguments& more, const Arguments& settings = {}) {
        StartMaster();
        Start(more, settings);
        ASSERT_TRUE(IsServed(m_served)) << Log();
    }

    /// Waits until the master serves this instance; false when that takes longer than `seconds`.
    bool IsServed(const std::string& oid, int seconds = 15) const { return Becomes(true, oid, seconds); }
    bool IsNotServed(const std::string& oid, int seconds = 15) const { return Becomes(false, oid, seconds); }

    /// How often the text occurs in the agent's log.
    int InLog(const std::string& text) const { return Count(Log(), text); }

    static int Count(const std::string& whole, const std::string& part) {
        int count = 0;
        for (std::size_t at = whole.find(part); at != std::string::npos; at = whole.find(part, at + 1)) {
            ++count;
        }
        return count;
    }

    std::string m_served = kMemorySize;                 ///< what StartBoth waits for
    std::string m_masterDirective = "master agentx\n";  ///< turns AgentX on, unless `more` does

private:
    bool Becomes(bool served, const std::string& oid, int seconds) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        do {
            const Outcome outcome = V2c("snmpget", {oid}, {"-t", "0.3", "-r", "0"});
            if ((outcome.status == 0 && outcome.output.find("No Such") == std::string::npos) == served) {
                return true;
            }
            ::poll(nullptr, 0, 20);
        } while (std::chrono::steady_clock::now() < deadline);
        return false;
    }

    std::unique_ptr<Program> m_masterProgram;
};

}  // namespace agent_test
