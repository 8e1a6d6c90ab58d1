#pragma once

namespace agent {

/// Gives each request of the SNMP library's its identifier among the groups (CVT::BRequestId), by the number that the
/// library gives the request's transaction: the same for all calls made on the request's behalf, whatever group they
/// reach. Requests are served one after the other, so only the latest is remembered. Used by one thread.
class RequestIds {
public:
    unsigned int Of(long transaction);

private:
    bool m_any = false;
    long m_transaction = 0;
    unsigned int m_id = 0;
};

}  // namespace agent
