#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/agentx/PduFormat.h"

namespace cvtagentd {

/// Appends fields to a message. The buffer must outlive it; not synchronised.
class PduWriter {
public:
    PduWriter(std::string& to, bool isNetworkOrder) : m_to(to), m_isNetworkOrder(isNetworkOrder) {}

    template <std::unsigned_integral T>
    void Write(T value) {
        PduFormat::Write(Room(sizeof value), value, m_isNetworkOrder);
    }
    void Zeros(std::size_t octets) { Room(octets); }
    void Write(std::string_view octets) {
        Write(static_cast<std::uint32_t>(octets.size()));
        char* const at = Room(PduFormat::Padded(octets.size()));
        octets.copy(at, octets.size());
    }
    void Write(const CVT::BObjectIdentifier& name, bool include = false);
    void Write(const CVT::BObjectIdentifier& name, const CVT::BVarBind& value);
    void Write(const CVT::BObjectIdentifier& name, CVT::ESnmpType type) {
        Write(static_cast<std::uint16_t>(type));
        Zeros(2);
        Write(name);
    }
    void WriteHeader(const PduHeader& header, PduType type) {
        Write(PduFormat::kVersion);
        Write(static_cast<std::uint8_t>(type));
        Write(header.flags);
        Zeros(1);
        Write(header.session);
        Write(header.transaction);
        Write(header.packet);
        Zeros(4);  // the payload's length
    }
    /// The message begins at `start`, and is complete.
    void SetLength(std::size_t start) {
        const std::size_t payload = m_to.size() - start - Pdu::kHeaderSize;
        PduFormat::Write(m_to.data() + start + PduFormat::kLengthAt, static_cast<std::uint32_t>(payload),
                         m_isNetworkOrder);
    }

private:
    /// Octets of value 0.
    char* Room(std::size_t octets) {
        const std::size_t at = m_to.size();
        m_to.resize(at + octets);
        return m_to.data() + at;
    }
    void WriteCounter64(const CVT::BOctetString& octets) {
        Write(PduFormat::Read<std::uint64_t>(octets.View().data(), true));
    }

    std::string& m_to;
    const bool m_isNetworkOrder;
};

}  // namespace cvtagentd
