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
/// One look-up is under way at a time. It cannot be stopped: the destructor leaves its thread behind, which touches
/// nothing but what it shares with this object. Used by one thread, with signals blocked, which the other inherits.
class HostLookup {
public:
    struct Result {
        std::vector<SocketAddress> addresses;  ///< those to be tried first come first
        std::string error;                     ///< in words, if there are none
    };

    /// Throws StartError when the system has no descriptor left.
    HostLookup();
    ~HostLookup();
    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;

    int Descriptor() const;

    /// Begins to look up. Called when nothing is under way. Returns false when the system cannot create a thread.
    bool Begin(const MasterAddress::Host& host);
    /// The result, once. No value while it is not known.
    std::optional<Result> Take();

private:
    struct Shared;

    const std::shared_ptr<Shared> m_shared;
};

}  // namespace cvtagentd
