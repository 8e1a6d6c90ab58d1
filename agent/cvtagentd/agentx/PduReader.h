#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/agentx/PduFormat.h"

namespace cvtagentd {

/// Reads the fields of a payload one after the other, and never beyond its end. After the first error nothing changes
/// any more. The payload must outlive it; not synchronised.
class PduReader {
public:
    PduReader(std::string_view payload, bool isNetworkOrder) : m_left(payload), m_isNetworkOrder(isNetworkOrder) {}

    PduError Error() const { return m_error; }
    bool HasMore() const { return m_error == PduError::kNone && !m_left.empty(); }
    PduError End() {
        if (HasMore()) {
            m_error = PduError::kTrailingOctets;
        }
        return m_error;
    }

    void Skip(std::size_t octets) { Take(octets); }
    template <std::unsigned_integral T>
    void Read(T& value) {
        if (const char* const at = Take(sizeof value); at != nullptr) {
            value = PduFormat::Read<T>(at, m_isNetworkOrder);
        }
    }
    /// The octets are part of the payload.
    void Read(std::string_view& octets) {
        std::uint32_t length = 0;
        Read(length);
        // Compared before it is rounded up, which could overflow where a size has 32 bits.
        if (m_error == PduError::kNone && (length > m_left.size() || PduFormat::Padded(length) > m_left.size())) {
            m_error = PduError::kCutOff;
        }
        if (m_error == PduError::kNone) {
            octets = m_left.substr(0, length);
            m_left.remove_prefix(PduFormat::Padded(length));
        }
    }
    void Read(std::string& octets) {
        std::string_view view;
        Read(view);
        octets.assign(view);
    }
    void Read(CVT::BObjectIdentifier& name) {
        bool include = false;
        Read(name, include);
    }
    void Read(CVT::BObjectIdentifier& name, bool& include);
    void Read(PduRange& range) {
        bool none = false;
        Read(range.start, range.includesStart);
        Read(range.end, none);
    }
    void Read(CVT::BVarBind& varBind);

private:
    /// Null when there are not so many.
    const char* Take(std::size_t octets) {
        if (m_error != PduError::kNone || octets > m_left.size()) {
            m_error = m_error == PduError::kNone ? PduError::kCutOff : m_error;
            return nullptr;
        }
        const char* const at = m_left.data();
        m_left.remove_prefix(octets);
        return at;
    }
    void ReadCounter64(CVT::BOctetString& to);
    void ReadOctets(CVT::BOctetString& to) {
        std::string_view octets;
        Read(octets);
        to.Assign(octets);
    }

    std::string_view m_left;
    const bool m_isNetworkOrder;
    PduError m_error = PduError::kNone;
};

}  // namespace cvtagentd
