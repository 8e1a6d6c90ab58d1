#include "agent/cvtagentd/Options.h"

#include <getopt.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <set>
#include <string_view>

#include "agent/common/ExtensionModule.h"
#include "agent/common/OptionFault.h"
#include "agent/cvtagentd/access/UserCommand.h"
#include "agent/cvtagentd/agentx/MasterAddress.h"
#include "agent/cvtagentd/snmp/ListenAddress.h"

namespace cvtagentd {
namespace {

constexpr unsigned int kLongestTimeoutSeconds = 24 * 60 * 60;

enum Option : int {
    kModule = 1000,  // above every character
    kListen,
    kAgentx,
    kConfig,
    kStateDir,
    kUser,
    kTimeout,
    kLogLevel,
    kSyslog,
    kVersion,
    kHelp,
    kCheckConfig,
    kCreateUser,
    kChangeUser,
    kDeleteUser,
    kListUsers,
};

constexpr option kOptions[] = {
    {"module", required_argument, nullptr, kModule},
    {"listen", required_argument, nullptr, kListen},
    {"agentx", optional_argument, nullptr, kAgentx},
    {"config", required_argument, nullptr, kConfig},
    {"state-dir", required_argument, nullptr, kStateDir},
    {"user", required_argument, nullptr, kUser},
    {"timeout", required_argument, nullptr, kTimeout},
    {"log-level", required_argument, nullptr, kLogLevel},
    {"syslog", no_argument, nullptr, kSyslog},
    {"version", no_argument, nullptr, kVersion},
    {"help", no_argument, nullptr, kHelp},
    {"check-config", optional_argument, nullptr, kCheckConfig},
    {"create-user", required_argument, nullptr, kCreateUser},
    {"change-user", required_argument, nullptr, kChangeUser},
    {"delete-user", required_argument, nullptr, kDeleteUser},
    {"list-users", no_argument, nullptr, kListUsers},
    {nullptr, 0, nullptr, 0},
};

std::string Absolute(const char* file) { return std::filesystem::absolute(file).lexically_normal().string(); }

/// A name without a slash is left to the dynamic linker, as dlopen does.
std::string ModuleFile(const std::string& argument) {
    return argument.find('/') == std::string::npos ? argument : Absolute(argument.c_str());
}

std::string NotEmpty(const char* option, const char* argument) {
    if (*argument == '\0') {
        throw UsageError(std::string(option) + " needs a value that is not empty");
    }
    return argument;
}

void AddListener(const char* argument, std::vector<std::string>& addresses) {
    const std::string address = NotEmpty("--listen", argument);
    if (const std::string why = ListenAddress::WhyMalformed(address); !why.empty()) {
        const bool isList = address.find(',') != std::string::npos;
        throw UsageError("--listen " + address + ": " + (isList ? "one address only; repeat --listen for each" : why));
    }
    if (std::find(addresses.begin(), addresses.end(), address) != addresses.end()) {
        throw UsageError("--listen " + address + " is given twice; remove one");
    }
    addresses.push_back(address);
}

std::string Master(const char* argument) {
    std::string address = NotEmpty("--agentx=", argument);
    if (const std::string why = MasterAddress(address).WhyMalformed(); !why.empty()) {
        throw UsageError("--agentx=" + address + ": " + why);
    }
    return address;
}

unsigned int Seconds(std::string_view text) {
    unsigned int seconds = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, seconds);
    if (parsed.ec != std::errc() || parsed.ptr != end || seconds == 0 || seconds > kLongestTimeoutSeconds) {
        throw UsageError("--timeout needs a number of seconds from 1 to " + std::to_string(kLongestTimeoutSeconds) +
                         ", not \"" + std::string(text) + "\"");
    }
    return seconds;
}

LogLevel Level(const char* name) {
    const auto level = Log::LevelOf(name);
    if (!level) {
        throw UsageError("--log-level needs error, warning, info or debug, not \"" + std::string(name) + "\"");
    }
    return *level;
}

struct UserOption {
    int option;
    const char* name;
    Options::Action action;
};

constexpr UserOption kUserOptions[] = {
    {kCreateUser, "--create-user", Options::Action::kCreateUser},
    {kChangeUser, "--change-user", Options::Action::kChangeUser},
    {kDeleteUser, "--delete-user", Options::Action::kDeleteUser},
    {kListUsers, "--list-users", Options::Action::kListUsers},
};

void ApplyUserCommand(int option, const char* argument, Options& options) {
    for (const UserOption& command : kUserOptions) {
        if (command.option == option) {
            options.action = command.action;
            options.snmpUser = argument == nullptr ? "" : NotEmpty(command.name, argument);
        }
    }
    if (option == kCreateUser) {
        if (const std::string why = UserCommand::WhyNotAName(options.snmpUser); !why.empty()) {
            throw UsageError(why);
        }
    }
}

/// `argument` is the option's own, or null.
void Apply(int option, const char* argument, Options& options) {
    switch (option) {
        case kModule: options.modules.push_back(ModuleFile(NotEmpty("--module", argument))); break;
        case kListen: AddListener(argument, options.listen); break;
        case kConfig: options.config = Absolute(NotEmpty("--config", argument).c_str()); break;
        case kStateDir: options.stateDir = NotEmpty("--state-dir", argument); break;
        case kUser: options.user = NotEmpty("--user", argument); break;
        case kCreateUser:
        case kChangeUser:
        case kDeleteUser:
        case kListUsers: ApplyUserCommand(option, argument, options); break;
        case kTimeout: options.timeoutSeconds = Seconds(argument); break;
        case kLogLevel: options.logLevel = Level(argument); break;
        case kSyslog: options.syslog = true; break;
        case 'V':
        case kVersion: options.action = Options::Action::kShowVersion; break;
        case 'h':
        case kHelp: options.action = Options::Action::kShowHelp; break;
        case kCheckConfig:
            options.action = Options::Action::kCheckConfig;
            options.config = argument == nullptr ? "" : Absolute(NotEmpty("--check-config", argument).c_str());
            break;
        case kAgentx:
            options.subagent = true;
            options.master = argument == nullptr ? "" : Master(argument);
            break;
        default: break;
    }
}

/// An option that the chosen action would ignore is an error.
void CheckActions(const Options& options, std::set<int> seen) {
    if (options.action == Options::Action::kServe) {
        return;
    }
    const bool checks = seen.erase(kCheckConfig) != 0;
    seen.erase(kLogLevel);
    if (checks) {
        seen.erase(kStateDir);
        if (!seen.empty()) {
            throw UsageError("--check-config can be combined only with --state-dir");
        }
        return;
    }
    for (const UserOption& command : kUserOptions) {
        if (seen.erase(command.option) != 0) {
            seen.erase(kConfig);
            seen.erase(kStateDir);
            if (!seen.empty()) {
                throw UsageError(std::string(command.name) + " can be combined only with --config and --state-dir");
            }
        }
    }
}

}  // namespace

Options Options::Parse(int argc, char* const* argv) {
    Options options;
    std::set<int> seen;
    ::optind = 0;  // parse from the start on every call
    ::opterr = 0;
    for (;;) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): called before there is a second thread
        const int option = ::getopt_long(argc, argv, "+:hV", kOptions, nullptr);
        if (option == -1) {
            break;
        }
        if (option == ':' || option == '?') {
            throw UsageError(agent::OptionFault(option, argv, kOptions));
        }
        const char* argument = ::optarg;
        if (option == kCheckConfig && argument == nullptr && ::optind < argc && *argv[::optind] != '-') {
            argument = argv[::optind++];  // getopt leaves out the value of an option that needs none
        }
        Apply(option, argument, options);
        seen.insert(option);
        if (options.action == Action::kShowHelp || options.action == Action::kShowVersion) {
            return options;
        }
    }
    if (::optind < argc) {
        const std::string word = argv[::optind];
        const bool mayBeMaster = ::optind > 1 && std::string_view(argv[::optind - 1]) == "--agentx";
        throw UsageError("unexpected argument \"" + word + "\"" +
                         (mayBeMaster ? "; the address of a master follows an equals sign: --agentx=" + word : ""));
    }
    if (options.subagent && !options.listen.empty()) {
        throw UsageError("--listen and --agentx exclude each other: with --agentx the master listens");
    }
    CheckActions(options, seen);
    if (options.modules.empty()) {
        options.modules.push_back(agent::ExtensionModule::DefaultFile());
    }
    return options;
}

const char* Options::Help() {
    return R"(An SNMP agent that serves the objects of extension modules.

Usage: cvtagentd [OPTION]...
       cvtagentd --check-config [FILE] [--state-dir DIR]
       cvtagentd --create-user NAME | --change-user NAME | --delete-user NAME | --list-users
                 [--config FILE] [--state-dir DIR]

  --module FILE        an extension module to serve; may be repeated
                       (default: libCVHost.so.1, which comes with the agent)
  --listen ADDRESS     where to answer, such as udp:161 or udp6:[::1]:1161; may be repeated
                       (default: udp:127.0.0.1:1161)
  --agentx[=ADDRESS]   listen nowhere, and serve through the AgentX master at this address, such as
                       tcp:127.0.0.1:705 (default: agentXSocket in the configuration, or /var/agentx/master)
  --config FILE        who may do what: this file and no other
                       (default: community "public" from this host may read)
  --state-dir DIR      the working directory, where values and keys are kept
                       (default: $STATE_DIRECTORY, or /var/lib/cvtagentd for root,
                       or cvtagentd in $XDG_STATE_HOME or ~/.local/state)
  --user NAME          run as this user, with no more rights than modules need; for root
                       (default: the user who starts it)
  --timeout SECONDS    how long modules may take to initialise, and to close (default: 30)
  --log-level LEVEL    error, warning, info or debug (default: info)
  --syslog             log to syslog instead of standard error
  -V, --version        print the version
  -h, --help           print this text

  --check-config [FILE]
                       load FILE, print its faults and remarks in the order of its lines, and exit: status 0 when
                       there is no fault, otherwise 1 (default: the configuration of the installed service)
  --create-user NAME   add an SNMPv3 user, with SHA-256 and AES: asks for two pass phrases on the terminal, or
                       reads them as two lines of standard input
  --change-user NAME   give the user new pass phrases, in the same way
  --delete-user NAME   delete the user
  --list-users         list the users, and how their messages are protected

A change of users takes effect at once if the agent is running, otherwise at its next start.

SIGTERM and SIGINT end the agent; SIGHUP makes it read the configuration again.
Exit status: 0 after a clean end, 1 when it cannot start or close, 2 for a wrong command line, 78 when the
configuration, the state or a right is at fault, so that another attempt would fail, too.
)";
}

}  // namespace cvtagentd
