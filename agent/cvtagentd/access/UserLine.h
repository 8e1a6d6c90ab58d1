#pragma once

#include <string>

#include "agent/cvtagentd/access/PassPhrase.h"
#include "agent/cvtagentd/process/StateContent.h"

namespace cvtagentd {

/// The line in which the SNMP library keeps a user, as this agent makes it.
namespace UserLine {

/// A user with SHA-256 and AES, whose keys are made from the pass phrases and are good for `user.engine` only. Throws
/// StartError when the library has no cryptography.
std::string For(const StateContent::User& user, const PassPhrase& authentication, const PassPhrase& privacy);

/// The same user without keys.
std::string Without(const StateContent::User& user);

/// Octets as the library writes them, such as 0x8000.
std::string Hex(const std::string& octets);

}  // namespace UserLine

}  // namespace cvtagentd
