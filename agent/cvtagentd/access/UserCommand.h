#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "agent/cvtagentd/access/PassPhrase.h"
#include "agent/cvtagentd/process/StateContent.h"
#include "agent/cvtagentd/process/StateLock.h"

namespace cvtagentd {

/// --create-user, --change-user, --delete-user and --list-users: the SNMPv3 users in the state directory, with SHA-256
/// and AES. Keys are stored, which are valid for this agent only, and not the pass phrases. While an agent uses the
/// directory, the change is left there for it (UserChanges), and it is told to reload; otherwise the state is changed
/// at once. No lock is held while a person types pass phrases. One in a process, which has no other thread.
class UserCommand {
public:
    enum class Kind { kCreate, kChange, kDelete, kList };

    struct Request {
        Kind kind = Kind::kList;
        std::string name;                           ///< empty for kList
        std::string configFile;                     ///< may be empty
        std::string stateDir;                       ///< empty: StateDir's choice
        std::function<void()> beforeConfiguration;  ///< as in SnmpLibrary::Setup
    };

    explicit UserCommand(Request request) : m_request(std::move(request)) {}

    /// Why no user can be created under this name, which the configuration's directives must be able to hold, too.
    /// Empty when one can.
    static std::string WhyNotAName(const std::string& name);

    /// Returns the exit status. Throws StartError, with nothing changed, when the user exists already or does not
    /// exist, when another command or a subagent uses the directory, or when the pass phrases are not good enough.
    int Run();

private:
    struct PassPhrases {
        PassPhrase authentication;
        PassPhrase privacy;
    };

    void CheckExistence(bool exists) const;
    void RefuseUserOfConfiguration() const;
    int CheckFirst() const;
    /// Makes the change, and returns how it takes effect. While pass phrases that it needs are missing, it only checks
    /// whether it could.
    std::string Change() const;
    bool IsOnlyCheck() const;
    void ChangeState() const;
    std::string LeaveFor(const StateLock::Agent& agent) const;
    std::string LineFor(const StateContent::User& user) const;
    bool IsTakenIn(const StateContent::User& user) const;
    static void List();
    void Report(const std::string& how) const;

    const Request m_request;
    std::optional<PassPhrases> m_phrases;
};

}  // namespace cvtagentd
