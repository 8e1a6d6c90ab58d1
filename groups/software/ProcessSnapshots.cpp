#include "groups/software/ProcessSnapshots.h"

#include <algorithm>
#include <utility>

#include "CVT/BRequest.h"
#include "groups/common/RareWarning.h"

namespace {

using RequestIds = std::vector<unsigned int>;

bool Holds(const RequestIds& ids, unsigned int requestId) {
    return std::find(ids.begin(), ids.end(), requestId) != ids.end();
}

void EraseEnded(RequestIds& ids) {
    std::erase_if(ids, [](unsigned int id) { return !CVT::BRequest::IsLive(id); });
}

}  // namespace

ProcessSnapshots::ProcessSnapshots(std::shared_ptr<Rows> initial) { m_snapshots.push_back({std::move(initial)}); }

void ProcessSnapshots::ForgetEnded() {
    EraseEnded(m_lost);
    for (Snapshot& snapshot : m_snapshots) {
        EraseEnded(snapshot.readers);
    }
    const Rows* const newest = Newest().get();
    std::erase_if(m_snapshots, [newest](const Snapshot& snapshot) {
        return snapshot.readers.empty() && snapshot.rows.get() != newest;
    });
}

bool ProcessSnapshots::Knows(unsigned int requestId) const {
    return Holds(m_lost, requestId) || std::any_of(m_snapshots.begin(), m_snapshots.end(), [&](const auto& snapshot) {
               return Holds(snapshot.readers, requestId);
           });
}

void ProcessSnapshots::Keep(unsigned int requestId) {
    if (m_hasBegun && !Knows(requestId) && CVT::BRequest::IsLive(requestId)) {
        m_snapshots.back().readers.push_back(requestId);
    }
}

std::shared_ptr<ProcessSnapshots::Rows> ProcessSnapshots::SeenBy(unsigned int requestId) const {
    if (Holds(m_lost, requestId)) {
        return nullptr;
    }
    const auto seen = std::find_if(m_snapshots.begin(), m_snapshots.end(),
                                   [&](const auto& snapshot) { return Holds(snapshot.readers, requestId); });
    return seen == m_snapshots.end() ? Newest() : seen->rows;
}

const std::shared_ptr<ProcessSnapshots::Rows>& ProcessSnapshots::Begin() {
    if (m_snapshots.back().readers.empty()) {
        Newest()->DeleteAll();
    } else {
        if (m_snapshots.size() >= kMost) {
            DropOldest();
        }
        m_snapshots.push_back({std::make_shared<Rows>()});
    }
    m_hasBegun = true;
    return Newest();
}

void ProcessSnapshots::DropOldest() {
    static RareWarning s_warning;
    const RequestIds& readers = m_snapshots.front().readers;
    m_lost.insert(m_lost.end(), readers.begin(), readers.end());
    m_snapshots.erase(m_snapshots.begin());
    s_warning.Say(
        "requests that have waited while several snapshots of hrSWRunTable were taken are answered with genErr; look "
        "for a file system or another module that does not answer");
}
