#include "groups/system/UserRecords.h"

#include <fcntl.h>
#include <unistd.h>
#include <utmp.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{50};
constexpr std::chrono::milliseconds kInterval{1};

/// The whole file, for reading.
struct flock WholeFile() {
    struct flock lock {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// A read lock of this process on the records: while it holds one, the C library need not wait for it. The C library
/// releases it after each entry.
class ReadLock {
public:
    ReadLock() : m_file(::open(_PATH_UTMP, O_RDONLY | O_CLOEXEC)) {}
    ~ReadLock() {
        if (m_file >= 0) {
            ::close(m_file);
        }
    }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;

    /// Returns false when another process still keeps the file locked at the deadline. A file that is missing, or that
    /// cannot be locked, is left to the C library.
    bool Take(Clock::time_point deadline) const {
        if (m_file < 0) {
            return true;
        }
        for (;;) {
            struct flock lock = WholeFile();
            if (::fcntl(m_file, F_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES)) {
                return true;
            }
            if (Clock::now() >= deadline) {
                return false;
            }
            std::this_thread::sleep_for(kInterval);
        }
    }
    bool IsSomebodyElses() const {
        struct flock lock = WholeFile();
        return m_file >= 0 && ::fcntl(m_file, F_GETLK, &lock) == 0 && lock.l_type == F_WRLCK;
    }

private:
    const int m_file;
};

}  // namespace

bool bAreUserRecordsLocked() { return ReadLock().IsSomebodyElses(); }

unsigned int ui32CountUsers() {
    const ReadLock lock;
    const auto deadline = Clock::now() + kPatience;
    unsigned int count = 0;
    // NOLINTBEGIN(concurrency-mt-unsafe): one thread at a time
    ::setutent();
    while (lock.Take(deadline)) {
        const utmp* const entry = ::getutent();
        if (entry == nullptr) {
            break;
        }
        if (entry->ut_type == USER_PROCESS) {
            ++count;
        }
    }
    ::endutent();
    // NOLINTEND(concurrency-mt-unsafe)
    return count;
}
