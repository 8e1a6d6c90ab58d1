#pragma once

#include <pthread.h>

#include <atomic>

#include "CVT/Api.h"
#include "CVT/TEvent.h"
#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"

namespace CVT {

/// A thread whose work, Run, is supplied by the subclass.
///
/// Ownership is fixed at construction:
///  - TThread(false) belongs to its owner, which must join it before deleting it: Stop or Join has returned true, or
///    Terminate has returned. Start may be called again after ResetMembers.
///  - TThread(true) is detached and deletes itself, on its own thread, when Run and OnThreadEnd have returned. Once
///    Start has been called nothing else may touch the object. It must be allocated with plain new.
///
/// The last code of the subclass that a self-deleting thread executes is its deleting destructor. The toolkit counts
/// the thread down only after that has returned. A host therefore waits with WaitForSelfDeleting before it unloads the
/// module's code.
///
/// Terminate ends a thread by deferred cancellation and waits until the thread is gone. The thread is never stopped at
/// an arbitrary instruction. It ends where it next waits (TEvent::Wait, TTimer::Sleep, or a system call that blocks,
/// such as open or read), and unwinds from there as if by an exception: guards release their locks, and objects on its
/// stack are destroyed. So no lock stays taken, and nothing that a guard protects stays half-written. Terminate waits
/// for a thread that computes without ever blocking.
///
/// The unwinding has rules. Run must not swallow unknown exceptions: a `catch (...)` has to rethrow. A destructor or
/// another noexcept function that Run calls must not wait, because unwinding out of it would end the process. Closing a
/// descriptor counts as waiting, so a destructor that closes one disables cancellation meanwhile
/// (pthread_setcancelstate), and a thread that is terminated must not use std::fstream. Once Run is over, Terminate no
/// longer interrupts: OnThreadEnd may wait.
///
/// An exception that leaves Run ends the thread as if Run had returned.
class CVT_API TThread {
public:
    explicit TThread(bool deletesItself);
    TThread(const TThread&) = delete;
    TThread& operator=(const TThread&) = delete;
    virtual ~TThread();

    /// Starts the thread with a stack of `stackBytes` (0: the system's default). The second word is reserved; pass 0.
    /// Returns false when the system cannot create a thread, or when it was already started. A self-deleting thread
    /// that could not be started has deleted itself.
    virtual bool Start(unsigned int stackBytes, unsigned int reserved);
    /// Ends the thread, as described above, and returns when it is gone. Does nothing to a self-deleting thread, since
    /// no caller can know whether it still exists.
    virtual void Terminate();
    /// Asks the thread to end (StopRequested becomes true) and waits for it like Join.
    virtual bool Stop(unsigned int milliseconds);
    /// Waits up to `milliseconds` for the thread to end. Returns true when it has ended, or was never started.
    virtual bool Join(unsigned int milliseconds);
    /// Prepares an owned thread that has been joined for another Start.
    virtual void ResetMembers();

    /// For Run: whether Stop has been called.
    bool StopRequested() const { return m_stopRequested.load(std::memory_order_relaxed); }

    /// The number of self-deleting threads of this process that still run, or are still being deleted.
    static unsigned int NumSelfDeleting();
    /// Waits up to `milliseconds` until there are none. Returns false when some are left.
    static bool WaitForSelfDeleting(unsigned int milliseconds);

protected:
    /// The work, on the new thread. The result is not used.
    virtual unsigned int Run() = 0;
    /// Called on the thread when Run has returned, thrown or been terminated. It must not throw.
    virtual void OnThreadEnd();

private:
    class Ending;

    static void* Main(void* self);
    bool StartOwned(const pthread_attr_t& attributes) CVT_EXCLUDES(m_lock);
    bool StartSelfDeleting(pthread_attr_t& attributes);
    bool Reap(unsigned int milliseconds) CVT_EXCLUDES(m_lock);

    const bool m_deletesItself;
    std::atomic<bool> m_stopRequested = false;
    TEvent m_ended{true};  // owned threads: set by the thread as its last step
    TMutex m_lock{false};
    bool m_joinable CVT_GUARDED_BY(m_lock) = false;  // started, and pthread_join not yet called
    bool m_started CVT_GUARDED_BY(m_lock) = false;
    pthread_t m_thread CVT_GUARDED_BY(m_lock){};
};

}  // namespace CVT
