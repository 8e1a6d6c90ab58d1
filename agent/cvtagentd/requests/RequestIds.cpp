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
    auto made = std::make_unique<std::shared_ptr<const CVT::BRequest>>(std::make_shared<const CVT::BRequest>());
    return kRequest.Attach(info, std::move(made));
}

}  // namespace cvtagentd
