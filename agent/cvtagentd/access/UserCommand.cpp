#include "agent/cvtagentd/access/UserCommand.h"

#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include "agent/cvtagentd/access/AccessConfig.h"
#include "agent/cvtagentd/access/ConfigLine.h"
#include "agent/cvtagentd/access/UserChanges.h"
#include "agent/cvtagentd/access/UserLine.h"
#include "agent/cvtagentd/process/Privileges.h"
#include "agent/cvtagentd/process/ReadableFile.h"
#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/process/StateDir.h"
#include "agent/cvtagentd/process/StateFile.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/SnmpLibrary.h"
#include "agent/cvtagentd/snmp/StateStore.h"

namespace cvtagentd {
namespace {

constexpr std::size_t kLongestName = 32;  // SnmpAdminString (SIZE(1..32))

/// How long the agent may take to take a change in before the command goes without.
constexpr int kPollMs = 20;
constexpr int kPolls = 250;

/// How long another command may hold the state.
constexpr int kLockPauseMs = 10;
constexpr int kLockTries = 200;

/// For root: another user's state is read and written as that user. The files stay that user's, and root neither obeys
/// them nor follows a link that the user may have placed there.
void BecomeOwnerOfState() {
    struct stat folder {};
    if (::geteuid() == 0 && ::stat(".", &folder) == 0 && folder.st_uid != 0) {
        StateDir::GiveTo(folder.st_uid, folder.st_gid);
        Privileges::Become({{}, folder.st_uid, folder.st_gid});
        Privileges::GiveUpPorts();
    }
}

bool IsKnownToLibrary(const StateContent::User& user) {
    return ::usm_get_user(reinterpret_cast<const u_char*>(user.engine.data()), user.engine.size(), user.name.c_str()) !=
           nullptr;
}

/// Whether the agent has the user, or will have it once it has taken in these changes.
bool Exists(const StateContent::User& user, const StateContent& state, const UserChanges::Lines& changes) {
    const auto change = changes.find(user);
    return change != changes.end() ? !change->second.empty() : state.NonVolatileUsers().count(user) != 0;
}

/// Locks the state, or returns the agent that has locked it. Waits for another command, which
/// holds the lock for a moment only.
std::optional<StateLock::Agent> LockOrFindAgent(std::optional<StateLock>& lock) {
    for (int tries = 1;; ++tries) {
        try {
            lock.emplace(StateLock::Holder::kCommand);
            return std::nullopt;
        } catch (const StateInUse&) {
            if (auto agent = StateLock::FindAgent(); agent) {
                return agent;
            }
            if (tries == kLockTries) {
                throw;
            }
        }
        ::poll(nullptr, 0, kLockPauseMs);
    }
}

std::string Label(const StateLock::Agent& agent) {
    return agent.pid > 0 ? "the agent (process " + std::to_string(agent.pid) + ")" : "the agent";
}

}  // namespace

std::string UserCommand::WhyNotAName(const std::string& name) {
    const bool plain = std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return c > ' ' && c < 0x7F && c != '"' && c != '\'' && c != '\\' && c != '#';
    });
    if (plain && !name.empty() && name.size() <= kLongestName && name.front() != '-') {
        return {};
    }
    return "the name of an SNMPv3 user has 1 to 32 letters, digits or punctuation marks: no space, quote, backslash or "
           "#, and no leading -; \"" +
           name + "\" is not such a name";
}

int UserCommand::Run() {
    StateDir::Enter(m_request.stateDir, m_request.kind == Kind::kCreate);
    BecomeOwnerOfState();
    ReadableFile::Require(m_request.configFile);
    StateDir::CheckUsable();
    if (m_request.kind == Kind::kList) {
        List();
        return EXIT_SUCCESS;
    }
    if (m_request.kind != Kind::kDelete) {
        if (const int status = CheckFirst(); status != EXIT_SUCCESS) {
            return status;
        }
        m_phrases.emplace(PassPhrases{PassPhrase::Read("authentication"), PassPhrase::Read("privacy")});
    }
    Report(Change());
    return EXIT_SUCCESS;
}

/// So that nobody types a pass phrase in vain, and nobody waits for a person who types, the state is locked for the
/// checks, and again, with the same checks, for the change. A child process makes the first checks, since the SNMP
/// library can be initialised only once in a process. Returns the exit status; unless it is 0, the child has said why.
int UserCommand::CheckFirst() const {
    const pid_t child = ::fork();
    if (child < 0) {
        throw StartError("cannot start a process: " + std::generic_category().message(errno) + "; try again");
    }
    if (child == 0) {
        Change();  // what it throws ends the child as it would end this process
        std::_Exit(EXIT_SUCCESS);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status)) {
        throw StartError("the check of the state was interrupted; nothing is changed; try again");
    }
    return WEXITSTATUS(status);
}

std::string UserCommand::Change() const {
    std::optional<StateLock> lock;
    if (const auto agent = LockOrFindAgent(lock); agent) {
        return LeaveFor(*agent);
    }
    ChangeState();
    return {};
}

void UserCommand::ChangeState() const {
    AccessConfig::RequireTrusted(m_request.configFile);
    AccessConfig::RequireTrustedState();
    // The first user may be added before any access is granted. That is not a fault here, hence the built-in access.
    const SnmpLibrary library({m_request.configFile, SnmpLibrary::State::kWorkingDirectory, AccessConfig::BuiltIn(),
                               m_request.beforeConfiguration});
    AccessConfig::RequireFaultless(m_request.configFile, library.Messages());
    UserChanges changes(UserChanges::For::kTakingIn);
    StateContent::Users deleted = changes.ApplyAll();
    const StateContent::User user{StateStore::EngineId(), m_request.name};
    if (user.engine.empty()) {
        throw StartError("the SNMP library has no engine identifier; check engineID in the configuration");
    }
    CheckExistence(IsKnownToLibrary(user));
    RefuseUserOfConfiguration();
    if (IsOnlyCheck()) {
        return;
    }
    std::string line = LineFor(user);
    UserChanges::Apply(user, line);
    ::explicit_bzero(line.data(), line.size());
    if (m_request.kind == Kind::kDelete) {
        deleted.insert(user);
    }
    SnmpLibrary::Store(deleted);
    changes.WarnOfDropped();
    changes.Discard();
}

/// Returns what became of the change.
std::string UserCommand::LeaveFor(const StateLock::Agent& agent) const {
    if (agent.isSubagent) {
        throw StartError(Label(agent) + " that uses the state directory " + StateDir::Path() +
                         " serves through a master, which has users of its own; change them there");
    }
    AccessConfig::RequireTrustedState();
    const StateContent state = StateFile::Content();
    const StateContent::User user{state.EngineId(), m_request.name};
    CheckExistence(Exists(user, state, UserChanges::Look()));
    RefuseUserOfConfiguration();
    if (IsOnlyCheck()) {
        return {};
    }
    const SnmpLibrary cryptography({});
    std::string line = LineFor(user);
    {
        UserChanges changes(UserChanges::For::kAdding);
        CheckExistence(Exists(user, StateFile::Content(), changes.All()));  // another command may have been quicker
        changes.Add(user, line);
    }
    ::explicit_bzero(line.data(), line.size());
    if (!StateLock::TellToReload(agent)) {
        return "; it waits there until " + Label(agent) + " is told to reload (SIGHUP, systemctl reload cvtagentd)";
    }
    if (!IsTakenIn(user)) {
        return "; " + Label(agent) + " was told to reload, and has not taken it in yet: see its log";
    }
    return "; " + Label(agent) + " was told to reload, and has taken it in";
}

bool UserCommand::IsTakenIn(const StateContent::User& user) const {
    for (int polls = 0; polls < kPolls; ++polls) {
        if (UserChanges::Look().count(user) == 0) {
            return true;
        }
        ::poll(nullptr, 0, kPollMs);
    }
    return false;
}

bool UserCommand::IsOnlyCheck() const { return m_request.kind != Kind::kDelete && !m_phrases; }

std::string UserCommand::LineFor(const StateContent::User& user) const {
    return m_phrases ? UserLine::For(user, m_phrases->authentication, m_phrases->privacy) : std::string();
}

void UserCommand::Report(const std::string& how) const {
    const std::string& name = m_request.name;
    std::string text = m_request.kind == Kind::kDelete   ? "deleted the user " + name
                       : m_request.kind == Kind::kChange ? "changed the user " + name + " (SHA-256, AES)"
                                                         : "added the user " + name + " (SHA-256, AES)";
    text += " in " + StateDir::Path() + how;
    if (m_request.kind == Kind::kCreate) {
        text += "; to give it read access, add this line to the configuration and ";
        text += how.empty() ? "start the agent" : "reload";
        text += ": rouser " + name + " authpriv";
    }
    std::puts(text.c_str());
}

void UserCommand::List() {
    const bool isNew = ::access(StateFile::kName, F_OK) != 0;
    const StateContent state = isNew ? StateContent(std::string_view()) : StateFile::Content();
    const UserChanges::Lines changes = UserChanges::Look();
    StateContent::Users users = state.NonVolatileUsers();
    for (const auto& [user, line] : changes) {
        users.insert(user);
    }
    std::printf("users in %s:\n", StateDir::Path().c_str());
    for (const StateContent::User& user : users) {
        if (user.engine != state.EngineId()) {  // for messages to other engines
            continue;
        }
        const auto change = changes.find(user);
        const auto known = state.MethodsOfUsers().find(user);
        StateContent::Methods methods{"SHA-256", "AES"};
        const char* remark = "";
        if (known != state.MethodsOfUsers().end()) {
            methods = known->second;
        }
        if (change != changes.end()) {
            remark = change->second.empty()                  ? "  deleted at the agent's next reload"
                     : known == state.MethodsOfUsers().end() ? "  added at the agent's next reload"
                                                             : "  changed at the agent's next reload";
        }
        std::printf("%-32s  %-8s  %-8s%s\n", user.name.c_str(), methods.authentication.c_str(), methods.privacy.c_str(),
                    remark);
    }
}

void UserCommand::CheckExistence(bool exists) const {
    if (m_request.kind == Kind::kCreate && exists) {
        throw StartError("the user " + m_request.name +
                         " already exists; nothing is changed (choose another name, or use --change-user)");
    }
    if (m_request.kind != Kind::kCreate && !exists) {
        throw StartError("there is no user " + m_request.name + " in " + StateDir::Path() +
                         "; nothing is changed (--list-users lists those that exist)");
    }
}

/// A change of such a user would last until the configuration is read again.
void UserCommand::RefuseUserOfConfiguration() const {
    if (m_request.configFile.empty()) {
        return;
    }
    for (const ConfigLine& line : ConfigLine::AllOf(m_request.configFile)) {
        const std::size_t place = !line.words.empty() && line.words.front() == "-e" ? 2 : 0;  // after an engine
        if (line.directive == "createuser" && place < line.words.size() && line.words[place] == m_request.name) {
            throw StartError(m_request.configFile + ": line " + std::to_string(line.number) + ": creates the user " +
                             m_request.name + "; change or remove that line instead (nothing is changed)");
        }
    }
}

}  // namespace cvtagentd
