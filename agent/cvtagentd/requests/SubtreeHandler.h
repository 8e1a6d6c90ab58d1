#pragma once

#include <memory>

#include "CVT/BMibImpl.h"
#include "agent/cvtagentd/requests/DelegatedRequests.h"
#include "agent/cvtagentd/requests/GroupReader.h"
#include "agent/cvtagentd/requests/LibraryReadTask.h"

struct netsnmp_mib_handler_s;
struct netsnmp_handler_registration_s;
struct netsnmp_agent_request_info_s;
struct netsnmp_request_info_s;

namespace cvtagentd {

/// Answers the SNMP library's requests for one group of a module.
///
/// The library calls it with one or more varbinds of one request that lie in the group's subtree, once for GET, for
/// each step of GETNEXT and for GETBULK (GroupReader), once for each phase of a SET (LibrarySets). A request that
/// would have to wait for the group, or takes long, is delegated (DelegatedRequests); a SET is refused with
/// resourceUnavailable, because the library serves nothing else while a SET is under way. Used by the thread that runs
/// the library. The group and the delegated requests must outlive it.
class SubtreeHandler {
public:
    /// Registers the group's subtree. Throws StartError when the library refuses.
    SubtreeHandler(CVT::BMibImpl& group, DelegatedRequests& delegated);
    /// Unregisters it. The library must still run, and no request to it be delegated.
    ~SubtreeHandler();
    SubtreeHandler(const SubtreeHandler&) = delete;
    SubtreeHandler& operator=(const SubtreeHandler&) = delete;

private:
    using Request = netsnmp_request_info_s;

    static int OnRequests(netsnmp_mib_handler_s* handler, netsnmp_handler_registration_s* registration,
                          netsnmp_agent_request_info_s* info, Request* requests);

    void Answer(const LibraryReadTask::Position& position);
    void Read(const LibraryReadTask::Position& position, std::shared_ptr<const CVT::BRequest> request);
    void CheckSet(unsigned int requestId, Request* requests);

    CVT::BMibImpl& m_group;
    DelegatedRequests& m_delegated;
    GroupReader m_reader;
    netsnmp_handler_registration_s* m_registration;
};

}  // namespace cvtagentd
