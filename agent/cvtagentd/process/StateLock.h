#pragma once

namespace cvtagentd {

/// Locks the state directory, which is the working directory, for this process: two processes that wrote there would
/// lose each other's users and values. The lock ends with the process, however that ends.
class StateLock {
public:
    /// Throws StartError when another process holds it.
    StateLock();
    ~StateLock();
    StateLock(const StateLock&) = delete;
    StateLock& operator=(const StateLock&) = delete;

private:
    int m_file;
};

}  // namespace cvtagentd
