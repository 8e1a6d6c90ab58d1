#include "groups/devices/TemporaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace {

using Command = std::array<char, 280>;

constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;

/// In a directory that others may write to, only the sticky bit keeps them from putting a file of theirs in the place of
/// ours between our making it and the shell's opening it. Its owner may do that in any case.
bool LiesInASafeDirectory() {
    struct stat directory {};
    if (::stat("/tmp", &directory) != 0) {
        return false;
    }
    const bool oursOrRoots = directory.st_uid == 0 || directory.st_uid == ::geteuid();
    const bool onlyItsOwnerReplaces =
        (directory.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (directory.st_mode & S_ISVTX) != 0;
    return oursOrRoots && onlyItsOwnerReplaces;
}

/// Open for reading; the shell writes through the name. -1 when anything that is not ours stands at the name, a link that
/// leads nowhere included.
int MakeAnew(const char* name) {
    if (!LiesInASafeDirectory()) {
        return -1;
    }
    vRemoveTmpFile(name);
    const int file = ::open(name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly);
    if (file >= 0) {
        ::fchmod(file, kOwnerOnly);  // whatever the umask has taken away
    }
    return file;
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
    if (*name != '\0' && ::lstat(name, &there) == 0 && S_ISREG(there.st_mode) && there.st_uid == ::geteuid()) {
        ::unlink(name);
    }
}
