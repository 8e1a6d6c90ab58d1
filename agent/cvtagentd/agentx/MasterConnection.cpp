#include "agent/cvtagentd/agentx/MasterConnection.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/agent/agent_callbacks.h>

namespace cvtagentd {
namespace {

constexpr const char* kDefaultAddress = "/var/agentx/master";
constexpr std::chrono::seconds kFirstReminder{10};
constexpr std::chrono::seconds kReminderInterval{60};

// The library waits a second for each answer of the master, and does nothing else meanwhile. When a ping is not
// answered it closes the session and opens another, so a hung master delays our shutdown by three seconds at most.
constexpr int kPingSeconds = 2;
constexpr int kRetries = 0;

// The lowest of the AgentX protocol's own errors. One of them is duplicateRegistration: when the library registers its
// subtrees again, it does so once for each stretch of a subtree between those nested in it.
constexpr int kLeastError = 256;

constexpr int kMostLosses = 3;  // reported within kReminderInterval

MasterConnection* s_watch = nullptr;  // not the callbacks' argument, because the library would free it

}  // namespace

MasterConnection::MasterConnection(std::string address) : m_address(std::move(address)) {
    s_watch = this;
    LibraryLog::Demote("AgentX master agent failed to respond to ping");  // logged in our own words
    LibraryLog::Demote("dropping bad AgentX request");  // the master undoes a SET that was never answered
    LibraryLog::Demote("registering pdu failed",
                       [this](const std::string& text) { m_unregistered |= !IsRefusal(text); });
    ::netsnmp_enable_subagent();
    ::snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_START, &MasterConnection::OnStart,
                             nullptr);
    ::snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, &MasterConnection::OnStop, nullptr);
}

void MasterConnection::BeforeConfiguration() {
    ::netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, kPingSeconds);
    ::netsnmp_ds_set_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_RETRIES, kRetries);
    ::netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS, 1);
    if (!m_address.empty()) {
        ::netsnmp_config_remember(("agentXSocket " + m_address).data());  // processed after the files
    }
    m_limit.Set(true);
}

MasterConnection::~MasterConnection() {
    LibraryLog::ForgetDemoted();
    ::snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_START, &MasterConnection::OnStart,
                               nullptr, 1);
    ::snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, &MasterConnection::OnStop, nullptr,
                               1);
}

int MasterConnection::OnStart(int /*majorId*/, int /*minorId*/, void* session, void* /*unused*/) {
    MasterConnection& self = *s_watch;
    self.m_limit.Set(false);
    self.m_session = session;
    if (const auto fd = self.Socket(); fd) {
        ::fcntl(*fd, F_SETFD, FD_CLOEXEC);  // otherwise a module's child process would keep the connection open
    }
    self.m_cut = false;
    self.m_changed = true;
    if (self.m_onConnected) {
        self.m_onConnected();
    }
    return SNMPERR_SUCCESS;
}

int MasterConnection::OnStop(int /*majorId*/, int /*minorId*/, void* /*session*/, void* /*unused*/) {
    MasterConnection& self = *s_watch;
    self.m_limit.Set(!self.m_leaving);  // after an unanswered ping the library connects again at once
    self.Cut();
    if (self.m_session != nullptr) {  // a failed attempt changes nothing
        self.m_changed = true;
        self.CountLoss();
    }
    self.m_session = nullptr;
    if (self.m_onLost) {
        self.m_onLost();
    }
    return SNMPERR_SUCCESS;
}

void MasterConnection::CountLoss() {
    const auto now = Clock::now();
    if (now - m_firstLoss >= kReminderInterval) {
        m_firstLoss = now;
        m_losses = 0;
    }
    ++m_losses;
}

MasterConnection::Clock::time_point MasterConnection::QuietUntil() const {
    return m_losses > kMostLosses ? m_firstLoss + kReminderInterval : Clock::time_point();
}

bool MasterConnection::IsRefusal(const std::string& message) {
    const std::size_t number = message.find_first_of("0123456789");
    return number != std::string::npos && std::atoi(message.c_str() + number) >= kLeastError;
}

std::string MasterConnection::Address() const {
    const char* const configured = ::netsnmp_ds_get_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET);
    return configured == nullptr ? kDefaultAddress : configured;
}

/// Tries to connect again, since the library does not keep the reason.
std::string MasterConnection::WhyMissing() const {
    const LibraryLog::Collector silence;
    errno = 0;
    netsnmp_transport* const transport = ::netsnmp_transport_open_client("agentx", Address().c_str());
    const int error = errno;
    if (transport != nullptr) {
        ::netsnmp_transport_free(transport);
        return "it does not answer; check whether it hangs, and whether it is an AgentX master at all";
    }
    switch (error) {
        case ENOENT:
            return "the socket is missing; start the master, with \"master agentx\" in its configuration, or name "
                   "another socket with --agentx=ADDRESS";
        case EACCES:
        case EPERM:
            return "not permitted; make the master grant more rights (agentXPerms in its configuration), or start this "
                   "program as another user";
        case EINTR:  // by ConnectTimeout
        case EAGAIN: return "it accepts no more connections; check whether it hangs";
        case ECONNREFUSED:
            return "nothing listens there; start the master, with \"master agentx\" in its configuration";
        case 0: return "not a valid address; write it as /PATH, unix:/PATH or tcp:HOST:PORT";
        default: return std::generic_category().message(error);
    }
}

std::optional<std::chrono::milliseconds> MasterConnection::Report() {
    if (std::exchange(m_unregistered, false)) {
        Cut();
    }
    m_limit.Set(!IsConnected());
    ReportChange();
    return TimeToReport();
}

void MasterConnection::ReportChange() {
    const auto now = Clock::now();
    if (now < QuietUntil()) {
        return;
    }
    const bool remind = !m_changed && !IsConnected() && now >= m_reminder;
    if (!m_changed && !remind) {
        return;
    }
    m_changed = false;
    m_reminder = now + kFirstReminder;
    if (IsConnected()) {
        Log::Info((m_wasConnected ? "connected again to the master at " : "connected to the master at ") + Address());
        m_wasConnected = true;
        return;
    }
    if (m_wasConnected && !remind) {  // a master that is shutting down does not show yet why it is missing
        const bool often = m_losses == kMostLosses;
        Log::Warning(
            "lost the connection to the master at " + Address() +
            (often ? "; it is lost again and again: see the master's log" : "; trying again every few seconds"));
        return;
    }
    m_reminder = now + kReminderInterval;
    Log::Warning((remind ? "still no connection to the master at " : "no connection to the master at ") + Address() +
                 ": " + WhyMissing() + "; trying again every few seconds");
}

std::optional<std::chrono::milliseconds> MasterConnection::TimeToReport() const {
    using std::chrono::milliseconds;
    const auto now = Clock::now();
    const auto quiet = QuietUntil();
    if (now >= quiet && (m_changed || IsConnected())) {
        return m_changed ? std::optional(milliseconds::zero()) : std::nullopt;
    }
    const auto left = std::chrono::ceil<milliseconds>((now < quiet ? quiet : m_reminder) - now);
    return std::max(left, milliseconds::zero());
}

void MasterConnection::Leave() {
    m_leaving = true;
    m_limit.Set(false);
    Cut();
}

void MasterConnection::Cut() {
    if (const auto fd = Socket(); fd) {
        m_cut = true;
        ::shutdown(*fd, SHUT_RDWR);
    }
}

std::optional<int> MasterConnection::Socket() const {
    if (m_session == nullptr) {
        return std::nullopt;
    }
    const netsnmp_transport* const transport =
        ::snmp_sess_transport(::snmp_sess_pointer(static_cast<netsnmp_session*>(m_session)));
    return transport == nullptr || transport->sock < 0 ? std::nullopt : std::optional(transport->sock);
}

}  // namespace cvtagentd
