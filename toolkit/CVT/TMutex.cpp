#include "CVT/TMutex.h"

#include "CVT/Deadline.h"

namespace CVT {
namespace {

#if defined(__SANITIZE_THREAD__)
#define CVT_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define CVT_THREAD_SANITIZER 1
#endif
#endif

/// Returns 0 when `mutex` is now held.
int LockWithin(pthread_mutex_t& mutex, unsigned int milliseconds) {
#ifdef CVT_THREAD_SANITIZER
    // The sanitizer does not know pthread_mutex_clocklock and would report the unlock of a mutex that nobody locked.
    const timespec deadline = DeadlineIn(milliseconds, CLOCK_REALTIME);
    return pthread_mutex_timedlock(&mutex, &deadline);
#else
    const timespec deadline = DeadlineIn(milliseconds);
    return pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &deadline);
#endif
}

}  // namespace

TMutex::TMutex(bool recursive) : m_isRecursive(recursive) { pthread_mutex_init(&m_mutex, nullptr); }

TMutex::~TMutex() { pthread_mutex_destroy(&m_mutex); }

unsigned int TMutex::WaitForOthers(unsigned int milliseconds) {
    int failure = 0;
    if (milliseconds == kWaitForever) {
        failure = pthread_mutex_lock(&m_mutex);
    } else if (milliseconds == 0) {
        failure = pthread_mutex_trylock(&m_mutex);
    } else {
        failure = LockWithin(m_mutex, milliseconds);
    }
    if (failure != 0) {
        return kWaitTimeout;
    }
    if (m_isRecursive) {
        m_holder.store(pthread_self(), std::memory_order_relaxed);
    }
    return kWaitSignalled;
}

void TMutex::Release() {
    m_holder.store(kNobody, std::memory_order_relaxed);
    pthread_mutex_unlock(&m_mutex);
}

}  // namespace CVT
