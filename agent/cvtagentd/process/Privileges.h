#pragma once

#include <string>
#include <vector>

#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {

/// What this process may do beyond an ordinary user. Privileges belong to threads, so all of this is for a process with
/// one thread; the threads that it starts later inherit the result.
///
/// The kernel is asked directly. Four system calls do not justify another library in a program that runs as root at its
/// start.
namespace Privileges {

/// Throws StartError when this process may not run as `user`.
void CheckMayBecome(const User& user);

/// Runs as `user` and in the user's groups from now on, for good, with no other capabilities than those that modules
/// need, as far as the process has them: CAP_KILL, CAP_SYS_TIME and CAP_SYSLOG, and CAP_SYS_PTRACE if it was
/// inheritable, which it is only when it has been handed over on purpose. They are ambient, because some of them are
/// used by programs that a module starts; those programs cannot gain others. A process that is that user already gives
/// up all but these capabilities. CAP_NET_BIND_SERVICE stays until GiveUpPorts. The SystemCallFilter is in place, and
/// the process cannot be inspected. Throws StartError.
void Become(const User& user);

/// The groups of this process that are not the user's, in the order of their numbers. Become leaves them where it may
/// not change them.
std::vector<gid_t> ForeignGroups(const User& user);

/// From now on the kernel writes no core file of this process, nor of the programs that it starts: a core file could
/// hold keys.
void ForbidCoreFiles();

/// Does what ForbidCoreFiles does. In addition, the kernel passes no core of this process to another program, and other
/// processes of its user cannot inspect it. The programs that it starts do not get this protection.
void ForbidInspection();

/// Called after Become, when the ports are open. Throws StartError.
void GiveUpPorts();

/// The names of the capabilities that this process has, in the order of their numbers.
std::vector<std::string> Kept();

/// For each capability that it lacks, a phrase for the log that says what cannot be done. Leaves out those that must be
/// handed over on purpose.
std::vector<std::string> Missing();
/// The same for those that must be handed over on purpose.
std::vector<std::string> NotAskedFor();

}  // namespace Privileges

}  // namespace cvtagentd
