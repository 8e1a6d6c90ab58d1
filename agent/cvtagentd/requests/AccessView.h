#pragma once

#include "CVT/BObjectIdentifier.h"

struct netsnmp_agent_request_info_s;

namespace cvtagentd {

/// What the sender of a request may see of one subtree. Lives no longer than the call in which it is made.
class AccessView {
public:
    /// `subtree` must outlive it.
    AccessView(const netsnmp_agent_request_info_s& info, const CVT::BObjectIdentifier& subtree);

    /// Whether nothing of the subtree may be seen.
    bool IsEmpty() const { return m_extent == Extent::kNothing; }
    /// Whether an instance of the subtree may be seen.
    bool Holds(const CVT::BObjectIdentifier& name) const { return m_extent == Extent::kAll || HoldsOne(name); }

    /// Moves the name of an instance that may not be seen to the end of the widest subtree around it, such as a column,
    /// that lies wholly outside the view: the next instance after it is the first that needs another check. Never
    /// passes over an instance that may be seen. Returns false, with the name unchanged, when there is no such subtree
    /// around the instance.
    bool LeaveHidden(CVT::BObjectIdentifier& name);

private:
    enum class Extent { kNothing, kSome, kAll };

    Extent ExtentOf(const CVT::BObjectIdentifier& name, unsigned int length) const;
    bool HoldsOne(const CVT::BObjectIdentifier& name) const;

    const netsnmp_agent_request_info_s& m_info;
    const CVT::BObjectIdentifier& m_subtree;
    Extent m_extent;
    CVT::BObjectIdentifier m_stepped;  // each subtree around it may hold something visible; empty: not known
};

}  // namespace cvtagentd
