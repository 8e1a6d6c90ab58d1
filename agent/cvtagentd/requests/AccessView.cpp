#include "agent/cvtagentd/requests/AccessView.h"

#include <algorithm>
#include <array>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {

AccessView::AccessView(const netsnmp_agent_request_info_s& info, const CVT::BObjectIdentifier& subtree) : m_info(info) {
    std::array<oid, MAX_OID_LEN> root;  // as far as the subtree's root is long
    std::copy(subtree.Arcs().begin(), subtree.Arcs().end(), root.begin());
    switch (::netsnmp_acm_check_subtree(info.asp->pdu, root.data(), subtree.NumArcs())) {
        case VACM_SUCCESS: m_extent = Extent::kAll; break;
        case VACM_SUBTREE_UNKNOWN: m_extent = Extent::kSome; break;
        default: m_extent = Extent::kNothing; break;
    }
}

bool AccessView::HoldsOne(const CVT::BObjectIdentifier& name) const {
    return m_extent == Extent::kSome && VarBinds::IsInView(name, *m_info.asp->pdu);
}

}  // namespace cvtagentd
