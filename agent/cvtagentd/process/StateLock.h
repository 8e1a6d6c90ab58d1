#pragma once

#include <sys/types.h>

#include <optional>

#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {

/// Another process holds the lock.
class StateInUse : public StartError {
public:
    using StartError::StartError;
};

/// Locks the state directory, which is the working directory, for this process: two processes that wrote there would
/// lose each other's users and values. The lock ends with the process, however that ends.
class StateLock {
public:
    enum class Holder { kAgent, kSubagent, kCommand };

    /// Throws StateInUse when another process holds it, and StartError when it cannot be taken.
    explicit StateLock(Holder holder);
    ~StateLock();
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

    /// An agent that holds the lock. The kernel names the process, so it is not one that has the number by now.
    struct Agent {
        pid_t pid = 0;  ///< 0: it cannot be seen from here, as in another container
        bool isSubagent = false;
    };
    /// No value when no agent holds the lock of the working directory.
    static std::optional<Agent> FindAgent();

    /// Sends SIGHUP to the agent. Returns false when this process may not, or when the agent holds the lock no more.
    static bool TellToReload(const Agent& agent);

private:
    int m_file;
};

}  // namespace cvtagentd
