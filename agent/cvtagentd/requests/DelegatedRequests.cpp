#include "agent/cvtagentd/requests/DelegatedRequests.h"

#include <algorithm>
#include <utility>

namespace cvtagentd {
namespace {

/// Limits a sender that keeps asking: each request costs some memory, and a check in every turn.
constexpr std::size_t kMost = 1000;

}  // namespace

DelegatedRequests::~DelegatedRequests() { End(); }

TimeSlice& DelegatedRequests::SliceOf(unsigned int requestId) {
    if (!m_isRetrying && requestId != m_sliceRequestId) {
        m_slice = TimeSlice(kSlice);
        m_sliceRequestId = requestId;
    }
    return m_slice;
}

void DelegatedRequests::Add(Waiting waiting) {
    const std::size_t varBinds = waiting.task->NumVarBinds();
    Entry entry{std::move(waiting), varBinds};
    if (!m_hasEnded && m_entries.size() < kMost && m_varBinds + varBinds <= kMostVarBinds &&
        entry.waiting.task->Delegate() && (entry.waiting.call == nullptr || m_workers.Start(entry.waiting.call))) {
        m_varBinds += varBinds;
        m_entries.push_back(std::move(entry));
        return;
    }
    GroupReader::Abandon(*entry.waiting.task, CVT::resourceUnavailable);
}

/// More may be delegated as soon as requests go on, but not before these have been checked. Those that do not fit in
/// this time slice come first in the next.
std::optional<std::chrono::milliseconds> DelegatedRequests::Retry() {
    if (m_entries.empty()) {
        m_sliceRequestId = 0;  // a slice lasts no longer than a turn
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
    if (goOn && m_goOn) {
        m_goOn();
    }
    m_isRetrying = false;
    m_sliceRequestId = 0;
    return HasWork() ? std::optional(std::chrono::milliseconds(0)) : std::nullopt;
}

bool DelegatedRequests::HasWork() const {
    return std::any_of(m_entries.begin(), m_entries.end(), [](const Entry& entry) { return !entry.MustWait(); });
}

bool DelegatedRequests::IsOver(Entry& entry) {
    ReadTask& task = *entry.waiting.task;
    if (task.IsWanted()) {
        if (m_hasEnded) {
            GroupReader::Abandon(task, CVT::resourceUnavailable);
        } else if (entry.MustWait() || !GoOn(entry)) {
            return false;
        }
    }
    Forget(entry);
    m_varBinds -= entry.varBinds;
    return true;
}

/// Whether the request is finished.
bool DelegatedRequests::GoOn(Entry& entry) {
    Waiting& waiting = entry.waiting;
    const GroupReader::Outcome outcome = waiting.reader->GoOn(*waiting.task, waiting.call, m_slice);
    if (outcome == GroupReader::Outcome::kWaits && !m_workers.Start(waiting.call)) {
        GroupReader::Abandon(*waiting.task, CVT::resourceUnavailable);
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
