#include "agent/cvtagentd/requests/AccessView.h"

#include <algorithm>
#include <array>
#include <limits>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {

AccessView::AccessView(const netsnmp_agent_request_info_s& info, const CVT::BObjectIdentifier& subtree)
    : m_info(info), m_subtree(subtree), m_extent(ExtentOf(subtree, subtree.NumArcs())) {}

/// Of the subtree whose root is the first `length` arcs of the name.
AccessView::Extent AccessView::ExtentOf(const CVT::BObjectIdentifier& name, unsigned int length) const {
    std::array<oid, MAX_OID_LEN> root;  // as far as the subtree's root is long
    std::copy_n(name.Arcs().begin(), length, root.begin());
    switch (::netsnmp_acm_check_subtree(m_info.asp->pdu, root.data(), length)) {
        case VACM_SUCCESS: return Extent::kAll;
        case VACM_SUBTREE_UNKNOWN: return Extent::kSome;
        default: return Extent::kNothing;
    }
}

bool AccessView::HoldsOne(const CVT::BObjectIdentifier& name) const {
    return m_extent == Extent::kSome && VarBinds::IsInView(name, *m_info.asp->pdu);
}

/// The highest arc after a subtree's root is as good as its end: at worst, instances whose names begin with exactly
/// that are checked one by one. Subtrees that the name shares with the one stepped over last have been checked already.
bool AccessView::LeaveHidden(CVT::BObjectIdentifier& name) {
    const auto arcs = name.Arcs();
    const auto stepped = m_stepped.Arcs();
    unsigned int known = 0;
    while (known + 1 < stepped.size() && known < arcs.size() && arcs[known] == stepped[known]) {
        ++known;
    }
    bool isStepped = true;
    for (unsigned int length = std::max(m_subtree.NumArcs(), known) + 1; length < name.NumArcs(); ++length) {
        if (ExtentOf(name, length) != Extent::kNothing) {
            continue;
        }
        CVT::BObjectIdentifier end(arcs.first(length));
        end.Append(std::numeric_limits<unsigned int>::max());
        if (name < end) {
            name.Set(end);
            return true;
        }
        isStepped = false;
    }
    if (isStepped) {
        m_stepped.Set(name);
    }
    return false;
}

}  // namespace cvtagentd
