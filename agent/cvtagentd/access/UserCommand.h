#pragma once

#include <functional>
#include <string>
#include <utility>

#include "agent/cvtagentd/process/StateContent.h"
#include "agent/cvtagentd/process/StateLock.h"

namespace cvtagentd {

/// --create-user, --change-user, --delete-user and --list-users: the SNMPv3 users in the state directory, with SHA-256
/// and AES. Keys are stored, which are valid for this agent only, and not the pass phrases. While an agent uses the
/// directory, the change is left there for it (UserChanges), and it is told to reload; otherwise the state is changed
/// at once. One in a process.
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

    /// Returns the exit status. Throws StartError, with nothing changed, when the user exists already or does not
    /// exist, when another command or a subagent uses the directory, or when the pass phrases are not good enough.
    int Run() const;

private:
    void CheckName() const;
    void CheckExistence(bool exists) const;
    void RefuseUserOfConfiguration() const;
    std::string AskForLine(const StateContent::User& user) const;
    void ChangeState() const;
    std::string LeaveFor(const StateLock::Agent& agent) const;
    bool IsTakenIn(const StateContent::User& user) const;
    static void List();
    void Report(const std::string& how) const;

    const Request m_request;
};

}  // namespace cvtagentd
