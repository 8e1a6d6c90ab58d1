#pragma once

#include <sys/types.h>

#include <string>

namespace cvtagentd {

/// The folder in which the modules' non-volatile values and the SNMP library's persistent data (users' keys among them)
/// lie: the agent's working directory.
namespace StateDir {

/// Makes `folder` the working directory. Empty means the default: the first of $STATE_DIRECTORY, as systemd sets it;
/// for root /var/lib/cvtagentd; for anybody else cvtagentd in $XDG_STATE_HOME or in ~/.local/state. The default is
/// made, for its owner only, when it is missing; a folder that is given must exist. Throws StartError.
void Enter(const std::string& folder);

/// Whether the directory entered has been removed.
bool IsGone();

/// Says in the log, when it is so, that the directory entered has been removed.
void WarnIfGone();

std::string Default();

/// For root: the working directory, and the files that root has put there, belong to this user and group from now on.
/// Left as they are: a directory that is not root's, that others may write to, or that holds folders of somebody
/// else's, such as /etc; and files that have a second name. Throws StartError when the system refuses.
void GiveTo(uid_t user, gid_t group);

/// Throws StartError when this process can make no file in the working directory, or not read what the SNMP library
/// keeps there, or when everybody can write to that directory; for root, also when anybody else can: root would do what
/// stands there, and lock its owner out. Comes before anything is read or written there.
void CheckUsable();

/// The working directory, absolute.
std::string Path();

}  // namespace StateDir

}  // namespace cvtagentd
