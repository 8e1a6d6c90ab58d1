#pragma once

#include "CVT/BObjectIdentifier.h"

struct netsnmp_agent_request_info_s;

namespace cvtagentd {

/// What the sender of a request may see of one subtree. Lives no longer than the call in which it is made.
class AccessView {
public:
    AccessView(const netsnmp_agent_request_info_s& info, const CVT::BObjectIdentifier& subtree);

    /// Whether nothing of the subtree may be seen.
    bool IsEmpty() const { return m_extent == Extent::kNothing; }
    /// Whether an instance of the subtree may be seen.
    bool Holds(const CVT::BObjectIdentifier& name) const { return m_extent == Extent::kAll || HoldsOne(name); }

private:
    enum class Extent { kNothing, kSome, kAll };

    bool HoldsOne(const CVT::BObjectIdentifier& name) const;

    const netsnmp_agent_request_info_s& m_info;
    Extent m_extent;
};

}  // namespace cvtagentd
