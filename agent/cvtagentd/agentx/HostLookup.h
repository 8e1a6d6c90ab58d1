#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/cvtagentd/agentx/MasterAddress.h"

namespace cvtagentd {

/// Looks up the name of a host on a thread of its own, since the system's resolver may take many seconds. Its
/// descriptor, valid for its whole life, becomes readable when the look-up is over.
///
/// One look-up is under way at a time. It cannot be stopped: the destructor leaves its thread running, which touches
/// only the state that they share. Used by one thread, which must have blocked the signals that it handles: the new
/// thread inherits its mask.
class HostLookup {
public:
    struct Result {
        std::vector<SocketAddress> addresses;  ///< in the order in which to try them
        std::string error;                     ///< why there are none
    };

    /// Throws StartError when the system has no descriptor left.
    HostLookup();
    ~HostLookup();
    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;

    int Descriptor() const;

    /// Begins a look-up. Called when none is under way. Returns false when the system cannot create a thread.
    bool Begin(const MasterAddress::Host& host);
    /// Returns the result, once. No value while the look-up is under way.
    std::optional<Result> Take();

private:
    struct Shared;

    const std::shared_ptr<Shared> m_shared;
};

}  // namespace cvtagentd
