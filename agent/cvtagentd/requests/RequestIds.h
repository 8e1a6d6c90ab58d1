#pragma once

#include <memory>

#include "CVT/BRequest.h"

struct netsnmp_agent_request_info_s;

namespace cvtagentd {

/// The identifier by which the groups know a request of the SNMP library (CVT::BRequest).
namespace RequestIds {

/// The same for all calls made for one request, whatever group they reach. It lives until the library drops its record
/// of the request. Never null. Throws std::bad_alloc.
std::shared_ptr<const CVT::BRequest> Of(netsnmp_agent_request_info_s& info);

}  // namespace RequestIds

}  // namespace cvtagentd
