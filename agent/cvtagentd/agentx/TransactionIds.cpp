#include "agent/cvtagentd/agentx/TransactionIds.h"

#include <algorithm>
#include <iterator>

namespace cvtagentd {

const std::shared_ptr<const CVT::BRequest>& TransactionIds::Of(std::uint32_t transaction, Clock::time_point now) {
    Expire(now);
    if (const auto known = m_places.find(transaction); known != m_places.end()) {
        Use(known->second, now);
        return known->second->request;
    }
    if (m_known.size() >= kMost) {
        const auto idle = std::find_if(m_known.begin(), m_known.end(), [](const Known& one) { return !one.IsInUse(); });
        if (idle != m_known.end()) {
            Forget(idle);
        }
    }
    m_known.push_back({transaction, std::make_shared<const CVT::BRequest>(), now});
    m_places[transaction] = std::prev(m_known.end());
    return m_known.back().request;
}

void TransactionIds::Use(Place known, Clock::time_point now) {
    known->used = now;
    m_known.splice(m_known.end(), m_known, known);
}

void TransactionIds::Forget(Place known) {
    m_places.erase(known->transaction);
    m_known.erase(known);
}

std::optional<std::chrono::milliseconds> TransactionIds::Expire(Clock::time_point now) {
    while (!m_known.empty() && now - m_known.front().used >= kIdle) {
        if (m_known.front().IsInUse()) {
            Use(m_known.begin(), now);
        } else {
            Forget(m_known.begin());
        }
    }
    if (m_known.empty()) {
        return std::nullopt;
    }
    return std::chrono::ceil<std::chrono::milliseconds>(m_known.front().used + kIdle - now);
}

void TransactionIds::Clear() {
    m_known.clear();
    m_places.clear();
}

}  // namespace cvtagentd
