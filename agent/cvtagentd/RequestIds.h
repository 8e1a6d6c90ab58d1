#pragma once

#include <optional>

#include "CVT/BRequest.h"

namespace agent {

/// Gives each request of the SNMP library's its identifier among the groups (CVT::BRequest), by the number that the
/// library gives the request's transaction: the same for all calls made on the request's behalf, whatever group they
/// reach. Requests are served one after the other, each to its end, so the latest is the only one that lives, and it does
/// until the next one comes. Used by one thread.
class RequestIds {
public:
    unsigned int Of(long transaction);

private:
    long m_transaction = 0;
    std::optional<CVT::BRequest> m_request;
};

}  // namespace agent
