#pragma once

#include <string>
#include <vector>

#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {

/// What this process may do beyond an ordinary user. Privileges belong to threads: all of this is for a process that has
/// one thread, and whatever that starts later inherits the outcome.
///
/// The kernel is asked directly. The four calls that this takes do not pay for another library in a program that runs as
/// root for a moment.
namespace Privileges {

/// Throws StartError when this process has not the right to run as `user`.
void CheckMayBecome(const User& user);

/// Runs as `user` and in the user's groups from now on, for good, with no other capabilities than those that modules
/// need, as far as they were there: CAP_KILL, CAP_SYS_TIME and CAP_SYSLOG, and CAP_SYS_PTRACE if it was inheritable,
/// which it is only where somebody hands it over on purpose. They are ambient, since it is programs that use some
/// of them; nothing that is started can gain others. A process that is that user already gives up all but these
/// capabilities. CAP_NET_BIND_SERVICE stays until GiveUpPorts. The SystemCallFilter is in place, and the process cannot
/// be inspected. Throws StartError.
void Become(const User& user);

/// Those of this process's groups, in the order of their numbers, that are not the user's. Become leaves them where it
/// has no right to change them.
std::vector<gid_t> ForeignGroups(const User& user);

/// From now on the kernel writes no core file of this process, nor of what it starts: keys could be found there.
void ForbidCoreFiles();

/// As ForbidCoreFiles; besides, the kernel hands no core of this process to another program either, and other
/// processes of its user cannot look into it. What it starts is not protected like that.
void ForbidInspection();

/// Follows Become when the ports are open. Throws StartError.
void GiveUpPorts();

/// Those of the capabilities that this process has: names, in the order of their numbers.
std::vector<std::string> Kept();

/// For each that it lacks, what cannot be done: a phrase for the log. Those that must be asked for are left out.
std::vector<std::string> Missing();
/// The same for those that must be asked for.
std::vector<std::string> NotAskedFor();

}  // namespace Privileges

}  // namespace cvtagentd
