#include "agent/cvtagentd/agentx/MasterSession.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <system_error>

#include "agent/cvtagentd/agentx/PduResponse.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/requests/TimeSlice.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {
namespace {

using std::chrono::milliseconds;

/// A session that lasted longer was not the master's fault: the next attempt is made soon.
constexpr std::chrono::seconds kSettled{10};
/// A master that does not read its responses is not asked what it wants next.
constexpr std::size_t kMostOutput = std::size_t{4} << 20U;
/// Nor is more read from a master than this before it is answered: any message fits twice.
constexpr std::size_t kMostInput = 2 * (Pdu::kLongestPayload + Pdu::kHeaderSize);

/// A large message must not cost memory for as long as the agent runs.
constexpr std::size_t kMostKept = 1000;

constexpr const char* kNoAnswer =
    "it does not answer; check whether it hangs, and whether it is an AgentX master at all";

/// The master is on the same host as a rule, and so has the same byte order.
constexpr std::uint8_t kOwnByteOrder = std::endian::native == std::endian::big ? kNetworkByteOrder : 0;

std::string Why(int error) {
    switch (error) {
        case ENOENT:
            return "the socket is missing; start the master, with \"master agentx\" in its configuration, or name "
                   "another socket with --agentx=ADDRESS";
        case EACCES:
        case EPERM:
            return "not permitted; make the master grant more rights (agentXPerms in its configuration), or start this "
                   "program as another user";
        case EAGAIN: return "it accepts no more connections; check whether it hangs";
        case ECONNREFUSED:
            return "nothing listens there; start the master, with \"master agentx\" in its configuration";
        default: return std::generic_category().message(error);
    }
}

bool IsRequest(PduType type) {
    return (type >= PduType::kGet && type <= PduType::kGetBulk) ||
           (type >= PduType::kTestSet && type <= PduType::kCleanupSet);
}

}  // namespace

MasterSession::MasterSession(MasterAddress address, std::chrono::seconds ping)
    : m_address(std::move(address)), m_ping(ping), m_reports(m_address.Text()) {
    if (m_address.HostToLookUp() != nullptr) {
        m_lookup.emplace();
        m_socket.AlsoWatch(m_lookup->Descriptor());
    }
}

MasterSession::~MasterSession() = default;

void MasterSession::Connect() {
    if (!m_lookup) {
        Attempt();
    }
}

void MasterSession::Attempt() {
    if (!m_address.IsValid()) {
        Fail(m_address.WhyMalformed());
    } else if (m_lookup) {
        LookUp();
    } else {
        ConnectTo(m_address.Known());
    }
}

void MasterSession::LookUp() {
    m_due = Clock::now() + kPatience;
    m_state = State::kLooksUp;
    if (!m_lookup->Begin(*m_address.HostToLookUp())) {
        Fail("no thread can be created to look up its host; raise the limit (ulimit -u, or TasksMax= of the service)");
    }
}

/// No other look-up begins while one takes long: each keeps a thread. The addresses are tried in turn, one in each
/// attempt.
void MasterSession::TakeLookup(Clock::time_point now) {
    if (const auto found = m_lookup->Take(); !found) {
        if (now >= m_due) {
            m_reports.Failed("the name of its host is still being looked up; check the name servers");
            m_due = now + kPatience;
        }
    } else if (found->addresses.empty()) {
        Fail("its host cannot be resolved; check the name and the name servers, or write the address in numbers (" +
             found->error + ")");
    } else {
        ConnectTo(found->addresses[m_lookups++ % found->addresses.size()]);
    }
}

void MasterSession::ConnectTo(const SocketAddress& address) {
    m_due = Clock::now() + kPatience;
    m_state = State::kConnects;
    if (const int error = m_socket.Connect(address); error != 0) {
        Fail(Why(error));
    } else if (m_socket.GetState() == MasterSocket::State::kConnected) {
        Open();
    }
}

void MasterSession::HasConnected() {
    if (const int error = m_socket.Connected(); error == 0) {
        Open();
    } else if (error != EINPROGRESS) {
        Fail(Why(error));
    }
}

void MasterSession::Open() {
    m_state = State::kOpens;
    m_session = 0;
    Pdu pdu;
    pdu.header.type = PduType::kOpen;
    pdu.description = "cvtagentd " CVHOST_VERSION;
    Ask(pdu);
    Flush();
}

void MasterSession::Serve(Served served) {
    m_capabilities = std::move(served.capabilities);
    m_requests.emplace(served.engine, served.requests, m_socket.Output());
    const auto add = [this](CVT::BMibImpl& group) { AskForSubtree(PduType::kRegister, group.Oid(), &group); };
    m_registrations.emplace(served.engine.Groups(), MasterRegistrations::Calls{add, std::move(served.areModulesReady)});
    const auto ask = [this](PduType type) {
        return [this, type](const CVT::BObjectIdentifier& name) { AskForSubtree(type, name); };
    };
    m_probes.emplace(served.engine.Groups(), MasterProbes::Calls{ask(PduType::kRegister), ask(PduType::kUnregister)});
}

void MasterSession::HasOpened(const Pdu& answer) {
    m_session = answer.header.session;
    m_state = State::kIsOpen;
    m_opened = Clock::now();
    m_reports.Connected();
    m_registrations->Restart();
    m_probes->Restart();
    for (const Capability& capability : m_capabilities) {
        Pdu pdu;
        pdu.header.type = PduType::kAddAgentCaps;
        pdu.name = capability.root;
        pdu.description = capability.name;
        Ask(pdu);
    }
}

void MasterSession::AskForSubtree(PduType type, const CVT::BObjectIdentifier& root, CVT::BMibImpl* group) {
    Pdu pdu;
    pdu.header.type = type;
    pdu.name = root;
    Ask(pdu, group);
}

void MasterSession::Ask(Pdu& pdu, CVT::BMibImpl* group) {
    pdu.header.flags = kOwnByteOrder;
    pdu.header.session = m_session;
    pdu.header.packet = ++m_packet;
    pdu.AppendTo(m_socket.Output());
    m_questions[m_packet] = {pdu.header.type, group, Clock::now()};
}

void MasterSession::Receive() {
    const std::size_t had = m_input.size();
    const bool isAlive = had >= kMostInput || m_socket.Receive(m_input);
    if (m_input.size() > had) {
        m_heard = Clock::now();
        m_hasMore = true;
    }
    TakeMessages();
    if (!isAlive && m_socket.GetState() != MasterSocket::State::kClosed) {
        Fail(kNoAnswer);
    }
    m_socket.WatchInput(m_input.size() < kMostInput);
}

/// Others have their turn once a time slice is over.
void MasterSession::TakeMessages() {
    TimeSlice slice(DelegatedRequests::kSlice);
    while (m_hasMore && m_socket.Output().size() < kMostOutput && !slice.IsOver()) {
        const std::string_view rest = std::string_view(m_input).substr(m_taken);
        std::size_t size = 0;
        if (const PduError error = Pdu::Frame(rest, size); error != PduError::kNone) {
            Close(PduCloseReason::kParseError, std::string("it sent what is not a message: ") + Pdu::Text(error));
            return;
        }
        m_hasMore = rest.size() >= size;
        if (m_hasMore) {
            m_taken += size;
            Take(rest.substr(0, size));
            if (m_pdu.ranges.size() > kMostKept || m_pdu.varBinds.size() > kMostKept) {
                m_pdu = {};
            }
        }
    }
    m_input.erase(0, std::exchange(m_taken, 0));
}

void MasterSession::Take(std::string_view message) {
    if (const PduError error = Pdu::Decode(message, m_pdu); error != PduError::kNone) {
        const std::string said =
            std::string(Pdu::Name(m_pdu.header.type)) + " message that is malformed (" + Pdu::Text(error) + ")";
        if (m_pdu.header.type == PduType::kResponse) {
            Close(PduCloseReason::kParseError, "it sent a " + said);
        } else {
            LibraryLog::WriteLimited(LogLevel::kWarning, "the master sent", "the master sent a " + said);
            Refuse(m_pdu.header, kParseError);
        }
        return;
    }
    const PduType type = m_pdu.header.type;
    if (type == PduType::kResponse) {
        TakeAnswer(m_pdu);
    } else if (m_state != State::kIsOpen || m_pdu.header.session != m_session) {
        Refuse(m_pdu.header, kNotOpen);
    } else if (IsRequest(type)) {
        TakeRequest(m_pdu);
    } else if (type == PduType::kClose) {
        Fail("it has closed the session; see the master's log");
    } else {
        Refuse(m_pdu.header, kParseError);
    }
}

void MasterSession::TakeRequest(const Pdu& pdu) {
    try {
        m_requests->Take(pdu);
    } catch (const std::bad_alloc&) {
        Refuse(pdu.header, CVT::genErr);
    }
}

/// An answer that nobody waits for does no harm.
void MasterSession::TakeAnswer(const Pdu& pdu) {
    const auto asked = m_questions.find(pdu.header.packet);
    if (asked == m_questions.end()) {
        return;
    }
    const Question question = asked->second;
    m_questions.erase(asked);
    if (question.type == PduType::kOpen && pdu.error != 0) {
        const char* const name = Pdu::ErrorName(pdu.error);
        Fail("it refuses the session (" + (name == nullptr ? std::to_string(pdu.error) : std::string(name)) +
             "); see the master's log");
    } else if (question.type == PduType::kOpen) {
        HasOpened(pdu);
    } else if (pdu.error == kNotOpen) {
        Fail("it has lost the session; see the master's log");
    } else if (question.type == PduType::kRegister) {
        TakeRegistered(question.group, pdu.error);
    }
}

void MasterSession::TakeRegistered(CVT::BMibImpl* group, unsigned int error) {
    if (group == nullptr) {
        m_probes->Answered(error);
    } else if (const auto accepted = m_registrations->Answered(*group, error); !accepted.empty()) {
        m_probes->Begin(accepted);
    }
}

/// CleanupSet, Close and what is itself an answer have no response.
void MasterSession::Refuse(const PduHeader& header, std::uint16_t error) {
    if (header.type != PduType::kCleanupSet && header.type != PduType::kClose && header.type != PduType::kResponse) {
        PduResponse(m_socket.Output(), header).Finish(error);
    }
}

void MasterSession::GoOn() {
    if (m_requests) {
        m_requests->GoOn();
    }
}

std::optional<milliseconds> MasterSession::Work() {
    const auto now = Clock::now();
    switch (m_state) {
        case State::kPauses:
            if (now >= m_due) {
                Attempt();
            }
            break;
        case State::kLooksUp: TakeLookup(now); break;
        case State::kConnects: HasConnected(); break;
        case State::kOpens:
        case State::kIsOpen: Receive(); break;
        case State::kHasLeft: return std::nullopt;
    }
    if ((m_state == State::kConnects || m_state == State::kOpens) && now >= m_due) {
        Close(PduCloseReason::kTimeouts, kNoAnswer);
    } else if (m_state == State::kIsOpen) {
        WorkWhileOpen(now);
    }
    Flush();
    return TimeToWork(now);
}

void MasterSession::WorkWhileOpen(Clock::time_point now) {
    if (!m_questions.empty() && now - m_questions.begin()->second.asked >= kPatience) {
        Close(PduCloseReason::kTimeouts, kNoAnswer);
        return;
    }
    m_toRegister = m_registrations->SendReady(now);
    if (m_questions.empty() && now - m_heard >= m_ping) {
        Pdu pdu;
        pdu.header.type = PduType::kPing;
        Ask(pdu);
    }
}

std::optional<milliseconds> MasterSession::TimeToWork(Clock::time_point now) {
    std::optional<milliseconds> time = m_reports.Report(now);
    const auto atMost = [&](milliseconds other) {
        other = std::max(other, milliseconds::zero());
        time = time ? std::min(*time, other) : other;
    };
    if (m_state == State::kIsOpen) {
        if (m_hasMore && m_socket.Output().size() < kMostOutput) {
            atMost(milliseconds::zero());
        }
        if (m_toRegister) {
            atMost(*m_toRegister);
        }
        const auto due = m_questions.empty() ? m_heard + m_ping : m_questions.begin()->second.asked + kPatience;
        atMost(std::chrono::ceil<milliseconds>(due - now));
        if (const auto left = m_requests->Expire(); left) {
            atMost(*left);
        }
    } else {
        atMost(std::chrono::ceil<milliseconds>(m_due - now));
    }
    return time;
}

void MasterSession::Flush() {
    if (m_socket.GetState() == MasterSocket::State::kConnected && !m_socket.Output().empty() && !m_socket.Flush()) {
        Fail(kNoAnswer);
    }
}

void MasterSession::SendClose(PduCloseReason reason) {
    if (m_socket.GetState() == MasterSocket::State::kConnected) {
        Pdu pdu;
        pdu.header.type = PduType::kClose;
        pdu.header.flags = kOwnByteOrder;
        pdu.header.session = m_session;
        pdu.header.packet = ++m_packet;
        pdu.reason = reason;
        pdu.AppendTo(m_socket.Output());
        static_cast<void>(m_socket.Flush());
    }
}

void MasterSession::Close(PduCloseReason reason, std::string why) {
    SendClose(reason);
    Fail(std::move(why));
}

void MasterSession::Fail(std::string why) {
    const auto now = Clock::now();
    const bool wasOpen = m_state == State::kIsOpen;
    m_socket.Close();
    m_questions.clear();
    m_input.clear();
    m_taken = 0;
    m_hasMore = false;
    if (wasOpen) {
        Log::Write(LogLevel::kDebug, "the session with the master is over: " + why);
        m_reports.Lost();
        m_requests->Abandon();
        m_pause = now - m_opened >= kSettled ? kFirstPause : m_pause;
    }
    m_reports.Failed(std::move(why));
    m_state = State::kPauses;
    m_due = now + m_pause;
    m_pause = std::min(2 * m_pause, kLongestPause);
}

void MasterSession::Leave() {
    if (m_state == State::kOpens || m_state == State::kIsOpen) {
        SendClose(PduCloseReason::kShutdown);
    }
    m_socket.Close();
    if (m_requests) {
        m_requests->Abandon();
    }
    m_state = State::kHasLeft;
}

}  // namespace cvtagentd
