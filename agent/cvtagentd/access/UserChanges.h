#pragma once

#include <map>
#include <string>

#include "agent/cvtagentd/process/StateContent.h"

namespace cvtagentd {

/// Changes of SNMPv3 users that commands have left in the state directory, the working directory, for the agent that
/// runs there: it takes them in at its next start or reload. The file is replaced as a whole and checked before it is
/// read; it holds keys, no pass phrases. Taking in a change twice is harmless, so it is removed only after the state
/// has been stored. Used by one thread; while an object has the file, no other process changes it.
class UserChanges {
public:
    static constexpr const char* kName = "cvtagentd.users";

    /// For each user the line that the SNMP library would keep for it; an empty one deletes the user.
    using Lines = std::map<StateContent::User, std::string>;

    enum class For { kTakingIn, kAdding };

    /// Reads the file. Waits for a command that is about to change it. For taking in, nothing is locked where there is
    /// no file. Throws ConfigError when the file is damaged or must not be obeyed, or when other users could hold the
    /// lock, and StartError when the lock cannot be had.
    explicit UserChanges(For purpose);
    ~UserChanges();
    UserChanges(const UserChanges&) = delete;
    UserChanges& operator=(const UserChanges&) = delete;

    /// What waits in the file at the moment. Throws ConfigError.
    static Lines Look();

    bool IsEmpty() const { return m_lines.empty(); }
    const Lines& All() const { return m_lines; }

    /// Replaces what was to be done with this user. Written at once, so that it survives a crash. Throws StartError,
    /// with the file as it was before.
    void Add(const StateContent::User& user, const std::string& line);

    /// Makes one change to the users that the SNMP library has.
    static void Apply(const StateContent::User& user, const std::string& line);

    /// Makes the changes to the users that the SNMP library has, and returns those that are deleted. Leaves out keys
    /// for another engine, which would be of no use.
    StateContent::Users ApplyAll() const;

    /// Logs what ApplyAll has done, and what it has left out.
    void Report() const;
    /// Logs a warning for each user whose keys ApplyAll has left out.
    void WarnOfDropped() const;

    /// Removes the file, once the state has been stored. Other processes may change it again afterwards.
    void Discard();

private:
    void Unlock();

    int m_lock;  // the locked file; negative when there is nothing to take in
    Lines m_lines;
};

}  // namespace cvtagentd
