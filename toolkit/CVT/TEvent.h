#pragma once

#include <pthread.h>

#include "CVT/Api.h"

namespace CVT {

/// An event that threads wait for. It always starts unsignalled, whatever the constructor's second flag says: a waiter
/// that treats any wake-up as an order to end must not be woken by the construction of its event. All operations are
/// thread-safe.
class CVT_API TEvent {
public:
    /// With `manualReset` a signal lasts until Reset() and lets every waiter through. Without it, a signal lets one
    /// waiter through and is used up. The second flag has no effect.
    explicit TEvent(bool manualReset, bool initially = false);
    /// No thread may be waiting on it.
    ~TEvent();
    TEvent(const TEvent&) = delete;
    TEvent& operator=(const TEvent&) = delete;

    void Set();
    void Reset();
    /// Waits up to `milliseconds` (0 only looks, kWaitForever has no limit) on the monotonic clock. Returns
    /// kWaitSignalled (0) or kWaitTimeout (0x102). A cancellation point for TThread::Terminate.
    unsigned int Wait(unsigned int milliseconds);

private:
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t m_changed = PTHREAD_COND_INITIALIZER;
    const bool m_manualReset;
    bool m_signalled = false;  // under m_mutex
};

}  // namespace CVT
