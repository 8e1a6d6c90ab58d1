#include "CVT/TMutex.h"

#include "CVT/Deadline.h"

namespace CVT {

TMutex::TMutex(bool recursive) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

TMutex::~TMutex() { pthread_mutex_destroy(&m_mutex); }

unsigned int TMutex::Wait(unsigned int milliseconds) {
    int failure = 0;
    if (milliseconds == kWaitForever) {
        failure = pthread_mutex_lock(&m_mutex);
    } else if (milliseconds == 0) {
        failure = pthread_mutex_trylock(&m_mutex);
    } else {
        const timespec deadline = DeadlineIn(milliseconds);
        failure = pthread_mutex_clocklock(&m_mutex, CLOCK_MONOTONIC, &deadline);
    }
    return failure == 0 ? kWaitSignalled : kWaitTimeout;
}

void TMutex::Done() { pthread_mutex_unlock(&m_mutex); }

void TMutex::Lock() { pthread_mutex_lock(&m_mutex); }

}  // namespace CVT
