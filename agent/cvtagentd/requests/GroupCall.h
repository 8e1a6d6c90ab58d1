#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "CVT/BMibImpl.h"
#include "CVT/BRequest.h"
#include "CVT/BVarBind.h"

namespace cvtagentd {

/// One call to a group, made on another thread (GroupWorkers) because it may take long. Shared by that thread and the
/// one that runs the library: the members before `isDone` are the latter's until the call is started, and again when it
/// is done.
struct GroupCall {
    GroupCall(CVT::BMibImpl& called, std::shared_ptr<const CVT::BRequest> asking, CVT::EReading reading)
        : group(called), request(std::move(asking)), what(reading) {}

    CVT::BMibImpl& group;
    std::shared_ptr<const CVT::BRequest> request;  ///< the request that needs the call; live as long as the call
    CVT::EReading what;
    CVT::BVarBind varBind;  ///< its name goes in, what was found comes out
    int status = CVT::genErr;
    std::chrono::steady_clock::duration took{};  ///< without the wait for the group's lock

    std::atomic<bool> isDone = false;
    std::atomic<bool> isUnwanted = false;  ///< no request waits for it any more, so it need not be made
};

}  // namespace cvtagentd
