#include "agent/cvtagentd/process/StateDir.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateFile.h"
#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {
namespace {

constexpr const char* kName = "cvtagentd";

/// An absolute path from the environment, or no value.
std::string PathFrom(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value == '/' ? value : std::string();
}

[[noreturn]] void Fail(const std::string& what, const std::string& folder, const std::error_code& error) {
    FailToStart(
        what + " the state directory " + folder + ": " + error.message() + "; name a writable one with --state-dir",
        error.value());
}

void Create(const std::string& folder) {
    std::error_code error;
    if (std::filesystem::exists(folder, error)) {
        return;
    }
    const std::filesystem::path parent = std::filesystem::path(folder).parent_path();
    std::filesystem::create_directories(parent, error);
    if (error || !std::filesystem::create_directory(folder, error)) {
        Fail("cannot create", folder, error);
    }
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
}

/// The SNMP library makes these folders, or writes into them.
bool IsTheLibrarys(const std::string& folder) {
    return folder == "cert_indexes" || folder == "mib_indexes" || folder == StateFile::kStagingName;
}

/// Whether the directory's owner can be changed without taking anything from another user.
bool IsOursAlone(const struct stat& folder) {
    if (folder.st_uid != 0 || (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return false;
    }
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        if (entry.symlink_status().type() == std::filesystem::file_type::directory &&
            !IsTheLibrarys(entry.path().filename().string())) {
            return false;
        }
    }
    return true;
}

/// Another user may own the directory, and so control what the name refers to: a file with a second name could be any
/// of root's.
bool GiveFile(const std::filesystem::path& file, uid_t user, gid_t group) {
    const int fd = ::open(file.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return errno == ENOENT;
    }
    struct stat status {};
    bool worked = ::fstat(fd, &status) == 0;
    const bool whole = S_ISREG(status.st_mode) && status.st_nlink == 1;
    if (worked && status.st_uid == 0 && (whole || S_ISDIR(status.st_mode))) {
        worked = ::fchownat(fd, "", user, group, AT_EMPTY_PATH) == 0;
    }
    const int error = errno;
    ::close(fd);
    errno = error;
    return worked;
}

void GiveFiles(uid_t user, gid_t group) {
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        if (!GiveFile(entry.path(), user, group)) {
            Fail("cannot change the owner of files in", StateDir::Path(), {errno, std::generic_category()});
        }
    }
}

/// The answer of access(2) is unreliable for root, and on some file systems.
void CheckWritable() {
    std::string probe = "./.cvtagentd-XXXXXX";
    const int fd = ::mkostemp(probe.data(), O_CLOEXEC);
    if (fd < 0) {
        Fail("cannot write to", StateDir::Path(), {errno, std::generic_category()});
    }
    ::close(fd);
    ::unlink(probe.c_str());
}

/// The directory holds directives that the library obeys, and keys.
void RequireClosedToStrangers() {
    struct stat status {};
    if (::stat(".", &status) == 0 && (status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0) {
        throw ConfigError("everybody can write to the state directory " + StateDir::Path() +
                          "; remove that permission (chmod 700), or name another one with --state-dir");
    }
}

/// Whether this process can use a file of the agent or of a module, or a folder of the library. Files with a second
/// name are left to those who open them: the name may mean any file.
bool IsUsable(const std::filesystem::path& file, const struct stat& status) {
    if (S_ISDIR(status.st_mode)) {
        return !IsTheLibrarys(file.filename().string()) || ::access(file.c_str(), R_OK | W_OK | X_OK) == 0;
    }
    return !S_ISREG(status.st_mode) || status.st_nlink > 1 || ::access(file.c_str(), R_OK) == 0;
}

/// An agent that another user, such as root, has tried out in this directory leaves files behind that keep this one
/// from its keys and values.
void RequireUsableFiles() {
    std::string files;
    uid_t owner = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(".", error)) {
        struct stat status {};
        if (::lstat(entry.path().c_str(), &status) == 0 && status.st_uid != ::geteuid() &&
            !IsUsable(entry.path(), status)) {
            files.append(" ").append(StateDir::Path()).append("/").append(entry.path().filename().string());
            owner = status.st_uid;
        }
    }
    if (!files.empty()) {
        const std::string us = Users::WithId(::geteuid()).Label();
        throw ConfigError("cannot read what the user " + Users::WithId(owner).Label() +
                          " has left in the state directory; give it to the user who runs the agent (chown -R " + us +
                          files + "), or name another directory with --state-dir");
    }
}

/// Only root controls what is in the directory.
void RequireRootsAlone() {
    for (const char* const name : {".", StateFile::kName}) {
        struct stat status {};
        if (::lstat(name, &status) != 0) {
            continue;
        }
        if (status.st_uid != 0) {
            throw ConfigError("the state directory " + StateDir::Path() + " belongs to the user " +
                              Users::WithId(status.st_uid).Label() +
                              "; run the agent as that user (--user), or name another directory with --state-dir");
        }
        if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
            const bool isShared = (status.st_mode & S_ISVTX) != 0;  // such as /tmp, whose permissions must stay
            throw ConfigError("users other than root can write to the state directory " + StateDir::Path() +
                              (isShared
                                   ? "; name another one with --state-dir"
                                   : "; remove that permission (chmod 700), or name another one with --state-dir"));
        }
    }
}

}  // namespace

std::string StateDir::Default() {
    if (const std::string list = PathFrom("STATE_DIRECTORY"); !list.empty()) {
        return list.substr(0, list.find(':'));
    }
    if (::geteuid() == 0) {
        return std::string("/var/lib/") + kName;
    }
    if (const std::string states = PathFrom("XDG_STATE_HOME"); !states.empty()) {
        return states + "/" + kName;
    }
    if (const std::string home = PathFrom("HOME"); !home.empty()) {
        return home + "/.local/state/" + kName;
    }
    throw ConfigError("there is no home directory to keep the state in: name a state directory with --state-dir");
}

void StateDir::Enter(const std::string& folder, bool mayCreate) {
    std::string chosen = folder;
    if (chosen.empty()) {
        chosen = Default();
        if (mayCreate) {
            Create(chosen);
        }
    }
    if (::chdir(chosen.c_str()) != 0) {
        Fail("cannot use", chosen, {errno, std::generic_category()});
    }
    if (Path().find(':') != std::string::npos) {
        throw ConfigError("the state directory " + Path() +
                          " has a colon in its name, which the SNMP library cannot handle; name another one with "
                          "--state-dir");
    }
}

std::string StateDir::Path() {
    std::error_code ignored;
    return std::filesystem::current_path(ignored).string();
}

void StateDir::GiveTo(uid_t user, gid_t group) {
    struct stat folder {};
    if (::stat(".", &folder) != 0) {
        Fail("cannot use", Path(), {errno, std::generic_category()});
    }
    if (folder.st_uid != user) {
        if (!IsOursAlone(folder)) {
            return;
        }
        if (::chown(".", user, group) != 0) {
            Fail("cannot change the owner of", Path(), {errno, std::generic_category()});
        }
    }
    GiveFiles(user, group);
}

void StateDir::CheckUsable() {
    if (::geteuid() == 0) {
        RequireRootsAlone();
    }
    RequireClosedToStrangers();
    CheckWritable();
    RequireUsableFiles();
    if (::access(StateFile::kName, R_OK) != 0 && errno != ENOENT) {
        throw ConfigError(
            "cannot read " + Path() + "/" + StateFile::kName + ": " + std::generic_category().message(errno) +
            "; give it to the user who runs the agent (chown), or name another directory with --state-dir");
    }
}

int StateDir::Sync() {
    const int folder = ::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int error = folder >= 0 && ::fsync(folder) == 0 ? 0 : errno;
    if (folder >= 0) {
        ::close(folder);
    }
    return error == EINVAL ? 0 : error;
}

bool StateDir::IsGone() {
    struct stat status {};
    return ::stat(".", &status) == 0 && status.st_nlink == 0;
}

void StateDir::WarnIfGone() {
    if (IsGone()) {
        Log::Warning(
            "the state directory has been removed, so no state is kept; create it again and restart the agent");
    }
}

}  // namespace cvtagentd
