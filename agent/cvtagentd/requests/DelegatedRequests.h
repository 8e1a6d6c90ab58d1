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

/// The reading requests that wait for a call of a group's (GroupWorkers): one that may take long, or of a group that is
/// busy; and those that take so long that others get their turn in between. The SNMP library goes on with other
/// requests meanwhile; the event loop calls Retry in each turn, and wakes when a call is done.
///
/// A request whose sender has gone, or that the library has dropped for another reason, is dropped here too. Used by
/// the thread that runs the library.
class DelegatedRequests {
public:
    /// Where the library stands: what it gives to a handler.
    struct Position {
        netsnmp_mib_handler_s* handler;
        netsnmp_handler_registration_s* registration;
        netsnmp_agent_request_info_s* info;
        netsnmp_request_info_s* requests;
    };

    /// One of them, with what it waits for; null: its time slice is over.
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

    /// What one request may work at a time. Nobody else is served meanwhile.
    static constexpr std::chrono::milliseconds kSlice{10};
    /// What all of them may hold together: a varbind takes a kilobyte or two of memory.
    static constexpr std::size_t kMostVarBinds = 20000;

    bool IsEmpty() const { return m_entries.empty(); }
    GroupReader::Wait HowToWait() const { return m_wait; }

    /// The time slice for a call that begins to answer varbinds of a request. Calls for the same request that come one
    /// after the other, such as those for its several groups, share one. Valid until the next call of anything here.
    TimeSlice& SliceOf(unsigned int requestId);
    /// Takes varbinds that the reader has marked as delegated, and has the call made. When there are too many it
    /// refuses them with resourceUnavailable. The reader must live until End.
    void Add(Waiting waiting, Position position);
    /// Readable when Retry has something to do; Woken is to be called then.
    int Descriptor() const { return m_workers.Descriptor(); }
    void Woken() const { m_workers.Drain(); }
    /// Goes on with what need not wait any longer, as far as a time slice allows, and lets the library go on with what
    /// is answered. Not to be called by a handler. Returns a time of none while there is work to go on with; no value
    /// when there is none before the descriptor becomes readable.
    std::optional<std::chrono::milliseconds> Retry();
    /// Refuses all that are still put back, and whatever would be from now on.
    void End();
    /// Waits up to `milliseconds` for the calls that are under way. False when one is not over by then: nothing that it
    /// uses may go. Comes after End.
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
    std::vector<Entry> m_entries;  // whose turn is next comes first
    std::size_t m_varBinds = 0;    // of all entries
    TimeSlice m_slice;
    bool m_isRetrying = false;          // all share the slice
    unsigned int m_sliceRequestId = 0;  // otherwise, whose slice it is; 0: nobody's
};

}  // namespace cvtagentd
