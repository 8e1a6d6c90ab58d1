#pragma once

#include <chrono>
#include <map>

#include "agent/cvtagentd/requests/EmptyStretches.h"
#include "agent/cvtagentd/requests/TimeSlice.h"

namespace CVT {
class BMibImpl;
}

namespace cvtagentd {

/// The progress of a reading request that did not finish in one time slice, kept with the request from one call of
/// GroupReader to the next. A plain value.
struct ReadProgress {
    TimeSlice::Clock::duration worked{};  ///< in calls that ended with varbinds unanswered; without the waits between
    std::map<const CVT::BMibImpl*, EmptyStretches> empty;  ///< by group
};

}  // namespace cvtagentd
