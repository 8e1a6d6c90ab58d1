#include "agent/cvtagentd/process/StateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "agent/cvtagentd/process/Log.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"

namespace cvtagentd {
namespace {

const std::string kStagedFile = std::string(StateFile::kStagingName) + "/" + StateFile::kName;

/// The library's backups are cvtagentd.0.conf to cvtagentd.9.conf.
constexpr int kMostBackups = 10;

/// A user takes some 300 octets.
constexpr std::size_t kLongestFile = std::size_t{64} << 20;

/// Beyond what is in the file: room for a user or two, and for what a file system rounds up to.
constexpr std::size_t kSpareRoom = 8192;

class Descriptor {
public:
    Descriptor(const std::string& file, int flags, mode_t mode = 0)
        : m_fd(::open(file.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode)) {}
    ~Descriptor() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_fd; }

private:
    const int m_fd;
};

std::string Message(int error) { return std::generic_category().message(error); }

std::string PathOf(const std::string& name) { return StateDir::Path() + "/" + name; }

std::string BackupName(int number) { return "cvtagentd." + std::to_string(number) + ".conf"; }

std::size_t SizeOf(const std::string& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    return error ? 0 : static_cast<std::size_t>(size);
}

/// A file as found on disk.
struct Found {
    bool isThere = false;
    bool isOurs = false;  ///< belongs to the user who runs the agent
    int error = 0;        ///< why it could not be read
    std::size_t size = 0;
    StateContent content{std::string_view()};

    bool IsComplete() const { return isThere && error == 0 && content.Fault().empty(); }
    std::string Fault() const { return error != 0 ? Message(error) : content.Fault(); }
};

Found Read(const std::string& file) {
    Found found;
    const Descriptor opened(file, O_RDONLY);
    struct stat status {};
    if (opened.Get() < 0 || ::fstat(opened.Get(), &status) != 0) {
        found.error = errno;
        found.isThere = found.error != ENOENT;
        return found;
    }
    found.isThere = true;
    found.isOurs = status.st_uid == ::geteuid();
    if (!S_ISREG(status.st_mode)) {
        found.error = EINVAL;
        return found;
    }
    std::string text;
    std::array<char, 16384> buffer;
    for (ssize_t count = 1; count > 0 && text.size() <= kLongestFile;) {
        count = ::read(opened.Get(), buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count < 0) {
            found.error = errno;
        }
    }
    if (text.size() > kLongestFile) {
        found.error = EFBIG;
    }
    found.size = text.size();
    found.content = StateContent(text);
    ::explicit_bzero(text.data(), text.size());
    ::explicit_bzero(buffer.data(), buffer.size());
    return found;
}

std::string DamageOf(const std::string& name, const Found& found) {
    return "the state file " + PathOf(name) + " is damaged (" + found.Fault() +
           "); put a complete copy of it back, or remove it and add its SNMPv3 users again with --create-user";
}

/// Whether the backup is complete and says more than `best`.
bool IsBetter(const Found& found, const Found& best) {
    const auto rank = [](const Found& f) {
        return std::pair(f.content.EngineBoots(), f.content.NonVolatileUsers().size());
    };
    return found.IsComplete() && found.isOurs && (!best.IsComplete() || rank(found) > rank(best));
}

void RemoveStaging() {
    std::error_code ignored;
    std::filesystem::remove_all(StateFile::kStagingName, ignored);
}

void RemoveBackups() {
    for (int number = 0; number < kMostBackups; ++number) {
        const std::string name = BackupName(number);
        if (::unlink(name.c_str()) != 0 && errno != ENOENT) {
            const int error = errno;
            throw StartError("cannot remove the old state file " + PathOf(name) + ": " + Message(error) +
                             "; remove it by hand");
        }
    }
}

/// Returns the errno of writing a file of `size` octets into the staging folder; 0 on success.
int TryToWrite(std::size_t size) {
    const std::string name = std::string(StateFile::kStagingName) + "/probe";
    const Descriptor file(name, O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (file.Get() < 0) {
        return errno;
    }
    const std::string text(4096, '#');
    int error = 0;
    for (std::size_t written = 0; written < size && error == 0;) {
        const ssize_t count = ::write(file.Get(), text.data(), text.size());
        error = count < 0 ? errno : 0;
        written += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    if (error == 0 && ::fsync(file.Get()) != 0) {
        error = errno;
    }
    ::unlink(name.c_str());
    return error;
}

std::string Advice(int error) {
    switch (error) {
        case ENOSPC:
        case EDQUOT: return "; make room there";
        case EROFS: return "; mount the file system writable";
        case EACCES:
        case EPERM: return "; give the directory to the user who runs the agent (chown)";
        case EIO: return "; check the disk";
        default: return {};
    }
}

[[noreturn]] void Fail(const std::string& why) {
    throw StateNotStored("cannot store the SNMP engine's state in " + PathOf(StateFile::kName) + ": " + why);
}

[[noreturn]] void Fail(int error) { Fail(Message(error) + Advice(error)); }

std::string MissingUser(const StateContent::Users& wanted, const StateContent& content) {
    const StateContent::Users& users = content.NonVolatileUsers();
    const auto missing =
        std::find_if(wanted.begin(), wanted.end(), [&](const auto& user) { return !users.contains(user); });
    return missing == wanted.end() ? std::string() : missing->name;
}

/// Checks that the library has written all that it should.
void CheckStaged(const Found& staged, const StateContent::Users& users, const std::string& engineId) {
    const std::string missing = MissingUser(users, staged.content);
    if (staged.IsComplete() && missing.empty() && staged.content.EngineId() == engineId) {
        return;
    }
    const std::size_t size = std::max(staged.size, SizeOf(StateFile::kName)) + kSpareRoom;
    ::unlink(kStagedFile.c_str());
    if (const int error = TryToWrite(size); error != 0) {  // the library does not report its errors
        Fail(error);
    }
    if (!staged.IsComplete()) {
        Fail("what the SNMP library has written is incomplete (" + staged.Fault() + "); try again");
    }
    Fail(missing.empty() ? "what the SNMP library has written is not this engine's; try again"
                         : "the SNMP library has not written the user " + missing + "; try again");
}

/// Checks that nothing in the old file gets lost. If it is damaged now, the library read it before.
void CompareWithOld(const Found& staged, const StateContent::Users& removed) {
    const Found old = Read(StateFile::kName);
    if (!old.IsComplete()) {
        return;
    }
    StateContent::Users expected = old.content.NonVolatileUsers();
    for (const StateContent::User& user : removed) {
        expected.erase(user);
    }
    if (const std::string missing = MissingUser(expected, staged.content); !missing.empty()) {
        Fail("the file has the user " + missing +
             ", which this agent has not read; restart the agent, and change the file only while no agent runs");
    }
    if (old.content.EngineId() == staged.content.EngineId() &&
        old.content.EngineBoots() > staged.content.EngineBoots()) {
        Fail("the file has engineBoots " + std::to_string(old.content.EngineBoots()) + ", more than this agent's " +
             std::to_string(staged.content.EngineBoots()) + "; restart the agent");
    }
}

}  // namespace

void StateFile::Recover() {
    RemoveStaging();
    const Found found = Read(kName);
    if (found.IsComplete()) {
        RemoveBackups();
        return;
    }
    Found best;
    std::string bestName;
    std::optional<std::string> damage = found.isThere ? std::optional(DamageOf(kName, found)) : std::nullopt;
    for (int number = 0; number < kMostBackups; ++number) {
        const std::string name = BackupName(number);
        Found backup = Read(name);
        if (IsBetter(backup, best)) {
            best = std::move(backup);
            bestName = name;
        } else if (backup.isThere && !damage) {
            damage = DamageOf(name, backup);
        }
    }
    if (bestName.empty()) {
        if (damage) {
            throw ConfigError(*damage);
        }
        return;
    }
    if (const int error = ::rename(bestName.c_str(), kName) != 0 ? errno : StateDir::Sync(); error != 0) {
        throw StartError("cannot put the state file " + PathOf(bestName) + " in place of " + kName + ": " +
                         Message(error) + "; do it by hand");
    }
    Log::Warning("the state file " + PathOf(kName) +
                 (found.isThere ? " was damaged (" + found.Fault() + ")" : " was missing") + "; " + bestName +
                 ", which the agent had before, took its place");
    RemoveBackups();
}

std::string StateFile::WhyDamaged() {
    const Found found = Read(kName);
    return found.isThere && !found.IsComplete() ? DamageOf(kName, found) : std::string();
}

StateContent StateFile::Content() {
    const Found found = Read(kName);
    if (!found.isThere) {
        throw ConfigError("there is no state in " + PathOf(kName) + "; start the agent once, or look into its log");
    }
    if (!found.IsComplete()) {
        throw ConfigError(DamageOf(kName, found));
    }
    return found.content;
}

StateFile::Staging::Staging() {
    RemoveStaging();
    if (::mkdir(kStagingName, 0700) != 0) {
        if (errno == EEXIST) {
            Fail(PathOf(kStagingName) + " is in the way; remove it");
        }
        Fail(errno);
    }
}

StateFile::Staging::~Staging() { RemoveStaging(); }

std::string StateFile::Staging::Folder() const { return PathOf(kStagingName); }

void StateFile::Staging::Commit(const StateContent::Users& users, const std::string& engineId,
                                const StateContent::Users& removed) {
    const Found staged = Read(kStagedFile);
    CheckStaged(staged, users, engineId);
    CompareWithOld(staged, removed);
    {
        const Descriptor file(kStagedFile, O_RDONLY | O_NOFOLLOW);
        if (file.Get() < 0 || ::fchmod(file.Get(), 0600) != 0 || ::fsync(file.Get()) != 0) {
            Fail(errno);
        }
    }
    if (::rename(kStagedFile.c_str(), kName) != 0) {
        Fail(errno);
    }
    if (const int error = StateDir::Sync(); error != 0) {
        Fail(error);
    }
}

}  // namespace cvtagentd
