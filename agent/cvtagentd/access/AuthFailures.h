#pragma once

namespace cvtagentd {

/// Logs requests with a community that does not exist or may not be used from the client's address, and that address;
/// the SNMP library itself does not log them. LibraryLog limits this to a few lines a minute.
namespace AuthFailures {

/// Called when the library is initialised. Stays in force until the library is shut down.
void Watch();

}  // namespace AuthFailures

}  // namespace cvtagentd
