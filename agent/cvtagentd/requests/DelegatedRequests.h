#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

#include "agent/cvtagentd/requests/GroupReader.h"

struct netsnmp_mib_handler_s;
struct netsnmp_handler_registration_s;
struct netsnmp_delegated_cache_s;

namespace cvtagentd {

/// The reading requests that wait for a group: for one that initialises, or for a file system that does not answer; and
/// those that take so long that others get their turn in between. The SNMP library goes on with other requests
/// meanwhile; the event loop calls Retry, at short intervals while there are some.
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

    /// `wait`: how a request waits for a busy group. Without a limit none is ever delegated.
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
    /// Takes varbinds that `reader` has marked as delegated; `outcome` says why. When there are too many it refuses
    /// them with resourceUnavailable. `reader` must live until End.
    void Add(GroupReader& reader, unsigned int requestId, Position position, GroupReader::Outcome outcome);
    /// Asks the groups again, as many as a time slice allows, and lets the library go on with what is answered. Not to
    /// be called by a handler. Returns the time until it wants to be called again, which is none while there is work to
    /// go on with; no value when no request waits.
    std::optional<std::chrono::milliseconds> Retry();
    /// Refuses all that are still put back, and whatever would be from now on.
    void End();

private:
    struct Entry {
        GroupReader* reader;
        unsigned int requestId;
        std::size_t varBinds;
        GroupReader::Outcome outcome;
        netsnmp_delegated_cache_s* cache;  // owned
    };

    bool IsOver(Entry& entry);

    const GroupReader::Wait m_wait;
    bool m_hasEnded = false;
    std::vector<Entry> m_entries;  // whose turn is next comes first
    std::size_t m_varBinds = 0;    // of all entries
    TimeSlice m_slice;
    bool m_isRetrying = false;          // all share the slice
    unsigned int m_sliceRequestId = 0;  // otherwise, whose slice it is; 0: nobody's
};

}  // namespace cvtagentd
