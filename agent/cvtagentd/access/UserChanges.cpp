#include "agent/cvtagentd/access/UserChanges.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/cvtagentd/access/UserLine.h"
#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/TrustedFile.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/StateStore.h"

namespace cvtagentd {
namespace {

constexpr const char* kFreshName = "cvtagentd.users.new";
constexpr const char* kLockName = "cvtagentd.users.lock";
constexpr std::string_view kUser = "usmUser ";
constexpr std::string_view kDeleted = "deletedUser ";  // goes on like a line for the user
constexpr int kLockTries = 200;
constexpr int kLockPauseMs = 10;

std::string Path() { return StateDir::Path() + "/" + UserChanges::kName; }

std::string Message(int error) { return std::generic_category().message(error); }

bool IsThere() {
    struct stat status {};
    return ::lstat(UserChanges::kName, &status) == 0;
}

/// Whoever can open a file can lock it, so the lock is on a file that is closed to others, even where the directory is
/// not. It stays: removing it would let two processes lock two files of that name.
int OpenLock() {
    const std::string path = StateDir::Path() + "/" + kLockName;
    const int file = ::open(kLockName, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (file < 0 && errno != ELOOP) {
        const int error = errno;
        FailToStart("cannot open " + path + ", which locks the changes of users: " + Message(error) +
                        "; give it to the user who runs the agent (chown), or remove it",
                    error);
    }
    struct stat status {};
    const bool isClosed = file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
                          status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    if (!isClosed) {
        if (file >= 0) {
            ::close(file);
        }
        throw ConfigError("other users may be able to lock " + path +
                          ", which locks the changes of users; remove that file");
    }
    return file;
}

/// Commands hold the lock for as long as they write.
int Lock() {
    const int file = OpenLock();
    int error = EWOULDBLOCK;
    for (int tries = 0; tries < kLockTries && error == EWOULDBLOCK; ++tries) {
        if (::flock(file, LOCK_EX | LOCK_NB) == 0) {
            return file;
        }
        error = errno;
        ::poll(nullptr, 0, kLockPauseMs);
    }
    ::close(file);
    throw StartError("cannot lock the changes of users in " + StateDir::Path() + ": " +
                     (error == EWOULDBLOCK ? "another process is changing them" : Message(error)) + "; try again");
}

/// The user that a line of the library's is about.
StateContent::User UserOf(const std::string& line) {
    const StateContent content(line + "\n");
    return content.NonVolatileUsers().empty() ? StateContent::User{} : *content.NonVolatileUsers().begin();
}

[[noreturn]] void RefuseDamaged(const std::string& why) {
    throw ConfigError("the changes of users in " + Path() + " are damaged (" + why +
                      "); remove that file, and repeat the commands that changed users");
}

UserChanges::Lines Parse(const std::string& text) {
    if (const StateContent content(text); !content.Fault().empty()) {
        RefuseDamaged(content.Fault());
    }
    UserChanges::Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const bool isDeleted = line.starts_with(kDeleted);
        if (isDeleted) {
            line.replace(0, kDeleted.size(), kUser);
        }
        if (line.starts_with(kUser)) {
            const StateContent::User user = UserOf(line);
            if (user.name.empty()) {
                RefuseDamaged("a user is incomplete");
            }
            lines[user] = isDeleted ? std::string() : line;
        }
    }
    return lines;
}

/// A complete file ends as the library's state does, by which StateContent knows that nothing is cut off.
std::string TextOf(const UserChanges::Lines& lines) {
    std::string text = "# Changes of SNMPv3 users that the agent takes in at its next start or reload.\n";
    for (const auto& [user, line] : lines) {
        std::string whole = line.empty() ? UserLine::Without(user) : line;
        if (line.empty()) {
            whole.replace(0, kUser.size(), kDeleted);
        }
        text += whole + "\n";
    }
    return text + "engineBoots 0\noldEngineID " + UserLine::Hex(lines.begin()->first.engine) + "\n";
}

/// Returns 0, or errno. The file survives a crash when this has returned.
int WriteFresh(const std::string& text) {
    ::unlink(kFreshName);
    const int file = ::open(kFreshName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) {
        return errno;
    }
    errno = EIO;  // for a write that is cut short
    const bool whole =
        ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && ::fsync(file) == 0;
    const int error = whole ? 0 : errno;
    ::close(file);
    return error;
}

/// The file is checked by the descriptor that is read, since its name may stand for another one a moment later. Empty
/// when the file is not there any more.
std::string ReadChanges() {
    const int file = ::open(UserChanges::kName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    const int error = errno;
    if (file < 0 && error == ENOENT) {
        return {};
    }
    if (file < 0 && error != ELOOP) {
        throw ConfigError("cannot read the changes of users in " + Path() + ": " + Message(error));
    }
    struct stat status {};
    const bool isOwn = file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
                       (status.st_uid == 0 || status.st_uid == ::geteuid()) &&
                       (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    std::string text;
    std::array<char, 4096> piece{};
    for (ssize_t count = 0; isOwn && (count = ::read(file, piece.data(), piece.size())) > 0;) {
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    ::explicit_bzero(piece.data(), piece.size());
    if (file >= 0) {
        ::close(file);
    }
    if (!isOwn) {
        throw ConfigError("the changes of users in " + Path() + " are not a file of their own; remove it");
    }
    return text;
}

bool IsOwnEngine(const StateContent::User& user) { return user.engine == StateStore::EngineId(); }

}  // namespace

UserChanges::UserChanges(For purpose) : m_lock(purpose == For::kAdding || IsThere() ? Lock() : -1) {
    try {
        m_lines = Look();
    } catch (...) {
        Unlock();
        throw;
    }
}

UserChanges::~UserChanges() {
    for (auto& [user, line] : m_lines) {
        ::explicit_bzero(line.data(), line.size());
    }
    Unlock();
}

void UserChanges::Unlock() {
    if (m_lock >= 0) {
        ::close(m_lock);
        m_lock = -1;
    }
}

UserChanges::Lines UserChanges::Look() {
    if (!IsThere()) {
        return {};
    }
    if (const std::string why = TrustedFile::WhyNot("the changes of users in", Path()); !why.empty()) {
        throw ConfigError(why);
    }
    std::string text = ReadChanges();
    if (text.empty() && !IsThere()) {  // taken in meanwhile
        return {};
    }
    Lines lines = Parse(text);
    ::explicit_bzero(text.data(), text.size());
    return lines;
}

void UserChanges::Add(const StateContent::User& user, const std::string& line) {
    m_lines[user] = line;
    std::string text = TextOf(m_lines);
    int error = WriteFresh(text);
    ::explicit_bzero(text.data(), text.size());
    if (error == 0 && ::rename(kFreshName, kName) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(kFreshName);
        throw StartError("cannot write the changes of users to " + Path() + ": " + Message(error) +
                         "; nothing is changed");
    }
    StateDir::Sync();
}

void UserChanges::Apply(const StateContent::User& user, const std::string& line) {
    usmUser* const old =
        ::usm_get_user(reinterpret_cast<const u_char*>(user.engine.data()), user.engine.size(), user.name.c_str());
    if (old != nullptr) {
        ::usm_remove_user(old);
        ::usm_free_user(old);
    }
    if (!line.empty()) {
        std::string rest = line.substr(kUser.size());
        ::usm_parse_config_usmUser("usmUser", rest.data());
        ::explicit_bzero(rest.data(), rest.size());
    }
}

StateContent::Users UserChanges::ApplyAll() const {
    StateContent::Users deleted;
    for (const auto& [user, line] : m_lines) {
        if (line.empty()) {
            deleted.insert(user);
        }
        if (line.empty() || IsOwnEngine(user)) {
            Apply(user, line);
        }
    }
    return deleted;
}

void UserChanges::Report() const {
    for (const auto& [user, line] : m_lines) {
        if (line.empty()) {
            Log::Info("deleted the user " + user.name);
        } else if (IsOwnEngine(user)) {
            Log::Info("took in the keys of the user " + user.name);
        }
    }
    WarnOfDropped();
}

void UserChanges::WarnOfDropped() const {
    for (const auto& [user, line] : m_lines) {
        if (!line.empty() && !IsOwnEngine(user)) {
            Log::Warning("the engine identifier has changed since the keys of the user " + user.name +
                         " were made, so they were dropped; repeat the command that changed that user");
        }
    }
}

void UserChanges::Discard() {
    if (m_lock >= 0) {
        ::unlink(kName);
        StateDir::Sync();
    }
    Unlock();
}

}  // namespace cvtagentd
