// Whether the agent finds out that its master answers for some of its objects itself.

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CVT/BMibScalarGroupImpl.h"
#include "agent/common/Joined.h"
#include "agent/cvtagentd/agentx/MasterProbes.h"
#include "agent/cvtagentd/agentx/Pdu.h"
#include "tests/agent/AgentXTest.h"
#include "tests/agent/ScriptedMaster.h"

namespace agent_test {
namespace {

using cvtagentd::Pdu;
using cvtagentd::PduType;

const std::string kWarning = "warning: the master answers for objects of these groups instead of this agent: ";

std::string NameOf(const Pdu& pdu) { return "." + std::string(pdu.name.ToString().View()); }

/// With a master that the test plays.
class AgentXProbeTest : public AgentXTest {
protected:
    using Refusal = std::function<std::uint16_t(const std::string& name)>;

    static std::uint16_t Nothing(const std::string& /*name*/) { return 0; }
    static Refusal DuplicatesOf(std::set<std::string> names) {
        return [names = std::move(names)](const std::string& name) {
            return names.contains(name) ? std::uint16_t{cvtagentd::kDuplicateRegistration} : std::uint16_t{0};
        };
    }
    static bool IsRoot(const std::string& name) {
        return name + "." == kValues || name + "." == kOuter || name + "." == kInner || name + "." == kFailures;
    }

    void StartAgent() { Start({"--module", kTestModule}, {}, ""); }

    /// Answers the agent until it only asks whether the master is there, or has tried that many objects.
    void Answer(const Refusal& refusal, std::size_t objects = SIZE_MAX) {
        m_script.Accept();
        AnswerOn(refusal, objects);
    }
    /// The same, on the present connection.
    void AnswerOn(const Refusal& refusal, std::size_t objects = SIZE_MAX) {
        m_tried.clear();
        m_undone.clear();
        while (m_tried.size() < objects) {
            const auto message = m_script.Receive(20000);
            ASSERT_TRUE(message.has_value()) << Log();
            const std::string octets = message->octets.Message(
                {1, message->type, 0, message->session, message->transaction, message->packet}, message->payload);
            Pdu pdu;
            ASSERT_EQ(Pdu::Decode(octets, pdu), cvtagentd::PduError::kNone);
            std::uint16_t error = 0;
            if (pdu.header.type == PduType::kRegister) {
                error = refusal(NameOf(pdu));
                Note(pdu, error);
            } else if (pdu.header.type == PduType::kUnregister) {
                m_undone.push_back(NameOf(pdu));
            }
            m_script.RefuseRegistrations(error);
            m_script.Answer(*message);
            if (pdu.header.type == PduType::kPing) {
                return;
            }
        }
    }
    std::uint32_t Level() { return m_script.GetNumber({1, 3, 6, 1, 4, 1, 32473, 2, 1, 1, 0}, ++m_transaction); }

    ScriptedMaster m_script{m_master};
    std::vector<std::string> m_tried;     // objects, in order
    std::vector<std::string> m_accepted;  // of them
    std::vector<std::string> m_undone;
    std::uint32_t m_transaction = 0;

private:
    void Note(const Pdu& pdu, std::uint16_t error) {
        EXPECT_EQ(pdu.priority, 127);  // that of a master's own modules
        EXPECT_EQ(pdu.rangeArc, 0);
        if (!IsRoot(NameOf(pdu))) {
            m_tried.push_back(NameOf(pdu));
            if (error == 0) {
                m_accepted.push_back(NameOf(pdu));
            }
        }
    }
};

TEST_F(AgentXProbeTest, WarnsOnceOfTheGroupsWhoseObjectsSomebodyElseServes) {
    StartAgent();
    Answer(DuplicatesOf({kValues + "3", kInner + "2", kOuter + "5.0"}));
    ASSERT_TRUE(Agent().WaitForOutput(kWarning + "AGENT-TEST-MIB.values, AGENT-TEST-MIB.outer, AGENT-TEST-MIB.inner; "))
        << Log();
    EXPECT_EQ(InLog(kWarning), 1) << Log();
    EXPECT_EQ(InLog("(for snmpd's host module: -I -hrh_storage,"), 1) << Log();
    EXPECT_EQ(m_accepted, m_undone);
    EXPECT_EQ(Level(), 1U);
}

TEST_F(AgentXProbeTest, TriesNoMoreOfAGroupOnceAnObjectIsRefused) {
    StartAgent();
    Answer(DuplicatesOf({kValues + "1"}));
    EXPECT_EQ(Count(agent::Joined(m_tried), kValues), 1) << agent::Joined(m_tried);
    EXPECT_EQ(Count(agent::Joined(m_tried), kFailures), 6) << agent::Joined(m_tried);
}

TEST_F(AgentXProbeTest, TriesEachObjectTakesItBackAndIsSilentWhereNobodyElseServesAny) {
    StartAgent();
    Answer(&Nothing);
    const std::set<std::string> tried(m_tried.begin(), m_tried.end());
    for (const std::string& name : {kValues + "1", kValues + "1.0", kValues + "17", kOuter + "5", kInner + "2"}) {
        EXPECT_TRUE(tried.contains(name)) << name;
    }
    EXPECT_EQ(tried.size(), m_tried.size()) << agent::Joined(m_tried);
    EXPECT_EQ(m_tried, m_undone);
    EXPECT_EQ(Level(), 1U);
    EXPECT_EQ(InLog("warning"), 0) << Log();
}

TEST_F(AgentXProbeTest, ARefusalForAnotherReasonIsNoWarningAndNoHarm) {
    StartAgent();
    Answer([](const std::string& name) {
        return IsRoot(name) ? std::uint16_t{0} : std::uint16_t{cvtagentd::kRequestDenied};
    });
    EXPECT_EQ(m_tried.size(), 4U) << agent::Joined(m_tried);  // one of each group
    EXPECT_TRUE(m_undone.empty()) << agent::Joined(m_undone);
    EXPECT_EQ(Level(), 1U);
    EXPECT_EQ(InLog("warning"), 0) << Log();
}

TEST_F(AgentXProbeTest, TriesNothingOfAGroupThatIsNotRegistered) {
    StartAgent();
    Answer([](const std::string& name) {
        return IsRoot(name) ? std::uint16_t{cvtagentd::kRequestDenied} : std::uint16_t{0};
    });
    EXPECT_TRUE(m_tried.empty()) << agent::Joined(m_tried);
    EXPECT_EQ(InLog(kWarning), 0) << Log();
}

TEST_F(AgentXProbeTest, ASubtreeThatSomebodyElseServesIsTriedAgainAndThenItsObjects) {
    const auto endsAt = [](const std::string& root) { return root.substr(0, root.size() - 1); };
    const std::string said = "the master already serves these subtrees without this agent: 1.3.6.1.4.1.32473.2.1, ";
    StartAgent();
    Answer(DuplicatesOf({endsAt(kValues), endsAt(kInner)}));
    ASSERT_TRUE(Agent().WaitForOutput(said)) << Log();
    EXPECT_EQ(Count(agent::Joined(m_tried), kValues), 0) << agent::Joined(m_tried);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    do {  // until the next ping
        AnswerOn(DuplicatesOf({kValues + "3"}));
    } while (m_tried.empty() && std::chrono::steady_clock::now() < deadline);
    EXPECT_EQ(Count(agent::Joined(m_tried), kValues), 5) << agent::Joined(m_tried);
    EXPECT_EQ(Count(agent::Joined(m_tried), kInner), 2) << agent::Joined(m_tried);
    EXPECT_EQ(Count(agent::Joined(m_tried), kFailures), 0) << "it was tried before: " << agent::Joined(m_tried);
    EXPECT_EQ(InLog("the master now accepts these subtrees: 1.3.6.1.4.1.32473.2.1, 1.3.6.1.4.1.32473.2.2.3.1\n"), 1)
        << Log();
    ASSERT_TRUE(Agent().WaitForOutput(kWarning + "AGENT-TEST-MIB.values; ")) << Log();
    EXPECT_EQ(Level(), 1U);
    m_script.Disconnect();
    Answer(DuplicatesOf({endsAt(kValues), endsAt(kInner)}));
    EXPECT_EQ(InLog(said), 1) << "a master that comes back does not repeat it: " << Log();
}

TEST_F(AgentXProbeTest, AConnectionLostInBetweenLeavesNothingBehindAndEachConnectionIsLookedAt) {
    StartAgent();
    Answer(DuplicatesOf({kFailures + "1"}), 5);
    m_script.Disconnect();
    Answer(DuplicatesOf({kInner + "2"}));
    ASSERT_TRUE(Agent().WaitForOutput(kWarning + "AGENT-TEST-MIB.inner; ")) << Log();
    EXPECT_EQ(InLog(kWarning), 1) << Log();
    EXPECT_EQ(Level(), 1U);
    m_script.Disconnect();
    Answer(&Nothing);
    EXPECT_EQ(InLog(kWarning), 1) << Log();
    m_script.Disconnect();
    Answer(DuplicatesOf({kInner + "2"}));
    EXPECT_EQ(InLog(kWarning), 2) << Log();
    EXPECT_EQ(Level(), 1U);
}

/// A group with the scalars 1 and 2.
class TwoScalars final : public CVT::BMibScalarGroupImpl {
public:
    explicit TwoScalars(const char* oid) : CVT::BMibScalarGroupImpl("TEST-MIB.two", oid) {}
    void Initialize() override {}
    void Cleanup() override {}
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return kColumns; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return kConstraints; }

private:
    static constexpr CVT::BRqHndlrEntry kColumns[] = {
        {1, "one", CVT::kInteger, CVT::kReadOnly, CVT::kIntValue, 0, {}, {}},
        {2, "two", CVT::kInteger, CVT::kReadOnly, CVT::kIntValue, 0, {}, {}},
        {}};
    static constexpr CVT::BConstraintEntry kConstraints[] = {{}};
};

TEST(MasterProbesTest, DoNotTryWhatAnotherGroupOfTheAgentHasRegistered) {
    TwoScalars outer("1.3.6.1.4.1.32473.9");
    TwoScalars inner("1.3.6.1.4.1.32473.9.2");
    std::vector<std::string> tried;
    cvtagentd::MasterProbes probes(
        {&outer, &inner}, {[&](const CVT::BObjectIdentifier& name) { tried.emplace_back(name.ToString().View()); },
                           [](const CVT::BObjectIdentifier& /*name*/) {}});
    probes.Begin({&outer});
    for (std::size_t answers = 0; answers < tried.size(); ++answers) {
        probes.Answered(0);
    }
    const std::string root = "1.3.6.1.4.1.32473.9.";
    EXPECT_EQ(tried, (std::vector<std::string>{root + "1", root + "1.0", root + "2.0"}));
}

/// Behind the distribution's master.
class AgentXOtherSubagentTest : public AgentXTest {
protected:
    AgentXOtherSubagentTest() { m_served = kValues + "1.0"; }
};

/// Another subagent, which registers one subtree, and answers nothing.
class OtherSubagent {
public:
    explicit OtherSubagent(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        Pdu open;
        open.header.type = PduType::kOpen;
        m_session = Ask(open).header.session;
    }
    ~OtherSubagent() { ::close(m_socket); }
    OtherSubagent(const OtherSubagent&) = delete;
    OtherSubagent& operator=(const OtherSubagent&) = delete;

    int Register(const std::string& name) {
        Pdu pdu;
        pdu.header.type = PduType::kRegister;
        pdu.name = CVT::BObjectIdentifier(CVT::BString(name.substr(1).c_str()));
        return Ask(pdu).error;
    }

private:
    Pdu Ask(Pdu& pdu) {
        pdu.header.session = m_session;
        pdu.header.packet = ++m_packet;
        std::string octets;
        pdu.AppendTo(octets);
        EXPECT_EQ(::send(m_socket, octets.data(), octets.size(), 0), static_cast<ssize_t>(octets.size()));
        std::string received;
        for (std::size_t size = Pdu::kHeaderSize; received.size() < size;) {
            std::string more(size - received.size(), '\0');
            const ssize_t count = ::recv(m_socket, more.data(), more.size(), 0);
            if (count <= 0) {
                throw std::runtime_error("the master has closed the connection");
            }
            received.append(more, 0, static_cast<std::size_t>(count));
            EXPECT_EQ(Pdu::Frame(received, size), cvtagentd::PduError::kNone);
        }
        Pdu answer;
        EXPECT_EQ(Pdu::Decode(received, answer), cvtagentd::PduError::kNone);
        return answer;
    }

    int m_socket = -1;
    std::uint32_t m_session = 0;
    std::uint32_t m_packet = 0;
};

TEST_F(AgentXOtherSubagentTest, TheDistributionsMasterTellsThatAnotherServesAnObject) {
    StartMaster();
    OtherSubagent other(m_master);
    ASSERT_EQ(other.Register(kValues + "13"), 0);
    Start({"--module", kTestModule});
    ASSERT_TRUE(Agent().WaitForOutput(kWarning + "AGENT-TEST-MIB.values; ")) << Log();
    EXPECT_EQ(InLog(kWarning), 1) << Log();
    EXPECT_TRUE(IsServed(kValues + "1.0")) << Log();
}

TEST_F(AgentXOtherSubagentTest, NothingIsReportedAndNothingIsMissingBehindAMasterWithoutAHostModule) {
    StartBoth({"--module", kMainModule, "--module", kTestModule, "--log-level", "debug"});
    const std::vector<std::string> names = Names(V2c("snmpwalk", {".1.3.6.1.4.1.32473.2"}).output);
    for (const std::string& name :
         {kValues + "1.0", kValues + "17.0", kOuter + "1.0", kOuter + "5.0", kInner + "2.1"}) {
        EXPECT_EQ(std::count(names.begin(), names.end(), name), name == kValues + "17.0" ? 0 : 1) << name;
    }
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(Names(V2c("snmpwalk", {".1.3.6.1.4.1.32473.2"}).output), names);
    }
    EXPECT_EQ(InLog("warning"), 0) << Log();
    EXPECT_EQ(InLog("lost the connection"), 0) << Log();
}

TEST_F(AgentXOtherSubagentTest, TheMasterTakesItsExampleConfiguration) {
    std::ifstream in(CVHOST_SOURCE_DIR "/packaging/snmpd.conf.d/cvtagentd.conf");
    const std::regex directive("#(view|rouser) .*");
    std::string example;
    int uncommented = 0;
    for (std::string line; std::getline(in, line);) {
        const bool matches = std::regex_match(line, directive);
        uncommented += matches ? 1 : 0;
        example += (matches ? line.substr(1) : line) + "\n";
    }
    EXPECT_EQ(uncommented, 2) << example;
    ASSERT_NE(example.find("\nmaster agentx\n"), std::string::npos) << example;
    m_masterDirective = "";  // the example's turns AgentX on
    StartMaster("includeFile " + m_scratch.Write("example.conf", example) + "\n");
    const std::string said = Master().Output();
    EXPECT_EQ(Count(said, "Error") + Count(said, "Warning") + Count(said, "Unknown"), 0) << said;
    Start({"--module", kTestModule});
    EXPECT_TRUE(IsServed(kValues + "1.0")) << said << Log();
}

}  // namespace
}  // namespace agent_test
