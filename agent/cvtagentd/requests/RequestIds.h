#pragma once

#include <memory>

#include "CVT/BRequest.h"

struct netsnmp_agent_request_info_s;

namespace cvtagentd {

/// Gives each request of the SNMP library's its identifier among the groups (CVT::BRequest): the same for all calls
/// made on the request's behalf, whatever group they reach.
///
/// Several requests may be under way at once, since some are put back: each lives until the library drops what it keeps
/// of it. The latest lives until the next one comes besides: under an AgentX master the parts of one request, which
/// share the number of its transaction, come one after the other. Where a part of another request comes in between, the
/// rest counts as a request of its own: nothing says when a master is through with one. Used by one thread.
class RequestIds {
public:
    /// Never null. Throws std::bad_alloc.
    std::shared_ptr<const CVT::BRequest> Of(netsnmp_agent_request_info_s& info);

    /// To be called when a master's connection begins: it counts its transactions anew.
    void NewConnection() { m_latest.reset(); }

private:
    long m_transaction = 0;
    std::shared_ptr<const CVT::BRequest> m_latest;
};

}  // namespace cvtagentd
