#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "agent/cvtagentd/agentx/Pdu.h"

namespace cvtagentd {

/// Writes the response to a request into a buffer as its values become known, without a copy of them. One response
/// at a time; not synchronised. The buffer must outlive it, and is not touched by others until Finish.
class PduResponse {
public:
    /// Begins a response at the end of `to`, with the identifiers of the request and in its byte order.
    PduResponse(std::string& to, const PduHeader& request, std::uint32_t sysUpTime = 0);
    /// Takes back what was written unless Finish has been called: half a response would garble those that follow it.
    ~PduResponse();
    PduResponse(const PduResponse&) = delete;
    PduResponse& operator=(const PduResponse&) = delete;

    void Add(const CVT::BVarBind& varBind) { Add(varBind.name, varBind); }
    /// `value.name` is not used.
    void Add(const CVT::BObjectIdentifier& name, const CVT::BVarBind& value);
    /// An exception, or Null.
    void Add(const CVT::BObjectIdentifier& name, CVT::ESnmpType type);

    /// The payload so far, in octets. A response beyond Pdu::kLongestPayload should be finished as tooBig.
    std::size_t Size() const;

    /// Called once, at last. With an error the varbinds are dropped.
    void Finish(std::uint16_t error = 0, std::uint16_t index = 0);

private:
    std::string& m_to;
    const std::size_t m_start;
    const bool m_networkByteOrder;
    bool m_isFinished = false;
};

}  // namespace cvtagentd
