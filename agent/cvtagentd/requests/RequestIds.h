#pragma once

#include <memory>

#include "CVT/BRequest.h"

struct netsnmp_agent_request_info_s;

namespace cvtagentd {

/// Assigns each request of the SNMP library the identifier by which the groups know it (CVT::BRequest). It is the same
/// for all calls made for the request, whatever group they reach.
///
/// Several requests may be under way at once, since some are delegated: each lives until the library drops its record
/// of it. The latest also lives until the next one comes: under an AgentX master, the parts of one request, which share
/// a transaction number, come one after the other. Where a part of another request comes in between, the rest counts as
/// a request of its own: nothing says when a master has finished with one. Used by one thread.
class RequestIds {
public:
    /// Never null. Throws std::bad_alloc.
    std::shared_ptr<const CVT::BRequest> Of(netsnmp_agent_request_info_s& info);

    /// Call it when a master's connection begins: the master then numbers its transactions from the start again.
    void NewConnection() { m_latest.reset(); }

private:
    long m_transaction = 0;
    std::shared_ptr<const CVT::BRequest> m_latest;
};

}  // namespace cvtagentd
