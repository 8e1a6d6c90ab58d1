#include "agent/cvtagentd/agentx/MasterRegistrations.h"

#include <utility>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {

MasterRegistrations::MasterRegistrations(std::vector<CVT::BMibImpl*> groups, Calls calls)
    : m_groups(std::move(groups)), m_calls(std::move(calls)) {}

void MasterRegistrations::Restart() {
    m_waiting = m_groups;
    m_sent = 0;
    m_accepted.clear();
    m_refused.clear();
}

bool MasterRegistrations::SendReady() {
    std::erase_if(m_waiting, [this](CVT::BMibImpl* group) {
        if (!CanAnswer(*group)) {
            return false;
        }
        ++m_sent;
        m_calls.send(*group);
        return true;
    });
    return m_waiting.empty();
}

bool MasterRegistrations::Answered(CVT::BMibImpl& group, unsigned int error) {
    --m_sent;
    const std::string subtree(group.Oid().ToString().View());
    if (error == 0) {
        m_accepted.push_back(&group);
    } else if (error == kDuplicateRegistration) {
        m_refused.push_back(subtree);
    } else {
        const std::string text = "the master refuses " + subtree +
                                 " (registering pdu failed: " + std::to_string(error) + "); see the master's log";
        if (m_hasBeenLogged.insert(text).second) {
            Log::Warning(text);
        }
    }
    const bool isLast = m_waiting.empty() && m_sent == 0;
    if (isLast) {
        ReportRefused();
    }
    return isLast;
}

void MasterRegistrations::ReportRefused() {
    if (m_refused.empty()) {
        return;
    }
    const std::string text =
        "the master already serves these subtrees without this agent: " + agent::Joined(std::exchange(m_refused, {})) +
        "; switch off its own module or the other subagent, and restart the master";
    if (m_hasBeenLogged.insert(text).second) {
        Log::Warning(text);
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
