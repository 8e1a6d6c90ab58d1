#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "agent/cvtagentd/requests/GroupReader.h"
#include "agent/cvtagentd/requests/GroupWorkers.h"

struct netsnmp_mib_handler_s;
struct netsnmp_handler_registration_s;
struct netsnmp_delegated_cache_s;

namespace cvtagentd {

/// The reading requests that wait for a call to a group (GroupWorkers), because the call may take long or the group is
/// busy; and those that take so long that others get their turn in between. Meanwhile, the SNMP library serves other
/// requests; the event loop calls Retry in each turn, and wakes when a call is done.
///
/// A request whose sender has gone, or that the library has dropped for another reason, is dropped here too. Used by
/// the thread that runs the library.
class DelegatedRequests {
public:
    /// Where the library stands: what it passes to a handler.
    struct Position {
        netsnmp_mib_handler_s* handler;
        netsnmp_handler_registration_s* registration;
        netsnmp_agent_request_info_s* info;
        netsnmp_request_info_s* requests;
    };

    /// One request and the call that it waits for; null: its time slice is over.
    struct Waiting {
        GroupReader* reader;
        std::shared_ptr<const CVT::BRequest> request;
        std::shared_ptr<GroupCall> call;
    };

    /// `wait`: how a request waits for a busy group. With kAsLongAsItTakes none is ever delegated. Throws StartError.
    explicit DelegatedRequests(GroupReader::Wait wait) : m_wait(wait) {}
    DelegatedRequests(const DelegatedRequests&) = delete;
    DelegatedRequests& operator=(const DelegatedRequests&) = delete;
    ~DelegatedRequests();

    /// How long one request may work at a time. Nothing else is served meanwhile.
    static constexpr std::chrono::milliseconds kSlice{10};
    /// How many varbinds all requests may hold together: a varbind takes a kilobyte or two of memory.
    static constexpr std::size_t kMostVarBinds = 20000;

    bool IsEmpty() const { return m_entries.empty(); }
    GroupReader::Wait HowToWait() const { return m_wait; }

    /// The time slice for a call that begins to answer varbinds of a request. Calls for the same request that come one
    /// after the other, such as those for its several groups, share one. Valid until the next call of anything here.
    TimeSlice& SliceOf(unsigned int requestId);
    /// Takes varbinds that the reader has marked as delegated, and has the call made. When there are too many, it
    /// refuses them with resourceUnavailable. The reader must live until End.
    void Add(Waiting waiting, Position position);
    /// Readable when Retry has something to do; call Woken then.
    int Descriptor() const { return m_workers.Descriptor(); }
    void Woken() const { m_workers.Drain(); }
    /// Continues the requests that need not wait any longer, as far as a time slice allows, and lets the library finish
    /// those that are answered. A handler must not call it. Returns zero while there is work left; no value when there
    /// is none until the descriptor becomes readable.
    std::optional<std::chrono::milliseconds> Retry();
    /// Refuses all requests that are still delegated, and from now on any that would be.
    void End();
    /// Waits up to `milliseconds` for the calls that are under way. Returns false when one is not over by then: nothing
    /// that it uses may be destroyed. Call it after End.
    bool EndCalls(unsigned int milliseconds) { return m_workers.End(milliseconds); }

private:
    struct Entry {
        Waiting waiting;
        std::size_t varBinds;
        netsnmp_delegated_cache_s* cache;  // owned

        bool MustWait() const { return waiting.call != nullptr && !waiting.call->isDone; }
    };

    bool IsOver(Entry& entry);
    bool GoOn(Entry& entry);
    static void Forget(Entry& entry);

    const GroupReader::Wait m_wait;
    bool m_hasEnded = false;
    GroupWorkers m_workers;
    std::vector<Entry> m_entries;  // the next in turn comes first
    std::size_t m_varBinds = 0;    // of all entries
    TimeSlice m_slice;
    bool m_isRetrying = false;          // all requests share the slice
    unsigned int m_sliceRequestId = 0;  // otherwise, the request whose slice it is; 0: none
};

}  // namespace cvtagentd
