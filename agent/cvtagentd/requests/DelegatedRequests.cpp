#include "agent/cvtagentd/requests/DelegatedRequests.h"

#include <algorithm>
#include <utility>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

/// Limits a sender that keeps asking: each request costs some memory, and a check in every turn.
constexpr std::size_t kMost = 1000;

std::size_t CountVarBinds(const GroupReader::Request* requests) {
    std::size_t count = 0;
    for (; requests != nullptr; requests = requests->next) {
        count += 1 + static_cast<std::size_t>(std::max(requests->repeat, 0));
    }
    return count;
}

}  // namespace

DelegatedRequests::~DelegatedRequests() { End(); }

TimeSlice& DelegatedRequests::SliceOf(unsigned int requestId) {
    if (m_wait == GroupReader::Wait::kNever && !m_isRetrying && requestId != m_sliceRequestId) {
        m_slice = TimeSlice(kSlice);
        m_sliceRequestId = requestId;
    }
    return m_slice;
}

void DelegatedRequests::Add(Waiting waiting, Position position) {
    const std::size_t varBinds = CountVarBinds(position.requests);
    if (!m_hasEnded && m_entries.size() < kMost && m_varBinds + varBinds <= kMostVarBinds) {
        m_entries.push_back({std::move(waiting), varBinds, nullptr});
        Entry& entry = m_entries.back();
        if (entry.waiting.call == nullptr || m_workers.Start(entry.waiting.call)) {
            entry.cache = ::netsnmp_create_delegated_cache(position.handler, position.registration, position.info,
                                                           position.requests, nullptr);
        }
        if (entry.cache != nullptr) {
            m_varBinds += varBinds;
            return;
        }
        Forget(entry);
        m_entries.pop_back();
    }
    GroupReader::Abandon(position.requests, CVT::resourceUnavailable);
}

/// The library may delegate others as soon as it continues, but not before these have been checked. Those that do not
/// fit in this time slice come first in the next.
std::optional<std::chrono::milliseconds> DelegatedRequests::Retry() {
    if (m_entries.empty()) {
        return std::nullopt;
    }
    m_slice = TimeSlice(kSlice);
    m_isRetrying = true;
    auto next = m_entries.begin();
    auto waiting = next;  // after those that have been checked and are not over
    do {
        if (!IsOver(*next)) {
            std::swap(*waiting++, *next);
        }
        ++next;
    } while (next != m_entries.end() && (m_hasEnded || !m_slice.HasPassed()));
    const bool goOn = waiting != next;
    const auto looked = m_entries.erase(waiting, next);
    std::rotate(m_entries.begin(), looked, m_entries.end());
    if (goOn) {
        ::netsnmp_check_outstanding_agent_requests();
    }
    m_isRetrying = false;
    m_sliceRequestId = 0;
    const bool hasWork =
        std::any_of(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return !entry.MustWait(); });
    return hasWork ? std::optional(std::chrono::milliseconds(0)) : std::nullopt;
}

bool DelegatedRequests::IsOver(Entry& entry) {
    if (::netsnmp_handler_check_cache(entry.cache) != nullptr) {
        if (m_hasEnded) {
            GroupReader::Abandon(entry.cache->requests, CVT::resourceUnavailable);
        } else if (entry.MustWait() || !GoOn(entry)) {
            return false;
        }
    }
    Forget(entry);
    ::netsnmp_free_delegated_cache(entry.cache);
    m_varBinds -= entry.varBinds;
    return true;
}

/// Whether the request is finished.
bool DelegatedRequests::GoOn(Entry& entry) {
    const Waiting& waiting = entry.waiting;
    const GroupReader::Outcome outcome = waiting.reader->GoOn(
        {*entry.cache->reqinfo, waiting.request, entry.cache->requests, entry.waiting.call}, m_wait, m_slice);
    if (outcome == GroupReader::Outcome::kWaits && !m_workers.Start(waiting.call)) {
        GroupReader::Abandon(entry.cache->requests, CVT::resourceUnavailable);
        return true;
    }
    return outcome == GroupReader::Outcome::kDone;
}

/// A call that has not been made for it yet is no longer needed.
void DelegatedRequests::Forget(Entry& entry) {
    if (entry.waiting.call != nullptr) {
        entry.waiting.call->isUnwanted = true;
    }
}

void DelegatedRequests::End() {
    m_hasEnded = true;
    static_cast<void>(Retry());
}

}  // namespace cvtagentd
