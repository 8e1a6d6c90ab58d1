#include "CVT/BRequest.h"

#include <algorithm>
#include <vector>

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
    /// In ascending order. Few requests are live at a time, and the latest mostly has the highest identifier.
    std::vector<unsigned int> ids CVT_GUARDED_BY(lock);
};

}  // namespace

BRequest::BRequest() : m_id(BRequestId::Next()) {
    LiveRequests& live = LiveRequests::Instance();
    const TMutex::Guard guard(live.lock);
    live.ids.insert(std::upper_bound(live.ids.begin(), live.ids.end(), m_id), m_id);
}

BRequest::~BRequest() {
    LiveRequests& live = LiveRequests::Instance();
    const TMutex::Guard guard(live.lock);
    live.ids.erase(std::lower_bound(live.ids.begin(), live.ids.end(), m_id));
}

bool BRequest::IsLive(unsigned int requestId) {
    LiveRequests& live = LiveRequests::Instance();
    const TMutex::Guard guard(live.lock);
    return std::binary_search(live.ids.begin(), live.ids.end(), requestId);
}

}  // namespace CVT
