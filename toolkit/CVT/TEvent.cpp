#include "CVT/TEvent.h"

#include <cerrno>

#include "CVT/Deadline.h"

namespace CVT {
namespace {

/// Not std::mutex and std::condition_variable: a wait must be able to unwind when its thread is cancelled.
class Guard {
public:
    explicit Guard(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~Guard() { pthread_mutex_unlock(&m_mutex); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

}  // namespace

TEvent::TEvent(bool manualReset, bool /*initially*/) : m_manualReset(manualReset) {}

TEvent::~TEvent() {
    pthread_cond_destroy(&m_changed);
    pthread_mutex_destroy(&m_mutex);
}

void TEvent::Set() {
    const Guard guard(m_mutex);
    m_signalled = true;
    // Under the lock, so that a waiter that wakes up and destroys the event does not do so while we still use it.
    pthread_cond_broadcast(&m_changed);
}

void TEvent::Reset() {
    const Guard guard(m_mutex);
    m_signalled = false;
}

unsigned int TEvent::Wait(unsigned int milliseconds) {
    const timespec deadline = milliseconds == kWaitForever ? timespec{} : DeadlineIn(milliseconds);
    const Guard guard(m_mutex);
    int failure = milliseconds == 0 ? ETIMEDOUT : 0;
    while (!m_signalled && failure == 0) {
        failure = milliseconds == kWaitForever
                      ? pthread_cond_wait(&m_changed, &m_mutex)
                      : pthread_cond_clockwait(&m_changed, &m_mutex, CLOCK_MONOTONIC, &deadline);
    }
    if (!m_signalled) {
        return kWaitTimeout;
    }
    m_signalled = m_manualReset;
    return kWaitSignalled;
}

}  // namespace CVT
