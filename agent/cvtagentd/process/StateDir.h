#pragma once

#include <sys/types.h>

#include <string>

namespace cvtagentd {

/// The folder that holds the modules' non-volatile values and the SNMP library's persistent data, users' keys among
/// them. It is the agent's working directory.
namespace StateDir {

/// Makes `folder` the working directory. Empty means the default: the first of $STATE_DIRECTORY, as systemd sets it;
/// for root /var/lib/cvtagentd; for other users cvtagentd in $XDG_STATE_HOME or in ~/.local/state. A missing default
/// folder is created if `mayCreate`, for its owner only; a folder that is given must exist. Throws StartError.
void Enter(const std::string& folder, bool mayCreate = true);

/// Makes the names in the working directory survive a crash of the host. Returns 0 or an errno; 0 also where the file
/// system does not support that.
int Sync();

/// Whether the state directory has been removed.
bool IsGone();

/// Logs a warning if the state directory has been removed.
void WarnIfGone();

std::string Default();

/// For root: gives the working directory, and the files that root has put there, to this user and group. Leaves alone a
/// directory that is not root's, that others may write to, or that holds folders that are not the agent's (such as
/// /etc); and files that have a second name. Throws StartError when the system refuses.
void GiveTo(uid_t user, gid_t group);

/// Throws StartError when this process cannot create a file in the working directory, cannot read what is
/// kept there, or when everybody can write to it. For root, also when any other user can: root would obey that user's
/// directives, and lock the user out. Called before anything is read or written there.
void CheckUsable();

/// The working directory, absolute.
std::string Path();

}  // namespace StateDir

}  // namespace cvtagentd
