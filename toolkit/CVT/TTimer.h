#pragma once

#include "CVT/Api.h"

namespace CVT {

/// A sleep. Stateless: one object may serve several threads.
class CVT_API TTimer {
public:
    /// Sleeps for at least `milliseconds` on the monotonic clock; signals do not shorten it. A cancellation point for
    /// TThread::Terminate.
    void Sleep(unsigned int milliseconds);
};

}  // namespace CVT
