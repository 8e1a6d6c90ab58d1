#pragma once

namespace cvtagentd {

/// Says in the log that somebody asks with a community that does not exist or may not be used from his address, and from
/// where: the SNMP library itself is silent about it. At most a few lines a minute, as LibraryLog limits them.
class AuthFailures {
public:
    /// Called when the library is initialised. Holds until the library is shut down.
    static void Watch();

private:
    static int OnCheck(int majorId, int minorId, void* parameters, void* unused);
};

}  // namespace cvtagentd
