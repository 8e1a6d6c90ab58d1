#pragma once

#include <pthread.h>

#include <atomic>

#include "CVT/Api.h"
#include "CVT/TEvent.h"
#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"

namespace CVT {

/// A thread whose work, Run, the subclass supplies.
///
/// Ownership is fixed at construction:
///  - TThread(false) belongs to its owner, who joins it (Stop or Join gives true, or Terminate has returned) before he
///    deletes it. Start may be called again after ResetMembers.
///  - TThread(true) is detached and deletes itself, on its own thread, when Run and OnThreadEnd have returned. Once Start
///    was called nobody else may touch the object. It must come from plain new.
///
/// A self-deleting thread's last steps in the subclass's code are its deleting destructor; the toolkit counts the thread
/// down only after that has returned. A host that has unloaded a module's work therefore waits with
/// WaitForSelfDeleting before it lets go of the module's code.
///
/// How Terminate ends a thread: by deferred cancellation, and it waits until the thread is gone. The thread is never
/// stopped at an arbitrary instruction; it ends where it next waits (TEvent::Wait, TTimer::Sleep, or a system call that
/// blocks, such as open or read), and unwinds from there as by an exception: locks held by guards are given back, objects
/// on its stack are destroyed. It can so leave no lock taken and nothing half-written that a guard protects. A thread
/// that computes without ever waiting is waited for. Run must therefore not swallow what it does not know: a
/// `catch (...)` has to rethrow. Nor may a destructor or another noexcept function on Run's way wait, for nothing unwinds
/// out of those: the process would end. Closing a descriptor counts as waiting, so a destructor that closes one switches
/// cancellation off meanwhile (pthread_setcancelstate), and so a thread that is terminated uses no std::fstream. Once Run
/// is over a Terminate no longer interrupts: OnThreadEnd may wait.
///
/// An exception that leaves Run ends the thread as if Run had returned.
class CVT_API TThread {
public:
    explicit TThread(bool deletesItself);
    TThread(const TThread&) = delete;
    TThread& operator=(const TThread&) = delete;
    virtual ~TThread();

    /// Starts the thread with a stack of `stackBytes` (0: the system's default). The second word is kept free; give 0.
    /// False when the system has no thread to give, or when it was started before. A self-deleting thread that could not
    /// be started has deleted itself.
    virtual bool Start(unsigned int stackBytes, unsigned int reserved);
    /// Ends the thread, as told above, and returns when it is gone. Does nothing to a self-deleting thread, of which
    /// nobody else can know whether it still exists.
    virtual void Terminate();
    /// Says that the thread should end (StopRequested turns true) and waits for it like Join.
    virtual bool Stop(unsigned int milliseconds);
    /// Waits up to `milliseconds` for the end of the thread. True when it has ended, or was never started.
    virtual bool Join(unsigned int milliseconds);
    /// Makes an owned thread that has been joined ready for another Start.
    virtual void ResetMembers();

    /// For Run: whether somebody has called Stop.
    bool StopRequested() const { return m_stopRequested.load(std::memory_order_relaxed); }

    /// The number of self-deleting threads of this process that still run, or are still being deleted.
    static unsigned int NumSelfDeleting();
    /// Waits up to `milliseconds` until there is none. False when some are left.
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
