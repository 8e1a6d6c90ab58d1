#include "agent/cvtagentd/OwnGroups.h"

#include <algorithm>
#include <string>

#include "agent/cvtagentd/Log.h"

namespace agent {

OwnGroups::OwnGroups() : CVT::BMibImplGroup("cvtagentd") { Init(); }

OwnGroups::~OwnGroups() { Cleanup(); }

void OwnGroups::GiveWayTo(const std::vector<CVT::BMibImpl*>& groups) {
    for (CVT::BMibImpl*& own : m_groups) {
        if (own == nullptr) {
            continue;
        }
        const auto holds = [&](const CVT::BMibImpl* group) { return own->Oid().StartsWith(group->Oid()); };
        const auto holder = std::find_if(groups.begin(), groups.end(), holds);
        if (holder != groups.end()) {
            Log::Info("leaves " + std::string(own->Name().View()) + " to a module, which serves " +
                      std::string((*holder)->ToString().View()));
            own = nullptr;
        }
    }
}

unsigned int OwnGroups::Init() {
    for (CVT::BMibImpl* const group : m_groups) {
        const CVT::TMutex::Guard guard(group->RequestLock());
        group->Initialize();
    }
    return 1;
}

unsigned int OwnGroups::Cleanup() {
    for (CVT::BMibImpl* const group : m_groups) {
        if (group != nullptr) {
            const CVT::TMutex::Guard guard(group->RequestLock());
            group->Cleanup();
        }
    }
    return 1;
}

CVT::BMibImpl* OwnGroups::HandlerAt(int place) {
    return place >= 0 && place < NumHandlers() ? m_groups[static_cast<std::size_t>(place)] : nullptr;
}

}  // namespace agent
