#pragma once

#include <string>

namespace cvtagentd {

/// Logs requests that access control refuses as a whole (Refusals): a community that does not exist or may not be used
/// from the client's address, a user without access or with too low a level of security, an unknown context. Replaces
/// the SNMP library's own messages about SNMPv3, which do not say where a message came from. State of the process, used
/// by the thread that runs the library.
namespace AuthFailures {

/// Called when the library is initialised. Stays in force until the library is shut down.
void Watch();

/// Learns which communities the configuration has, so that an unknown community can be told from one that is used from
/// the wrong address. Called whenever the library has read the file; empty: the built-in access.
void LearnCommunities(const std::string& file);

}  // namespace AuthFailures

}  // namespace cvtagentd
