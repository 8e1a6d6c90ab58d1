#pragma once

#include "CVT/BMibImpl.h"
#include "CVT/BVarBind.h"
#include "agent/cvtagentd/RequestIds.h"

struct netsnmp_mib_handler_s;
struct netsnmp_handler_registration_s;
struct netsnmp_agent_request_info_s;
struct netsnmp_request_info_s;

namespace agent {

/// Answers the SNMP library's requests for one group of a module.
///
/// The library calls it with one or more varbinds of one request that lie in the group's subtree, once for GET and for
/// each step of GETNEXT (it turns GETBULK into such steps), once for each phase of a SET (SetRequests). Used by the thread
/// that runs the library. The group and `ids` must outlive it.
class SubtreeHandler {
public:
    /// Registers the group's subtree. Throws StartError when the library refuses.
    SubtreeHandler(CVT::BMibImpl& group, RequestIds& ids);
    /// Unregisters it. The library must still run.
    ~SubtreeHandler();
    SubtreeHandler(const SubtreeHandler&) = delete;
    SubtreeHandler& operator=(const SubtreeHandler&) = delete;

private:
    using Request = netsnmp_request_info_s;

    static int OnRequests(netsnmp_mib_handler_s* handler, netsnmp_handler_registration_s* registration,
                          netsnmp_agent_request_info_s* info, Request* requests);

    void Answer(int mode, unsigned int requestId, Request* requests);
    void Get(unsigned int requestId, Request& request);
    void GetNext(unsigned int requestId, Request& request);

    CVT::BMibImpl& m_group;
    RequestIds& m_ids;
    CVT::BVarBind m_varBind;  // for reading: kept, so that a walk needs no new memory for it
    netsnmp_handler_registration_s* m_registration;
};

}  // namespace agent
