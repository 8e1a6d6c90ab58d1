#include "agent/cvtagentd/agentx/MasterRegistrations.h"

#include <algorithm>
#include <utility>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {
namespace {

constexpr std::chrono::milliseconds kReadyPoll{20};

std::string Subtrees(const std::vector<CVT::BMibImpl*>& groups) {
    std::vector<std::string> names;
    names.reserve(groups.size());
    for (const CVT::BMibImpl* const group : groups) {
        names.emplace_back(group->Oid().ToString().View());
    }
    return agent::Joined(names);
}

}  // namespace

MasterRegistrations::MasterRegistrations(std::vector<CVT::BMibImpl*> groups, Calls calls)
    : m_groups(std::move(groups)), m_calls(std::move(calls)) {}

void MasterRegistrations::Restart() {
    m_waiting = m_groups;
    m_sent = 0;
    m_accepted.clear();
    m_refused.clear();
    m_isRetry = false;
    m_pause = kFirstRetry;
}

std::optional<std::chrono::milliseconds> MasterRegistrations::SendReady(Clock::time_point now) {
    const bool isComplete = m_waiting.empty() && m_sent == 0;
    if (isComplete && !m_refused.empty() && now >= m_retry) {
        m_waiting = std::exchange(m_refused, {});
        m_isRetry = true;
    }
    std::erase_if(m_waiting, [this](CVT::BMibImpl* group) {
        if (!CanAnswer(*group)) {
            return false;
        }
        ++m_sent;
        m_calls.send(*group);
        return true;
    });
    if (!m_waiting.empty()) {
        return kReadyPoll;
    }
    return m_sent == 0 && !m_refused.empty()
               ? std::optional(std::chrono::ceil<std::chrono::milliseconds>(m_retry - now))
               : std::nullopt;
}

std::vector<CVT::BMibImpl*> MasterRegistrations::Answered(CVT::BMibImpl& group, unsigned int error) {
    --m_sent;
    if (error == 0) {
        m_accepted.push_back(&group);
    } else if (error == kDuplicateRegistration) {
        m_refused.push_back(&group);
    } else {
        const std::string text = "the master refuses " + Subtrees({&group}) +
                                 " (registering pdu failed: " + std::to_string(error) + "); see the master's log";
        if (m_hasBeenLogged.insert(text).second) {
            Log::Warning(text);
        }
    }
    if (!m_waiting.empty() || m_sent > 0) {
        return {};
    }
    ReportAccepted();
    ReportRefused();
    m_retry = Clock::now() + m_pause;
    m_pause = std::min(2 * m_pause, kLongestRetry);
    return std::exchange(m_accepted, {});
}

void MasterRegistrations::ReportAccepted() const {
    if (m_isRetry && !m_accepted.empty()) {
        Log::Info("the master now accepts these subtrees: " + Subtrees(m_accepted));
    }
}

void MasterRegistrations::ReportRefused() {
    if (m_refused.empty()) {
        return;
    }
    const std::string text = "the master already serves these subtrees without this agent: " + Subtrees(m_refused) +
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
