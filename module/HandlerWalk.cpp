#include "module/HandlerWalk.h"

#include "CVT/HandlerCall.h"

unsigned int ui32ForEachHandler(CVT::BMibImplGroup& module, void (CVT::BMibImpl::*operation)()) {
    for (int place = 0; place < module.NumHandlers(); ++place) {
        CVT::BMibImpl* const handler = module.HandlerAt(place);
        if (handler == nullptr) {
            continue;
        }
        const CVT::TMutex::Guard guard(handler->RequestLock());
        // The module has no log: a group that throws stays as it is.
        CVT::detail::WithoutThrowing([&] {
            (handler->*operation)();
            return CVT::noError;
        });
    }
    return CVT::kWaitSignalled;  // a wait without limit has no other end
}
