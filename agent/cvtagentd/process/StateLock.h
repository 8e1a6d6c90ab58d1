#pragma once

namespace cvtagentd {

/// Keeps the state directory, which is the working directory, for this process: two that wrote there would lose each
/// other's users and values. Any end of the process gives it free.
class StateLock {
public:
    /// Throws StartError when another process has it.
    StateLock();
    ~StateLock();
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    int m_file;
};

}  // namespace cvtagentd
