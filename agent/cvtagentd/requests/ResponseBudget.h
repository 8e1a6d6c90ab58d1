#pragma once

#include <cstddef>

#include "CVT/BVarBind.h"

struct netsnmp_agent_request_info_s;

namespace cvtagentd {

/// Keeps the responses to GETBULK of version 3 within the size that the asker's messages may have. The library cuts a
/// response of version 2c short by itself; one of version 3 it must never have to: there it spoils the message's digest,
/// or does not come back at all. So the repetitions are bounded when the request comes, such that each value may have
/// kValueOctets; what is too long for the message all the same is refused.
///
/// Used by the thread that runs the library.
class ResponseBudget {
public:
    /// No string of HOST-RESOURCES-MIB is longer.
    static constexpr std::size_t kValueOctets = 255;

    /// Bounds the repetitions of every request from now on. To be called once.
    static void Install();

    /// For one request.
    explicit ResponseBudget(const netsnmp_agent_request_info_s& info);

    /// Whether the response to the request has room for one varbind more. Each is to be asked for once.
    bool Takes(const CVT::BVarBind& varBind) const;

private:
    std::size_t* m_room = nullptr;  // among the request's data; null: the library sees to it
};

}  // namespace cvtagentd
