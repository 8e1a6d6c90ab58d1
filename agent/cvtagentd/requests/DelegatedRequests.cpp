#include "agent/cvtagentd/requests/DelegatedRequests.h"

#include <algorithm>
#include <utility>

#include "CVT/BPatience.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

constexpr std::chrono::milliseconds kRetryInterval{10};

/// All retries of one turn together; nobody else is served meanwhile.
constexpr unsigned int kTurnMs = 20;

/// Against a sender who asks on and on: each costs some memory, and a look at every turn.
constexpr std::size_t kMost = 1000;

}  // namespace

DelegatedRequests::~DelegatedRequests() { End(); }

void DelegatedRequests::Add(GroupReader& reader, unsigned int requestId, Position position) {
    if (!m_hasEnded && m_entries.size() < kMost) {
        m_entries.push_back({&reader, requestId, nullptr});
        m_entries.back().cache = ::netsnmp_create_delegated_cache(position.handler, position.registration,
                                                                  position.info, position.requests, nullptr);
        if (m_entries.back().cache != nullptr) {
            return;
        }
        m_entries.pop_back();
    }
    GroupReader::Abandon(position.requests, CVT::resourceUnavailable);
}

/// The library may put others back as soon as it goes on, but not before all of these have been looked at.
std::optional<std::chrono::milliseconds> DelegatedRequests::Retry() {
    if (m_entries.empty()) {
        return std::nullopt;
    }
    const CVT::BPatience turn(kTurnMs);
    const auto over = std::erase_if(m_entries, [this](const Entry& entry) { return IsOver(entry); });
    if (over > 0) {
        ::netsnmp_check_outstanding_agent_requests();
    }
    return m_entries.empty() ? std::nullopt : std::optional(kRetryInterval);
}

bool DelegatedRequests::IsOver(const Entry& entry) const {
    if (::netsnmp_handler_check_cache(entry.cache) != nullptr) {
        if (m_hasEnded) {
            GroupReader::Abandon(entry.cache->requests, CVT::resourceUnavailable);
        } else if (!entry.reader->GoOn(*entry.cache->reqinfo, entry.requestId, entry.cache->requests, m_wait)) {
            return false;
        }
    }
    ::netsnmp_free_delegated_cache(entry.cache);
    return true;
}

void DelegatedRequests::End() {
    m_hasEnded = true;
    static_cast<void>(Retry());
}

}  // namespace cvtagentd
