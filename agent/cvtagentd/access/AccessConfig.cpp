#include "agent/cvtagentd/access/AccessConfig.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/access/ConfigFiles.h"
#include "agent/cvtagentd/access/ConfigReview.h"
#include "agent/cvtagentd/access/ModuleFiles.h"
#include "agent/cvtagentd/process/Privileges.h"
#include "agent/cvtagentd/process/ReadableFile.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateFile.h"
#include "agent/cvtagentd/process/Users.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"

namespace cvtagentd {
namespace {

constexpr std::string_view kUnknownDirective = "Unknown token: ";
constexpr const char* kConfiguration = "the configuration";
constexpr const char* kStateFile = "the state file";
constexpr const char* kNoAccess = "Warning: no access control information configured";

std::string SystemError(int error) { return std::generic_category().message(error); }

/// How long the child process may take to check a file. No request is answered meanwhile.
constexpr std::chrono::seconds kPatience{5};

/// Reads the pipe to its end. Returns false when the end does not come in time.
bool ReadAll(int pipe, std::string& text) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    std::array<char, 4096> buffer;
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        pollfd readable{pipe, POLLIN, 0};
        const int ready = left > 0 ? ::poll(&readable, 1, static_cast<int>(left)) : 0;
        if (ready == 0) {
            return false;
        }
        const ssize_t count = ready > 0 ? ::read(pipe, buffer.data(), buffer.size()) : -1;
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return true;
        }
    }
}

/// Starts this program as a child that writes standard error to `pipe` and discards its remarks. Returns false when the
/// system refuses.
bool SpawnCheck(const std::string& file, int pipe, pid_t& child) {
    std::string program = "cvtagentd";
    std::string option = "--check-config";
    std::string argument = file;
    std::array<char*, 4> arguments = {program.data(), option.data(), argument.data(), nullptr};

    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&files, pipe, STDERR_FILENO);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t none;
    ::sigemptyset(&none);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const int failed = ::posix_spawn(&child, "/proc/self/exe", &files, &attributes, arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return failed == 0;
}

/// Whether a directive names the user to run as. That has been decided before the file is read, since the file may
/// belong to that user.
bool IsUserNamed() {
    return ::netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_USERID) != 0 ||
           ::netsnmp_ds_get_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_GROUPID) != 0;
}

/// For root. Returns a remark when it has done so, otherwise an empty string.
std::string BecomeOwnerOf(const std::string& file) {
    struct stat status {};
    if (::geteuid() != 0 || ::stat(file.c_str(), &status) != 0 || status.st_uid == 0) {
        return {};
    }
    User owner = Users::WithId(status.st_uid);
    if (owner.name.empty()) {
        owner.gid = status.st_gid;
    }
    Privileges::Become(owner);
    Privileges::GiveUpPorts();
    return file + ": Note: belongs to the user " + owner.Label() +
           ", and was read as that user; only an agent that runs as " + owner.Label() + " accepts it";
}

/// The faults that a child process finds with --check-config. A file that is faulty, or even crashes the library, then
/// does no harm to the process that serves.
std::vector<std::string> FaultsFoundByChild(const std::string& file) {
    std::array<int, 2> ends{};
    pid_t child = 0;
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {"cannot check the configuration " + file + ": " + SystemError(errno)};
    }
    const bool started = SpawnCheck(file, ends[1], child);
    ::close(ends[1]);
    std::string text;
    const bool inTime = !started || ReadAll(ends[0], text);
    ::close(ends[0]);
    int status = -1;
    if (started) {
        if (!inTime) {
            ::kill(child, SIGKILL);
        }
        ::waitpid(child, &status, 0);
    }
    if (!inTime) {
        return {"checking the configuration " + file + " takes longer than " + std::to_string(kPatience.count()) +
                " s; look for an includeFile that is not a regular file"};
    }
    std::istringstream said(text);
    std::vector<std::string> faults;
    const std::string program = "cvtagentd: ";
    for (std::string line; std::getline(said, line);) {
        faults.push_back(line.starts_with(program) ? line.substr(program.size()) : line);
    }
    if (faults.empty() && status != 0) {
        faults.push_back("cannot check the configuration " + file);
    }
    return faults;
}

}  // namespace

std::vector<std::string> AccessConfig::BuiltIn() { return {"rocommunity public 127.0.0.1", "rocommunity6 public ::1"}; }

std::string AccessConfig::WhyNotToRead(const std::string& file) {
    const std::string why = ReadableFile::WhyNot(file);
    return why.empty() ? ConfigFiles::WhyNotTrusted(kConfiguration, ConfigFiles::From(file)) : why;
}

void AccessConfig::RequireTrusted(const std::string& file) {
    const std::string why = file.empty() ? std::string() : WhyNotToRead(file);
    if (!why.empty()) {
        throw ConfigError(why);
    }
}

void AccessConfig::RequireTrustedState() {
    if (const std::string why = ConfigFiles::WhyNotTrusted(kStateFile, ConfigFiles::InState()); !why.empty()) {
        throw ConfigError(why);
    }
}

std::vector<std::string> AccessConfig::Faults(const std::string& file, const std::vector<LibraryLog::Message>& said) {
    std::vector<std::string> faults;
    std::string reason;  // logged before the line that it belongs to
    bool noAccess = false;
    for (const LibraryLog::Message& message : said) {
        std::string fault = message.text;
        if (fault.starts_with(kNoAccess)) {
            noAccess = true;
            continue;
        }
        if (fault.find(": line ") == std::string::npos) {
            reason = fault;
            continue;
        }
        if (!reason.empty()) {
            fault += " (" + std::exchange(reason, {}) + ")";
        }
        if (std::find(faults.begin(), faults.end(), fault) == faults.end()) {  // the library reads the file twice
            faults.push_back(fault);
        }
    }
    if (!reason.empty()) {
        faults.push_back(reason);
    }
    if (noAccess && faults.empty()) {  // otherwise it follows from the faults
        faults.push_back(file + ": grants access to nobody; add a line such as \"rocommunity public 127.0.0.1\"");
    }
    if (IsUserNamed()) {
        faults.push_back(file +
                         ": agentuser and agentgroup take effect too late: remove them, and name the user with --user");
    }
    return faults;
}

std::vector<std::string> AccessConfig::AllFaults(const std::string& file,
                                                 const std::vector<LibraryLog::Message>& said) {
    std::vector<std::string> faults = Faults(file, said);
    const std::vector<std::string> more = ConfigReview::Of(file).faults;
    faults.insert(faults.end(), more.begin(), more.end());
    const std::vector<std::string> ofModules = ModuleFiles::ReadFolder(file);
    faults.insert(faults.end(), ofModules.begin(), ofModules.end());
    return faults;
}

void AccessConfig::RequireFaultless(const std::string& file, const std::vector<LibraryLog::Message>& said) {
    const std::string state = StateDir::Path() + "/";
    for (const LibraryLog::Message& message : said) {
        if (message.text.starts_with(state) && !message.text.starts_with(file + ":")) {
            throw ConfigError(message.text +
                              "; that file is in the state directory: remove the line, or restore a complete copy");
        }
    }
    if (const std::vector<std::string> faults = AllFaults(file, said); !faults.empty()) {
        throw ConfigError(Summary(file, faults));
    }
}

std::string AccessConfig::TakeUnknownDirectives(std::vector<std::string>& faults) {
    std::set<std::string> names;
    const auto take = [&](const std::string& fault) {
        const std::size_t at = fault.find(kUnknownDirective);
        if (at == std::string::npos) {
            return false;
        }
        names.insert(fault.substr(at + kUnknownDirective.size()));
        return true;
    };
    faults.erase(std::remove_if(faults.begin(), faults.end(), take), faults.end());
    return agent::Joined(names);
}

std::string AccessConfig::Summary(const std::string& file, const std::vector<std::string>& faults) {
    if (faults.size() == 1) {
        return faults.front();
    }
    return faults.front() + " (and more: cvtagentd --check-config " + file + " lists all)";
}

int AccessConfig::Check(const std::string& file, std::function<void()> beforeConfiguration) {
    const std::string remark = BecomeOwnerOf(file);
    std::vector<std::string> faults;
    if (const std::string why = WhyNotToRead(file); !why.empty()) {
        faults.push_back(why);
    } else {
        SnmpLibrary::Setup setup{file};
        setup.beforeConfiguration = std::move(beforeConfiguration);
        setup.crashStatus = ExitStatus::kFailed;
        faults = AllFaults(file, SnmpLibrary(setup).Messages());
    }
    for (const std::string& fault : faults) {
        Log::Fatal(fault);
    }
    if (!remark.empty()) {
        std::puts(remark.c_str());
    }
    for (const std::string& line : ConfigReview::Of(file).remarks) {
        std::puts(line.c_str());
    }
    if (faults.empty()) {
        std::puts((file + ": no faults").c_str());
    }
    return faults.empty() ? 0 : 1;
}

bool AccessConfig::Reload(const std::string& file) {
    if (file.empty()) {
        Log::Info("no configuration file to read again");
        return false;
    }
    std::vector<std::string> faults;
    if (const std::string why = WhyNotToRead(file); !why.empty()) {
        faults.push_back(why);
    } else if (const std::string damage = StateFile::WhyDamaged(); !damage.empty()) {  // the library reads it, too
        faults.push_back(damage);
    } else if (const std::string state = ConfigFiles::WhyNotTrusted(kStateFile, ConfigFiles::InState());
               !state.empty()) {  // the library reads it again, too
        faults.push_back(state);
    } else {
        faults = FaultsFoundByChild(file);
    }
    if (!faults.empty()) {
        Log::Error("the configuration stays as it was: " + Summary(file, faults));
        return false;
    }
    ::update_config();
    Log::Info("read the configuration " + file + " again");
    return true;
}

}  // namespace cvtagentd
