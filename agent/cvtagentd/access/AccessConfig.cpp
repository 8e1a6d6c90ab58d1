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
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/access/ConfigFiles.h"
#include "agent/cvtagentd/access/ConfigLine.h"
#include "agent/cvtagentd/access/ConfigReview.h"
#include "agent/cvtagentd/access/FaultAdvice.h"
#include "agent/cvtagentd/access/ModuleFiles.h"
#include "agent/cvtagentd/access/UnsafeLines.h"
#include "agent/cvtagentd/process/Privileges.h"
#include "agent/cvtagentd/process/ReadableFile.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateFile.h"
#include "agent/cvtagentd/process/Users.h"
#include "agent/cvtagentd/snmp/ListenAddress.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"

namespace cvtagentd {
namespace {

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

/// Starts this program as a child that writes faults and remarks to `pipe`. Returns false when the system refuses.
bool SpawnCheck(const std::string& file, int pipe, pid_t& child) {
    std::array<std::string, 5> words = {"cvtagentd", "--check-config", file, "--state-dir", "."};
    std::array<char*, words.size() + 1> arguments{};
    std::transform(words.begin(), words.end(), arguments.begin(), [](std::string& word) { return word.data(); });

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
    const std::string program = "cvtagentd: ";  // before a fault, and before no remark
    for (std::string line; std::getline(said, line);) {
        if (const std::size_t at = line.find(program); at != std::string::npos && status != 0) {
            faults.push_back(line.substr(at + program.size()));
        }
    }
    if (faults.empty() && status != 0) {
        faults.push_back("cannot check the configuration " + file);
    }
    return faults;
}

/// Where the packaged unit looks.
constexpr const char* kServiceFile = CVHOST_SYSCONFDIR "/cvtagentd.conf";

/// Makes the state directory the working directory, where includeSearch looks. Returns false when there is none.
bool EnterState(const std::string& folder) {
    if (!folder.empty()) {
        StateDir::Enter(folder);
        return true;
    }
    try {
        return ::chdir(StateDir::Default().c_str()) == 0;
    } catch (const StartError&) {  // a user without a home
        return false;
    }
}

/// For root.
void BecomeOwnerOfWorkingDirectory() {
    struct stat folder {};
    if (::geteuid() == 0 && ::stat(".", &folder) == 0 && folder.st_uid != 0) {
        Privileges::Become(Users::WithId(folder.st_uid));
        Privileges::GiveUpPorts();
    }
}

std::string At(const std::string& file, int line) { return file + ": line " + std::to_string(line) + ": "; }

/// The directives of the file and of those that it includes, by file.
using FilesLines = std::vector<std::pair<std::string, std::vector<ConfigLine>>>;

FilesLines LinesFrom(const std::string& file) {
    FilesLines lines;
    for (const std::string& name : ConfigFiles::From(file)) {
        std::error_code error;
        if (std::filesystem::is_regular_file(name, error)) {
            lines.emplace_back(name, ConfigLine::AllOf(name));
        }
    }
    return lines;
}

/// Whether the state directory matters for what the file says.
bool Searches(const std::string& file) {
    const FilesLines all = LinesFrom(file);
    return std::any_of(all.begin(), all.end(), [](const auto& lines) {
        return std::any_of(lines.second.begin(), lines.second.end(),
                           [](const ConfigLine& line) { return line.directive == "includesearch"; });
    });
}

/// The library reads its own files in the state directory as well when it searches there.
bool IsStateUsable() {
    return StateFile::WhyDamaged().empty() && ConfigFiles::WhyNotTrusted(kStateFile, ConfigFiles::InState()).empty();
}

/// Removes the empty folder that the library makes in the working directory while it starts, unless it was there.
class KeepFolderAsItIs {
public:
    KeepFolderAsItIs() : m_isThere(::access(kMade, F_OK) == 0) {}
    ~KeepFolderAsItIs() {
        if (!m_isThere) {
            ::rmdir(kMade);
        }
    }
    KeepFolderAsItIs(const KeepFolderAsItIs&) = delete;
    KeepFolderAsItIs& operator=(const KeepFolderAsItIs&) = delete;

private:
    static constexpr const char* kMade = "cert_indexes";

    const bool m_isThere;
};

/// The beginning of a message about the line that names this address.
std::string PlaceOf(const std::string& address, const std::string& file) {
    for (const auto& [name, lines] : LinesFrom(file)) {
        for (const ConfigLine& line : lines) {
            const auto names = [&](const std::string& word) { return word.find(address) != std::string::npos; };
            if (line.directive == "agentaddress" && std::any_of(line.words.begin(), line.words.end(), names)) {
                return At(name, line.number);
            }
        }
    }
    return file + ": ";
}

/// What depends on the host is no fault: it must not keep a reload, which opens no address, from taking access away.
void AppendAddresses(const std::string& file, std::vector<std::string>& faults, std::vector<std::string>& remarks) {
    std::set<std::string> seen;
    for (const std::string& address : SnmpLibrary::ConfiguredAddresses()) {
        if (!seen.insert(address).second) {
            faults.push_back(PlaceOf(address, file) + "Error: agentaddress names " + address + " twice; remove one");
            continue;
        }
        bool mayPass = false;
        if (const std::string why = ListenAddress::WhyNot(address, mayPass); !why.empty()) {
            std::string& message = (mayPass ? remarks : faults).emplace_back(PlaceOf(address, file));
            message.append(mayPass ? "for now, the agent cannot listen on " : "Error: cannot listen on ");
            message.append(address).append(": ").append(why);
        }
    }
}

/// Sorts messages by file, in the order in which the files are included, and by line; those without a line come last.
template <class Message, class TextOf>
void SortByLine(const std::string& file, std::vector<Message>& messages, TextOf textOf) {
    const std::vector<std::string> files = ConfigFiles::From(file);
    const auto place = [&](const Message& message) {
        const std::string& text = textOf(message);
        for (std::size_t at = 0; at < files.size(); ++at) {
            const std::string begin = files[at] + ": line ";
            if (text.starts_with(begin)) {
                return std::pair(at, std::atoi(text.c_str() + begin.size()));
            }
        }
        return std::pair(files.size(), 0);
    };
    std::stable_sort(messages.begin(), messages.end(),
                     [&](const Message& a, const Message& b) { return place(a) < place(b); });
}

void Append(const std::vector<std::string>& more, std::vector<std::string>& list) {
    list.insert(list.end(), more.begin(), more.end());
}

/// What --check-config prints: faults begin with the program's name, as an agent that does not start prints them.
void Print(const std::string& file, const std::vector<std::string>& faults, const std::vector<std::string>& remarks) {
    struct Finding {
        std::string text;
        bool isFault;
    };
    std::vector<Finding> findings;
    findings.reserve(faults.size() + remarks.size());
    for (const std::string& fault : faults) {
        findings.push_back({fault, true});
    }
    for (const std::string& remark : remarks) {
        findings.push_back({remark, false});
    }
    SortByLine(file, findings, [](const Finding& finding) -> const std::string& { return finding.text; });
    for (const Finding& finding : findings) {
        if (finding.isFault) {
            Log::Fatal(finding.text);
        } else {
            std::fputs((finding.text + "\n").c_str(), stderr);
        }
    }
    if (faults.empty()) {
        std::fputs((file + ": no faults\n").c_str(), stderr);
    }
}

}  // namespace

std::vector<std::string> AccessConfig::BuiltIn() { return {"rocommunity public 127.0.0.1", "rocommunity6 public ::1"}; }

std::string AccessConfig::WhyNotToRead(const std::string& file) {
    const std::string why = ReadableFile::WhyNot(file);
    return why.empty() ? ConfigFiles::WhyNotTrusted(kConfiguration, ConfigFiles::From(file)) : why;
}

void AccessConfig::RequireTrusted(const std::string& file) {
    if (file.empty()) {
        return;
    }
    if (const std::string why = WhyNotToRead(file); !why.empty()) {
        throw ConfigError(why);
    }
    if (const std::vector<std::string> faults = UnsafeLines::In(file); !faults.empty()) {
        throw ConfigError(Summary(file, faults));
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
    std::for_each(faults.begin(), faults.end(), &FaultAdvice::AddTo);
    Append(ConfigReview::Of(file).faults, faults);
    Append(ModuleFiles::ReadFolder(file), faults);
    SortByLine(file, faults, [](const std::string& fault) -> const std::string& { return fault; });
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
        const std::size_t at = fault.find(FaultAdvice::kUnknownDirective);
        if (at == std::string::npos) {
            return false;
        }
        names.insert(fault.substr(at + FaultAdvice::kUnknownDirective.size()));
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

int AccessConfig::Check(const CheckRequest& request) {
    const bool hasState = EnterState(request.stateDir);
    const std::string file = request.file.empty() ? kServiceFile : request.file;
    std::vector<std::string> faults;
    std::vector<std::string> remarks;
    if (request.file.empty() && hasState) {
        BecomeOwnerOfWorkingDirectory();
    } else if (const std::string remark = BecomeOwnerOf(file); !remark.empty()) {
        remarks.push_back(remark);
    }
    if (const std::string why = WhyNotToRead(file); !why.empty()) {
        faults.push_back(why);
    } else if (faults = UnsafeLines::In(file); !faults.empty()) {  // not for the library to read
        Append(ConfigReview::Of(file).faults, faults);
    } else {
        SnmpLibrary::Setup setup{file};
        if (hasState && Searches(file) && IsStateUsable()) {
            setup.state = SnmpLibrary::State::kSearched;
        }
        setup.beforeConfiguration = request.beforeConfiguration;
        setup.crashStatus = ExitStatus::kFailed;
        ModuleFiles::TryEach();
        const KeepFolderAsItIs folder;
        const SnmpLibrary library(setup);
        faults = AllFaults(file, library.Messages());
        AppendAddresses(file, faults, remarks);
    }
    Append(ConfigReview::Of(file).remarks, remarks);
    Print(file, faults, remarks);
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
    } else if (Searches(file)) {
        // The library would search the state directory only together with its own state, and so count another start.
        faults.push_back(file + ": includeSearch takes effect only at a start; restart the agent, or use includeFile");
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
