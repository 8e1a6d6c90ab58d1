#pragma once

#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {

/// The environment of this process, which every program that a module starts inherits. Used before the first thread
/// starts.
namespace Environment {

/// Replaces the inherited environment by that of a service of `user`: PATH is the system's folders, HOME, USER and
/// LOGNAME are the user's, TZ stays, and everything else is removed. A build with a sanitizer also keeps the
/// sanitizer's options. Otherwise anyone who can set a variable could have the agent run their own program with its
/// capabilities. Throws StartError when there is no memory.
void ReduceTo(const User& user);

}  // namespace Environment

}  // namespace cvtagentd
