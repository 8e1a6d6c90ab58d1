#include "agent/cvtagentd/process/StateLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
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

/// Besides the lock on the whole file, an agent holds one on an octet of it, for which the kernel tells the holder's
/// number. Each role has an octet; commands have none, since they must not get an agent's signals.
off_t OctetOf(bool isSubagent) { return isSubagent ? 1 : 0; }

struct flock OctetLock(bool isSubagent) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = OctetOf(isSubagent);
    lock.l_len = 1;
    return lock;
}

int Open(int flags) { return ::open(kFile, flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600); }

}  // namespace

StateLock::StateLock(Holder holder) : m_file(Open(O_RDWR | O_CREAT)) {
    const bool isOneFile = m_file >= 0 && IsOneFile(m_file);
    if (!isOneFile || ::flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        const int error = m_file >= 0 && !isOneFile ? EMLINK : errno;
        const std::string owner = m_file < 0 ? std::string() : Owner(m_file);
        if (m_file >= 0) {
            ::close(m_file);
        }
        if (error == EWOULDBLOCK) {
            throw StateInUse("the state directory " + StateDir::Path() + " is in use by " + owner +
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
    if (holder != Holder::kCommand) {
        struct flock lock = OctetLock(holder == Holder::kSubagent);
        ::fcntl(m_file, F_SETLK, &lock);  // where that fails, commands cannot find this agent, and say so
    }
}

StateLock::~StateLock() { ::close(m_file); }

std::optional<StateLock::Agent> StateLock::FindAgent() {
    const int file = Open(O_RDONLY);
    if (file < 0) {
        return std::nullopt;
    }
    std::optional<Agent> found;
    for (const bool isSubagent : {false, true}) {
        struct flock lock = OctetLock(isSubagent);
        if (!found && IsOneFile(file) && ::fcntl(file, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK) {
            found = Agent{lock.l_pid, isSubagent};
        }
    }
    ::close(file);
    return found;
}

bool StateLock::TellToReload(const Agent& agent) {
    if (agent.pid <= 0) {
        return false;
    }
    // The descriptor stays with the process that has the number now; it is the agent if that still holds the lock.
    const int process = static_cast<int>(::syscall(SYS_pidfd_open, agent.pid, 0));
    if (process < 0) {
        return false;
    }
    const std::optional<Agent> now = FindAgent();
    const bool told = now && now->pid == agent.pid && !now->isSubagent &&
                      ::syscall(SYS_pidfd_send_signal, process, SIGHUP, nullptr, 0) == 0;
    ::close(process);
    return told;
}

}  // namespace cvtagentd
