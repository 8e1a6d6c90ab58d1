#pragma once

namespace cvtagentd {

/// Says in the log that somebody asks with a community that does not exist or may not be used from his address, and from
/// where: the SNMP library itself is silent about it. At most a few lines a minute, as LibraryLog limits them.
namespace AuthFailures {

/// Called when the library is initialised. Holds until the library is shut down.
void Watch();

}  // namespace AuthFailures

}  // namespace cvtagentd
