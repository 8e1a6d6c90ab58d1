#include "agent/cvtagentd/process/StateLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"

namespace cvtagentd {
namespace {

constexpr const char* kFile = "cvtagentd.lock";

/// Who holds the lock, as far as the file tells.
std::string Owner(int file) {
    std::array<char, 16> text{};
    const ssize_t length = ::pread(file, text.data(), text.size(), 0);
    const std::string digits(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::string pid = digits.substr(0, digits.find_first_not_of("0123456789"));
    return pid.empty() ? std::string("another agent") : "another agent, process " + pid;
}

/// The owner of the directory controls what the name refers to; a file with a second name could be anyone's.
bool IsOneFile(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
}

}  // namespace

StateLock::StateLock() : m_file(::open(kFile, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600)) {
    const bool isOneFile = m_file >= 0 && IsOneFile(m_file);
    if (!isOneFile || ::flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        const int error = m_file >= 0 && !isOneFile ? EMLINK : errno;
        const std::string owner = m_file < 0 ? std::string() : Owner(m_file);
        if (m_file >= 0) {
            ::close(m_file);
        }
        if (error == EWOULDBLOCK) {
            throw StartError("the state directory " + StateDir::Path() + " is in use by " + owner +
                             "; stop that agent, or name another directory with --state-dir");
        }
        const std::string advice = error == EACCES ? "give it to the user who runs the agent (chown), or " : "";
        FailToStart("cannot lock the state directory " + StateDir::Path() + " by " + kFile + ": " +
                        std::generic_category().message(error) + "; " + advice + "name another one with --state-dir",
                    error == EMLINK ? EPERM : error);
    }
    const std::string pid = std::to_string(::getpid()) + "\n";
    [[maybe_unused]] const bool told = ::ftruncate(m_file, 0) == 0 && ::pwrite(m_file, pid.data(), pid.size(), 0) >
                                                                          0;  // so that an administrator can see it
}

StateLock::~StateLock() { ::close(m_file); }

}  // namespace cvtagentd
