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

/// In a directory that others may write to, only the sticky bit keeps them from putting a file of theirs in the place of
/// ours between our making it and the shell's opening it. Its owner may do that in any case.
bool IsSafe(const struct stat& directory) {
    const bool oursOrRoots = directory.st_uid == 0 || directory.st_uid == ::geteuid();
    const bool onlyItsOwnerReplaces =
        (directory.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (directory.st_mode & S_ISVTX) != 0;
    return oursOrRoots && onlyItsOwnerReplaces;
}

bool IsOurs(const struct stat& file) { return S_ISREG(file.st_mode) && file.st_uid == ::geteuid(); }

void Warn(const char* name, const std::string& why) {
    static RareWarning s_warning;
    const std::string text = std::string(name) + " cannot be made: " + why +
                             ", then start the agent again: without that file it finds no disks, partitions and file "
                             "systems, nor what the kernel's log says of devices";
    s_warning.Say(text);
}

std::string AdviceFor(const char* name, int error) {
    struct stat there {};
    if (error == EEXIST && ::lstat(name, &there) == 0) {
        return "something of user " + std::to_string(there.st_uid) + " stands there that we have not made; remove it";
    }
    return std::generic_category().message(error) + "; see to it that we can write to /tmp";
}

/// Open for reading; the shell writes through the name. -1, said in a warning, when anything that is not ours stands at the
/// name, a link that leads nowhere included.
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
    ::fchmod(file, kOwnerOnly);        // whatever the umask has taken away
    ::flock(file, LOCK_EX | LOCK_NB);  // in use, as vRemoveStaleTmpFiles sees
    return file;
}

/// The process that a file of ours is named after; 0 when the name is not of that form.
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

/// In a safe directory a file that is ours stays what it is between our looks at it. One with a second name is none that we
/// have made; one that is locked belongs to a process that we do not see, as in another container with the same /tmp.
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
    // What comes of the command is seen by what it wrote.
    [[maybe_unused]] const int status = std::system(command.data());
    // Read through the descriptor that made the file: nobody can slip another one in between.
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
