#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "agent/cvtagentd/requests/GroupReader.h"
#include "agent/cvtagentd/requests/GroupWorkers.h"

namespace cvtagentd {

/// The reading requests that wait for a call to a group (GroupWorkers), because the call may take long or the group is
/// busy; and those that take so long that others get their turn in between. Meanwhile, other requests are served; the
/// event loop calls Retry in each turn, and wakes when a call is done.
///
/// A request whose asker has gone, or that is not wanted any more for another reason, is dropped here too. Used by the
/// thread that runs the event loop.
class DelegatedRequests {
public:
    /// One task and the call that it waits for; null: its time slice is over.
    struct Waiting {
        GroupReader* reader;
        std::unique_ptr<ReadTask> task;
        std::shared_ptr<ReadCall> call;
    };

    explicit DelegatedRequests(GroupWorkers& workers) : m_workers(workers) {}
    DelegatedRequests(const DelegatedRequests&) = delete;
    DelegatedRequests& operator=(const DelegatedRequests&) = delete;
    ~DelegatedRequests();

    /// How long one request may work at a time. Nothing else is served meanwhile.
    static constexpr std::chrono::milliseconds kSlice{10};
    /// How many varbinds all requests may hold together: a varbind takes a kilobyte or two of memory.
    static constexpr std::size_t kMostVarBinds = 20000;

    bool IsEmpty() const { return m_entries.empty(); }

    /// `goOn` is called when requests that have been held here may be over, and finishes those. Empty: nothing is.
    void OnOver(std::function<void()> goOn) { m_goOn = std::move(goOn); }

    /// The time slice for a call that begins to answer varbinds of a request. Calls for the same request that come one
    /// after the other, such as those for its several groups, share one. Valid until the next call of anything here.
    TimeSlice& SliceOf(unsigned int requestId);
    /// Takes a task, and has the call made. When there are too many, it refuses the task's varbinds with
    /// resourceUnavailable. The reader must live until End.
    void Add(Waiting waiting);
    /// Continues the requests that need not wait any longer, as far as a time slice allows, and has those that are
    /// answered finished. The code that asks for Add must not call it. Returns zero while there is work left; no value
    /// when there is none until a call is done.
    std::optional<std::chrono::milliseconds> Retry();
    /// Whether Retry would continue a request now.
    bool HasWork() const;
    /// Refuses all requests that are still delegated, and from now on any that would be.
    void End();

private:
    struct Entry {
        Waiting waiting;
        std::size_t varBinds;

        bool MustWait() const { return waiting.call != nullptr && !waiting.call->isDone; }
    };

    bool IsOver(Entry& entry);
    bool GoOn(Entry& entry);
    static void Forget(Entry& entry);

    GroupWorkers& m_workers;
    std::function<void()> m_goOn;
    bool m_hasEnded = false;
    std::vector<Entry> m_entries;  // the next in turn comes first
    std::size_t m_varBinds = 0;    // of all entries
    TimeSlice m_slice;
    bool m_isRetrying = false;          // all requests share the slice
    unsigned int m_sliceRequestId = 0;  // otherwise, the request whose slice it is; 0: none
};

}  // namespace cvtagentd
