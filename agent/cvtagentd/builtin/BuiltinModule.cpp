#include "agent/cvtagentd/builtin/BuiltinModule.h"

#include <algorithm>
#include <string>

#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {

BuiltinModule::BuiltinModule() : CVT::BMibImplGroup("cvtagentd") { Init(); }

BuiltinModule::~BuiltinModule() { Cleanup(); }

void BuiltinModule::GiveWayTo(const std::vector<CVT::BMibImpl*>& groups) {
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

unsigned int BuiltinModule::Init() {
    for (CVT::BMibImpl* const group : m_groups) {
        const CVT::TMutex::Guard guard(group->RequestLock());
        group->Initialize();
    }
    return 1;
}

unsigned int BuiltinModule::Cleanup() {
    for (CVT::BMibImpl* const group : m_groups) {
        if (group != nullptr) {
            const CVT::TMutex::Guard guard(group->RequestLock());
            group->Cleanup();
        }
    }
    return 1;
}

CVT::BMibImpl* BuiltinModule::HandlerAt(int place) {
    return place >= 0 && place < NumHandlers() ? m_groups[static_cast<std::size_t>(place)] : nullptr;
}

}  // namespace cvtagentd
