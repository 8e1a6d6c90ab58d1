#include "groups/devices/TemporaryFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>

#include "groups/common/HostFile.h"
#include "groups/common/RareWarning.h"

namespace {

using Command = std::array<char, 280>;

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr const char* kDirectory = "/tmp";
constexpr std::string_view kPrefix = "CVHost.";
constexpr std::size_t kMostDigits = 7;  // of a process id

/// In a directory that others may write to, only the sticky bit keeps them from replacing our file after we create it
/// and before the shell opens it. The directory's owner can do so in any case.
bool IsSafe(const struct stat& directory) {
    const bool oursOrRoots = directory.st_uid == 0 || directory.st_uid == ::geteuid();
    const bool onlyItsOwnerReplaces =
        (directory.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (directory.st_mode & S_ISVTX) != 0;
    return oursOrRoots && onlyItsOwnerReplaces;
}

bool IsOurs(const struct stat& file) { return S_ISREG(file.st_mode) && file.st_uid == ::geteuid(); }

void Warn(const char* name, const std::string& why) {
    static RareWarning s_warning;
    const std::string text = std::string(name) + " cannot be created: " + why +
                             ", then restart the agent: without that file it finds no disks, partitions and file "
                             "systems, nor devices from the kernel's log";
    s_warning.Say(text);
}

std::string AdviceFor(const char* name, int error) {
    struct stat there {};
    if (error == EEXIST && ::lstat(name, &there) == 0) {
        return "it belongs to user " + std::to_string(there.st_uid) + " and was not created by this agent; remove it";
    }
    return std::generic_category().message(error) + "; make sure that the agent's user can write to /tmp";
}

/// Returns a descriptor open for reading; the shell writes through the name. Returns -1, after a warning, when anything
/// that is not ours exists under the name, including a dangling link.
int MakeAnew(const char* name) {
    struct stat directory {};
    if (::stat(kDirectory, &directory) != 0 || !IsSafe(directory)) {
        Warn(name, "others may replace files in /tmp; give it to root, with mode 1777");
        return -1;
    }
    vRemoveTmpFile(name);
    const int file = ::open(name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly);
    if (file < 0) {
        Warn(name, AdviceFor(name, errno));
        return -1;
    }
    ::fchmod(file, kOwnerOnly);        // independent of the umask
    ::flock(file, LOCK_EX | LOCK_NB);  // marks it as in use for vRemoveStaleTmpFiles
    return file;
}

/// Returns the process that a file of ours is named after; 0 when the name does not have that form.
pid_t ProcessOf(std::string_view name) {
    constexpr std::string_view kDigits = "0123456789";
    if (!name.starts_with(kPrefix)) {
        return 0;
    }
    name.remove_prefix(kPrefix.size());
    const bool isNumber = !name.empty() && name.front() != '0' && name.size() <= kMostDigits &&
                          name.find_first_not_of(kDigits) == std::string_view::npos;
    pid_t process = 0;
    if (isNumber) {
        std::from_chars(name.data(), name.data() + name.size(), process);
    }
    return process;
}

bool IsGone(pid_t process) { return ::kill(process, 0) != 0 && errno == ESRCH; }

/// In a safe directory a file of ours does not change between our checks. A file with a second name was not created by
/// us. A locked file belongs to a process that we cannot see, for example in another container that shares /tmp.
void RemoveIfUnused(int directory, const char* name) {
    struct stat there {};
    if (::fstatat(directory, name, &there, AT_SYMLINK_NOFOLLOW) != 0 || !IsOurs(there)) {
        return;
    }
    const int file = ::openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    struct stat opened {};
    if (::fstat(file, &opened) == 0 && IsOurs(opened) && opened.st_nlink == 1 &&
        ::flock(file, LOCK_EX | LOCK_NB) == 0) {
        ::unlinkat(directory, name, 0);
    }
    ::close(file);
}

}  // namespace

void vGetTmpName(char* name) { std::snprintf(name, kTmpNameSize, "/tmp/CVHost.%d", ::getpid()); }

std::FILE* fpOpenCommandOutput(const char* format, const char* name) {
    Command command{};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::snprintf(command.data(), command.size(), format, name);
#pragma GCC diagnostic pop
    if (length < 0 || static_cast<std::size_t>(length) >= command.size()) {
        return nullptr;
    }
    const int file = MakeAnew(name);
    if (file < 0) {
        return nullptr;
    }
    // What the command wrote shows whether it worked.
    [[maybe_unused]] const int status = std::system(command.data());
    // Reads through the descriptor that created the file, so that nobody can substitute another file in between.
    std::FILE* const stream = ::fdopen(file, "r");
    if (stream == nullptr) {
        ::close(file);
        vRemoveTmpFile(name);
    }
    return stream;
}

void vRemoveTmpFile(const char* name) {
    struct stat there {};
    if (*name != '\0' && ::lstat(name, &there) == 0 && IsOurs(there)) {
        ::unlink(name);
    }
}

void vRemoveStaleTmpFiles() {
    const DHostDirectory listing = OpenHostDirectory(kDirectory);
    if (!listing) {
        return;
    }
    const int directory = ::dirfd(listing.get());
    struct stat itself {};
    const bool isSafe = ::fstat(directory, &itself) == 0 && IsSafe(itself);
    while (const dirent* const entry = isSafe ? ::readdir(listing.get()) : nullptr) {
        const pid_t process = ProcessOf(entry->d_name);
        if (process != 0 && IsGone(process)) {
            RemoveIfUnused(directory, entry->d_name);
        }
    }
}
