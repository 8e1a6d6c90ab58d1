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

/// How far a request for reading has come that was more than a moment's work, kept with the request from one call of a
/// handler to the next. Used by the thread that runs the library.
struct ReadProgress {
    /// Null when nothing has been kept for this request.
    static ReadProgress* Find(const netsnmp_agent_request_info_s& info);
    /// Throws std::bad_alloc.
    static ReadProgress& Of(const netsnmp_agent_request_info_s& info);

    TimeSlice::Clock::duration worked{};  ///< in calls that ended before all was answered; without waiting in between
    std::map<const CVT::BMibImpl*, EmptyStretches> empty;  ///< by group
};

}  // namespace cvtagentd
