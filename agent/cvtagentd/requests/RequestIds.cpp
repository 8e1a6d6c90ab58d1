#include "agent/cvtagentd/requests/RequestIds.h"

#include <new>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

using Kept = std::shared_ptr<const CVT::BRequest>;

constexpr const char* kName = "cvtagentd.request";

void DeleteKept(void* kept) { delete static_cast<Kept*>(kept); }

}  // namespace

unsigned int RequestIds::Of(netsnmp_agent_request_info& info) {
    if (const auto* const kept = static_cast<Kept*>(::netsnmp_agent_get_list_data(&info, kName)); kept != nullptr) {
        return (*kept)->Id();
    }
    const long transaction = info.asp->pdu->transid;
    if (m_latest == nullptr || transaction != m_transaction) {
        m_latest.reset();  // a new request must not find the one before it live
        m_latest = std::make_shared<const CVT::BRequest>();
        m_transaction = transaction;
    }
    auto kept = std::make_unique<Kept>(m_latest);
    netsnmp_data_list* const node = ::netsnmp_create_data_list(kName, kept.get(), &DeleteKept);
    if (node == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(kept.release());  // the node owns it
    ::netsnmp_agent_add_list_data(&info, node);
    return m_latest->Id();
}

}  // namespace cvtagentd
