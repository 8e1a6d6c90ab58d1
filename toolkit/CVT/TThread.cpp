#include "CVT/TThread.h"

#include "CVT/ForcedUnwind.h"

namespace CVT {
namespace {

/// The number of live self-deleting threads. Never destroyed: the last thread may outlive the library's own static
/// objects.
class SelfDeletingCount {
public:
    static SelfDeletingCount& Instance() {
        static SelfDeletingCount* const instance = new SelfDeletingCount;
        return *instance;
    }

    void Up() {
        const TMutex::Guard guard(m_lock);
        ++m_count;
        m_none.Reset();
    }

    void Down() {
        const TMutex::Guard guard(m_lock);
        if (--m_count == 0) {
            m_none.Set();
        }
    }

    unsigned int Value() {
        const TMutex::Guard guard(m_lock);
        return m_count;
    }

    bool WaitForNone(unsigned int milliseconds) { return m_none.Wait(milliseconds) == kWaitSignalled; }

private:
    SelfDeletingCount() { m_none.Set(); }

    TMutex m_lock{false};
    unsigned int m_count CVT_GUARDED_BY(m_lock) = 0;
    TEvent m_none{true};
};

}  // namespace

/// The last steps of a thread. They run in a destructor, so that they also happen when the thread is cancelled.
class TThread::Ending {
public:
    explicit Ending(TThread& thread) : m_thread(thread) {}
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;
    ~Ending() {
        // Run is over: a late Terminate has nothing to end, and must not unwind out of a destructor.
        int before = 0;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
        m_thread.OnThreadEnd();
        if (m_thread.m_deletesItself) {
            delete &m_thread;
            SelfDeletingCount::Instance().Down();
        } else {
            m_thread.m_ended.Set();
        }
    }

private:
    TThread& m_thread;
};

TThread::TThread(bool deletesItself) : m_deletesItself(deletesItself) {}

TThread::~TThread() {
    if (!m_deletesItself) {
        Reap(kWaitForever);  // the owner should have done it: Run belongs to an object that is already gone
    }
}

bool TThread::Start(unsigned int stackBytes, unsigned int /*reserved*/) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if (stackBytes != 0) {
        pthread_attr_setstacksize(&attributes, stackBytes);
    }
    const bool started = m_deletesItself ? StartSelfDeleting(attributes) : StartOwned(attributes);
    pthread_attr_destroy(&attributes);
    return started;
}

bool TThread::StartOwned(const pthread_attr_t& attributes) {
    const TMutex::Guard guard(m_lock);
    if (m_started) {
        return false;
    }
    m_started = pthread_create(&m_thread, &attributes, &TThread::Main, this) == 0;
    m_joinable = m_started;
    return m_started;
}

bool TThread::StartSelfDeleting(pthread_attr_t& attributes) {
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    SelfDeletingCount::Instance().Up();
    pthread_t thread{};
    if (pthread_create(&thread, &attributes, &TThread::Main, this) == 0) {
        return true;  // from here on the object may disappear at any time
    }
    delete this;
    SelfDeletingCount::Instance().Down();
    return false;
}

CVT_CATCHES_FORCED_UNWIND void* TThread::Main(void* self) {
    auto& thread = *static_cast<TThread*>(self);
    const Ending ending(thread);
    try {
        thread.Run();
    } catch (const abi::__forced_unwind&) {
        throw;       // the thread is being terminated
    } catch (...) {  // NOLINT(bugprone-empty-catch): the thread ends here and can tell nobody
    }
    return nullptr;
}

bool TThread::Reap(unsigned int milliseconds) {
    {
        const TMutex::Guard guard(m_lock);
        if (!m_joinable) {
            return true;
        }
    }
    if (m_ended.Wait(milliseconds) != kWaitSignalled) {
        return false;
    }
    const TMutex::Guard guard(m_lock);
    // Another waiter may have joined the thread in the meantime, and even started it again.
    if (m_joinable && m_ended.Wait(0) == kWaitSignalled) {
        pthread_join(m_thread, nullptr);  // it has only a few instructions left
        m_joinable = false;
    }
    return true;
}

void TThread::Terminate() {
    if (m_deletesItself) {
        return;
    }
    {
        const TMutex::Guard guard(m_lock);
        if (!m_joinable) {
            return;
        }
        pthread_cancel(m_thread);
    }
    Reap(kWaitForever);
}

bool TThread::Stop(unsigned int milliseconds) {
    m_stopRequested.store(true, std::memory_order_relaxed);
    return Join(milliseconds);
}

bool TThread::Join(unsigned int milliseconds) { return !m_deletesItself && Reap(milliseconds); }

void TThread::ResetMembers() {
    const TMutex::Guard guard(m_lock);
    if (m_joinable) {
        return;
    }
    m_started = false;
    m_stopRequested.store(false, std::memory_order_relaxed);
    m_ended.Reset();
}

void TThread::OnThreadEnd() {}

unsigned int TThread::NumSelfDeleting() { return SelfDeletingCount::Instance().Value(); }

bool TThread::WaitForSelfDeleting(unsigned int milliseconds) {
    return SelfDeletingCount::Instance().WaitForNone(milliseconds);
}

}  // namespace CVT
