#pragma once

#include <pthread.h>

#include <atomic>

#include "CVT/Api.h"
#include "CVT/ThreadAnnotations.h"

namespace CVT {

/// A mutual-exclusion lock. A recursive one may be taken again by its holder, which must release it as often. Not a
/// cancellation point: a thread that TThread::Terminate ends is never stopped while it waits here.
///
/// To take it again costs its holder a few instructions: a host holds a group's lock for a whole request, and the
/// toolkit takes it again around each operation.
class CVT_API CVT_CAPABILITY("mutex") TMutex {
public:
    explicit TMutex(bool recursive);
    /// No thread may hold it.
    ~TMutex();
    TMutex(const TMutex&) = delete;
    TMutex& operator=(const TMutex&) = delete;

    /// Takes the lock, waiting up to `milliseconds`; 0 only tries, kWaitForever waits without limit. Returns
    /// kWaitSignalled (0) when the lock is now held, kWaitTimeout (0x102) when it is not.
    unsigned int Wait(unsigned int milliseconds) CVT_TRY_ACQUIRE(false) CVT_NO_THREAD_SAFETY_ANALYSIS {
        return TakeAgain() ? kWaitSignalled : WaitForOthers(milliseconds);
    }
    /// Whether the lock could be taken without waiting: Wait(0), in a form that the compiler's analysis understands.
    bool Try() CVT_TRY_ACQUIRE(true) CVT_NO_THREAD_SAFETY_ANALYSIS { return Wait(0) == kWaitSignalled; }
    /// Releases the lock. Only its holder may do so.
    void Done() CVT_RELEASE() CVT_NO_THREAD_SAFETY_ANALYSIS {
        if (m_again > 0) {
            --m_again;
        } else {
            Release();
        }
    }

    /// Takes the lock at its declaration, without limit, and releases it at the end of the scope.
    class CVT_SCOPED_CAPABILITY Guard {
    public:
        explicit Guard(TMutex& mutex) CVT_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.Lock(); }
        ~Guard() CVT_RELEASE() { m_mutex.Done(); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        TMutex& m_mutex;
    };

private:
    void Lock() CVT_ACQUIRE() CVT_NO_THREAD_SAFETY_ANALYSIS {
        if (!TakeAgain()) {
            WaitForOthers(kWaitForever);
        }
    }
    /// Whether the calling thread holds the lock already. Any other thread finds another holder, or none.
    bool TakeAgain() {
        if (m_holder.load(std::memory_order_relaxed) != pthread_self()) {
            return false;
        }
        ++m_again;
        return true;
    }
    unsigned int WaitForOthers(unsigned int milliseconds);
    void Release();

    static constexpr pthread_t kNobody = 0;

    const bool m_isRecursive;
    std::atomic<pthread_t> m_holder = kNobody;  // of a recursive lock
    unsigned int m_again = 0;                   // how often the holder has taken it again; the holder's
    pthread_mutex_t m_mutex;
};

}  // namespace CVT
