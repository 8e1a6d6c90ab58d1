#include "module/HandlerWalk.h"

unsigned int ui32ForEachHandler(CVT::BMibImplGroup& module, void (CVT::BMibImpl::*operation)()) {
    unsigned int locked = CVT::kWaitSignalled;
    for (int place = 0; place < module.NumHandlers(); ++place) {
        CVT::BMibImpl* const handler = module.HandlerAt(place);
        if (handler == nullptr) {
            continue;
        }
        locked = handler->RequestLock().Wait(CVT::kWaitForever);
        try {
            (handler->*operation)();
        } catch (...) {  // NOLINT(bugprone-empty-catch): the module has no log, and the group stays inactive
        }
        handler->RequestLock().Done();
    }
    return locked;
}
