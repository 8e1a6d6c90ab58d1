#include "CVT/BRequest.h"

#include <unordered_set>

#include "CVT/BRequestId.h"
#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"

namespace CVT {
namespace {

/// Never destroyed: a request may end during process exit.
struct LiveRequests {
    static LiveRequests& Instance() {
        static LiveRequests* const instance = new LiveRequests;
        return *instance;
    }

    TMutex lock{false};
    std::unordered_set<unsigned int> ids CVT_GUARDED_BY(lock);
};

}  // namespace

BRequest::BRequest() : m_id(BRequestId::Next()) {
    LiveRequests& live = LiveRequests::Instance();
    const TMutex::Guard guard(live.lock);
    live.ids.insert(m_id);
}

BRequest::~BRequest() {
    LiveRequests& live = LiveRequests::Instance();
    const TMutex::Guard guard(live.lock);
    live.ids.erase(m_id);
}

bool BRequest::IsLive(unsigned int requestId) {
    LiveRequests& live = LiveRequests::Instance();
    const TMutex::Guard guard(live.lock);
    return live.ids.contains(requestId);
}

}  // namespace CVT
