#pragma once

#include <chrono>
#include <map>

#include "agent/cvtagentd/requests/EmptyStretches.h"
#include "agent/cvtagentd/requests/TimeSlice.h"

struct netsnmp_agent_request_info_s;

namespace CVT {
class BMibImpl;
}

namespace cvtagentd {

/// The progress of a reading request that did not finish in one time slice, kept with the request from one call of a
/// handler to the next. Used by the thread that runs the library.
struct ReadProgress {
    /// Null when nothing has been kept for this request.
    static ReadProgress* Find(const netsnmp_agent_request_info_s& info);
    /// Throws std::bad_alloc.
    static ReadProgress& Of(const netsnmp_agent_request_info_s& info);

    TimeSlice::Clock::duration worked{};  ///< in calls that ended with varbinds unanswered; without the waits between
    std::map<const CVT::BMibImpl*, EmptyStretches> empty;  ///< by group
};

}  // namespace cvtagentd
