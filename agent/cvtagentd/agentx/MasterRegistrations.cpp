#include "agent/cvtagentd/agentx/MasterRegistrations.h"

#include <utility>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {
namespace {

constexpr const char* kDuplicate = "failed: 263";  // an error of the AgentX protocol: duplicateRegistration

}  // namespace

MasterRegistrations::MasterRegistrations(MasterConnection& master, std::vector<CVT::BMibImpl*> groups, Calls calls)
    : m_master(master), m_waiting(std::move(groups)), m_calls(std::move(calls)) {}

bool MasterRegistrations::RegisterReady() {
    if (!m_master.IsConnected()) {
        return true;
    }
    std::vector<CVT::BMibImpl*> later;
    for (CVT::BMibImpl* const group : std::exchange(m_waiting, {})) {
        if (m_master.IsCut() || !CanAnswer(*group)) {
            later.push_back(group);
        } else {
            Register(*group);
        }
    }
    m_waiting = std::move(later);
    if (m_waiting.empty()) {
        ReportRefused();
    }
    return m_waiting.empty();
}

void MasterRegistrations::Register(CVT::BMibImpl& group) {
    const LibraryLog::Collector collector;
    m_calls.serve(group);
    for (const LibraryLog::Message& message : collector.Messages()) {
        if (message.text.find(kDuplicate) != std::string::npos) {
            m_refused.emplace_back(group.Oid().ToString().View());
        } else if (MasterConnection::IsRefusal(message.text)) {
            Log::Warning("the master refuses " + std::string(group.Oid().ToString().View()) + " (" + message.text +
                         "); see the master's log");
        } else {  // it has not answered in time: start again
            Log::Write(LogLevel::kDebug, "SNMP library: " + message.text);
            m_master.Cut();
        }
    }
}

void MasterRegistrations::ReportRefused() {
    if (!m_refused.empty()) {
        Log::Warning("the master already serves these subtrees without this agent: " +
                     agent::Joined(std::exchange(m_refused, {})) +
                     "; switch off its own module or the other subagent, and restart the master");
    }
}

/// Once a module is ready, all its groups can answer: one that is still inactive has failed to initialise, and stays
/// so.
bool MasterRegistrations::CanAnswer(CVT::BMibImpl& group) const {
    if (!group.IsActive() && !m_calls.areModulesReady()) {
        return false;
    }
    if (!group.RequestLock().Try()) {
        return false;
    }
    group.RequestLock().Done();
    return true;
}

}  // namespace cvtagentd
