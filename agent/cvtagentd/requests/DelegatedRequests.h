#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "agent/cvtagentd/requests/GroupReader.h"

struct netsnmp_mib_handler_s;
struct netsnmp_handler_registration_s;
struct netsnmp_delegated_cache_s;

namespace cvtagentd {

/// The reading requests that wait for a group: for one that initialises, or for a file system that does not answer. The
/// SNMP library goes on with other requests meanwhile; the event loop calls Retry, at short intervals while there are some.
///
/// A request whose sender has gone, or that the library has dropped for another reason, is dropped here too. Used by the
/// thread that runs the library.
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

    bool IsEmpty() const { return m_entries.empty(); }
    GroupReader::Wait HowToWait() const { return m_wait; }

    /// Takes varbinds that `reader` has marked as delegated. When there are too many it refuses them with
    /// resourceUnavailable. `reader` must live until End.
    void Add(GroupReader& reader, unsigned int requestId, Position position);
    /// Asks the groups again, and lets the library go on with what is answered. Not to be called by a handler. Returns the
    /// time until it wants to be called again; no value when no request waits.
    std::optional<std::chrono::milliseconds> Retry();
    /// Refuses all that are still put back, and whatever would be from now on.
    void End();

private:
    struct Entry {
        GroupReader* reader;
        unsigned int requestId;
        netsnmp_delegated_cache_s* cache;  // owned
    };

    bool IsOver(const Entry& entry) const;

    const GroupReader::Wait m_wait;
    bool m_hasEnded = false;
    std::vector<Entry> m_entries;
};

}  // namespace cvtagentd
