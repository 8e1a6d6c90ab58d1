#pragma once

#include <sys/stat.h>
#include <sys/statfs.h>

#include <chrono>
#include <memory>
#include <optional>

#include "CVT/TEvent.h"

/// What was learnt of a mounted file system. A member is absent when the call failed, or did not come back in time.
struct DMountFigures {
    std::optional<struct stat> directory;  ///< stat(2) of the mount directory
    std::optional<struct statfs> space;    ///< statfs(2) of it, in blocks of `f_bsize` octets
    bool isForbidden = false;              ///< whether `directory` is absent because it may not be looked at
};

/// One question to a mounted file system, which is given a second for each call. A file system that cannot hang is
/// asked by the caller itself. One that may is asked by a thread, which is left behind when it does not come back: from
/// then on every question to that directory fails at once, until the call has returned. What came late, but before
/// somebody looked, is an answer like any other.
///
/// The constructor asks, Answer waits: several that may hang are best all asked first. Distinct objects may be used
/// from distinct threads.
///
/// The thread deletes itself and shares nothing with the module but its own record. It still runs code of this library
/// when it comes back, so a host waits with CVT::TThread::WaitForSelfDeleting before it unloads that, and does not
/// unload it when it cannot wait so long. It takes no signals; the end of the process ends it.
class DMountProbe {
public:
    enum EWhat {
        kSpace,              ///< statfs
        kDirectoryAndSpace,  ///< stat, and statfs if that succeeds
    };

    static constexpr std::chrono::milliseconds kPatience{1000};  ///< for each call

    /// Null counts as the empty path, which no file system has.
    DMountProbe(const char* directory, bool mayHang, EWhat what, std::chrono::milliseconds patience = kPatience);

    /// Waits. To be called once, and not after LateAnswer.
    DMountFigures Answer();

    /// What came after Answer had waited in vain, or without anybody waiting: once, as soon as it is there. Does not
    /// wait.
    std::optional<DMountFigures> LateAnswer();
    /// Whether LateAnswer may give something yet.
    bool IsOut() const { return m_call != nullptr; }

private:
    struct Call;
    class Caller;

    /// Whether all came in time.
    bool AwaitAll();

    DMountFigures m_figures;
    std::shared_ptr<Call> m_call;  // null when m_figures is the answer, or all of it was given
    std::chrono::milliseconds m_patience;
};
