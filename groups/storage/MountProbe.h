#pragma once

#include <sys/stat.h>
#include <sys/statfs.h>

#include <chrono>
#include <memory>
#include <optional>

#include "CVT/TEvent.h"

/// What was learnt of a mounted file system. A member is absent when the call failed, or did not return in time.
struct DMountFigures {
    std::optional<struct stat> directory;  ///< stat(2) of the mount directory
    std::optional<struct statfs> space;    ///< statfs(2) of it, in blocks of `f_bsize` octets
    bool isForbidden = false;              ///< whether `directory` is absent because access to it is denied
};

/// One probe of a mounted file system, which has a second for each call. The caller itself probes a file system that
/// cannot hang. One that may hang is probed by a thread, which is abandoned when the call does not return: from then on
/// every probe of that directory fails at once, until the call has returned. An answer that came late, but before the
/// caller looked for it, counts like any other.
///
/// The constructor starts the probe, Answer waits for it: where several may hang, construct all of them first. Distinct
/// objects may be used from distinct threads.
///
/// The thread deletes itself and shares nothing with the module but its own record. It still runs code of this library
/// when the call returns, so a host waits with CVT::TThread::WaitForSelfDeleting before it unloads the library, and
/// keeps it loaded when it cannot wait that long. The thread takes no signals; the end of the process ends it.
class DMountProbe {
public:
    enum EWhat {
        kSpace,              ///< statfs
        kDirectoryAndSpace,  ///< stat, and statfs if that succeeds
    };

    static constexpr std::chrono::milliseconds kPatience{1000};  ///< for each call

    /// Null counts as the empty path, which no file system has.
    DMountProbe(const char* directory, bool mayHang, EWhat what, std::chrono::milliseconds patience = kPatience);

    /// Waits. Call it once, and not after LateAnswer.
    DMountFigures Answer();

    /// Returns, once, the answer that came after Answer had waited in vain, or that Answer was not called for. Does not
    /// wait.
    std::optional<DMountFigures> LateAnswer();
    /// Whether LateAnswer may still return something.
    bool IsOut() const { return m_call != nullptr; }
    /// False when nothing was asked, since an earlier call to the directory has not returned or no thread could start.
    bool WasAsked() const { return m_wasAsked; }

private:
    struct Call;
    class Caller;

    /// Whether everything came in time.
    bool AwaitAll();

    DMountFigures m_figures;
    std::shared_ptr<Call> m_call;  // null when m_figures is the answer, or all of it was returned
    bool m_wasAsked = true;
    std::chrono::milliseconds m_patience;
};
