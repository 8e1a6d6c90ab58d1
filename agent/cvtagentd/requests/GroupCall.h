#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "CVT/BMibImpl.h"
#include "CVT/BRequest.h"
#include "CVT/BVarBind.h"

namespace cvtagentd {

/// One call to a group, or some that belong together, made on another thread (GroupWorkers) because they may take long.
/// Shared by that thread and the one that runs the event loop: what a subclass adds is the latter's until the call is
/// started, and again when it is done.
struct GroupCall {
    explicit GroupCall(CVT::BMibImpl& called) : group(called) {}
    GroupCall(const GroupCall&) = delete;
    GroupCall& operator=(const GroupCall&) = delete;
    virtual ~GroupCall() = default;

    /// Called with the group's lock held.
    virtual void Make() = 0;

    CVT::BMibImpl& group;
    std::atomic<bool> isDone = false;
    std::atomic<bool> isUnwanted = false;  ///< nobody waits for it any more, so it need not be made
};

/// Get of a name, or NextInstance after a name.
struct ReadCall final : GroupCall {
    ReadCall(CVT::BMibImpl& called, std::shared_ptr<const CVT::BRequest> asking, CVT::EReading reading)
        : GroupCall(called), request(std::move(asking)), what(reading) {}

    void Make() override {
        const auto begin = std::chrono::steady_clock::now();
        status =
            what == CVT::EReading::Get ? group.Get(request->Id(), varBind) : group.NextInstance(request->Id(), varBind);
        took = std::chrono::steady_clock::now() - begin;
    }

    std::shared_ptr<const CVT::BRequest> request;  ///< the request that needs the call; live as long as the call
    CVT::EReading what;
    CVT::BVarBind varBind;  ///< its name goes in, what was found comes out
    int status = CVT::genErr;
    std::chrono::steady_clock::duration took{};  ///< without the wait for the group's lock
};

}  // namespace cvtagentd
