#pragma once

#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {

/// The variables of this process, which everything that modules start inherits. Used before the first thread starts.
namespace Environment {

/// Replaces the variables of whoever started the agent by those of a service of `user`'s: PATH is the system's folders,
/// HOME, USER and LOGNAME are the user's, TZ stays, and everything else goes. A build with a sanitizer also keeps the
/// options of that. Otherwise whoever can set a variable could have a program of their own run with the agent's
/// capabilities. Throws StartError when there is no memory.
void ReduceTo(const User& user);

}  // namespace Environment

}  // namespace cvtagentd
