#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/cvtagentd/agentx/HostLookup.h"
#include "agent/cvtagentd/agentx/MasterAddress.h"
#include "agent/cvtagentd/agentx/MasterProbes.h"
#include "agent/cvtagentd/agentx/MasterRegistrations.h"
#include "agent/cvtagentd/agentx/MasterReports.h"
#include "agent/cvtagentd/agentx/MasterRequests.h"
#include "agent/cvtagentd/agentx/MasterSocket.h"
#include "agent/cvtagentd/agentx/Pdu.h"

namespace cvtagentd {

/// The session with an AgentX master (RFC 2741), which is opened again, after growing pauses, whenever it fails to open
/// or is lost. Nothing here waits for the master: what it has to answer within kPatience is answered in the course of
/// the event loop, or the session is closed.
///
/// A message that cannot be understood is answered with parseError; when it is not even certain where the next message
/// begins, the session is closed.
///
/// Life: Connect, Serve; then Work in each turn of the event loop, and whenever the descriptor is readable; Leave. Used
/// by the thread that runs the event loop.
class MasterSession {
public:
    /// A MIB that is served, for the master's sysORTable.
    struct Capability {
        CVT::BObjectIdentifier root;
        std::string name;
    };
    struct Served {
        const CVT::BMibEngine& engine;
        Requests& requests;
        std::function<bool()> areModulesReady;
        std::vector<Capability> capabilities;
    };

    /// How long the master may take for an answer.
    static constexpr std::chrono::seconds kPatience{3};
    static constexpr std::chrono::milliseconds kFirstPause{100};
    static constexpr std::chrono::milliseconds kLongestPause{1000};

    /// `ping`: how long the master may be silent before it is asked whether it is still there. Throws StartError.
    MasterSession(MasterAddress address, std::chrono::seconds ping);
    ~MasterSession();
    MasterSession(const MasterSession&) = delete;
    MasterSession& operator=(const MasterSession&) = delete;

    const std::string& Address() const { return m_address.Text(); }

    /// Begins to connect, with the rights that the process has by now. Where the name of a host must be looked up, Work
    /// does so later: a look-up needs a thread, which would keep these rights, and TCP needs none of them.
    void Connect();
    /// Begins to serve. What is served must outlive this, or Leave and the end of all requests.
    void Serve(Served served);
    /// Readable when there is work.
    int Descriptor() const { return m_socket.Descriptor(); }
    /// Call it when delegated requests, or phases of SETs, may be over.
    void GoOn();
    /// Does what is due. Returns the time until there is more; no value: when the descriptor becomes readable.
    std::optional<std::chrono::milliseconds> Work();
    /// Ends the session, and tells the master, for which it does not wait. Nothing is served any more.
    void Leave();

private:
    using Clock = std::chrono::steady_clock;

    enum class State { kPauses, kLooksUp, kConnects, kOpens, kIsOpen, kHasLeft };

    /// What we have asked the master for and it has not answered.
    struct Question {
        PduType type;
        CVT::BMibImpl* group;  // of a group's registration; otherwise null
        Clock::time_point asked;
    };

    void Attempt();
    void LookUp();
    void TakeLookup(Clock::time_point now);
    void ConnectTo(const SocketAddress& address);
    void HasConnected();
    void Open();
    void HasOpened(const Pdu& answer);
    void Ask(Pdu& pdu, CVT::BMibImpl* group = nullptr);
    void AskForSubtree(PduType type, const CVT::BObjectIdentifier& root, CVT::BMibImpl* group = nullptr);
    void TakeRegistered(CVT::BMibImpl* group, unsigned int error);

    void Receive();
    void TakeMessages();
    void Take(std::string_view message);
    void TakeRequest(const Pdu& pdu);
    void TakeAnswer(const Pdu& pdu);
    void Refuse(const PduHeader& header, std::uint16_t error);

    void WorkWhileOpen(Clock::time_point now);
    void Flush();
    /// The attempt has failed, or the session is lost.
    void Fail(std::string why);
    /// The same, after a last word to the master.
    void Close(PduCloseReason reason, std::string why);
    void SendClose(PduCloseReason reason);
    std::optional<std::chrono::milliseconds> TimeToWork(Clock::time_point now);

    const MasterAddress m_address;
    const std::chrono::seconds m_ping;
    MasterSocket m_socket;
    std::optional<HostLookup> m_lookup;  // where the name of a host must be looked up
    std::size_t m_lookups = 0;           // so far
    MasterReports m_reports;
    std::vector<Capability> m_capabilities;
    std::optional<MasterRegistrations> m_registrations;
    std::optional<MasterProbes> m_probes;
    std::optional<MasterRequests> m_requests;

    State m_state = State::kPauses;
    Clock::time_point m_due;  // when the next attempt begins, or the current step of one must be over
    std::chrono::milliseconds m_pause = kFirstPause;
    Clock::time_point m_opened;
    Clock::time_point m_heard;  // when the master sent its last octets
    std::uint32_t m_session = 0;
    std::uint32_t m_packet = 0;
    std::map<std::uint32_t, Question> m_questions;          // by packet, and so in the order in which they were asked
    std::optional<std::chrono::milliseconds> m_toRegister;  // time to the next registrations
    std::string m_input;
    std::size_t m_taken = 0;  // of m_input
    bool m_hasMore = false;   // there may be a whole message in m_input
    Pdu m_pdu;                // kept, so that most messages need no new memory
};

}  // namespace cvtagentd
