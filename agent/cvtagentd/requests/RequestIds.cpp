#include "agent/cvtagentd/requests/RequestIds.h"

#include "agent/cvtagentd/snmp/RequestData.h"

namespace cvtagentd {
namespace {

constexpr RequestData<std::shared_ptr<const CVT::BRequest>> kRequest("cvtagentd.request");

}  // namespace

std::shared_ptr<const CVT::BRequest> RequestIds::Of(netsnmp_agent_request_info_s& info) {
    if (const auto* const request = kRequest.Find(info); request != nullptr) {
        return *request;
    }
    const long transaction = info.asp->pdu->transid;
    if (m_latest == nullptr || transaction != m_transaction) {
        m_latest.reset();  // the previous request must not live on beside a new one
        m_latest = std::make_shared<const CVT::BRequest>();
        m_transaction = transaction;
    }
    kRequest.Attach(info, std::make_unique<std::shared_ptr<const CVT::BRequest>>(m_latest));
    return m_latest;
}

}  // namespace cvtagentd
