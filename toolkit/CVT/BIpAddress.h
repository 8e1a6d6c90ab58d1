#pragma once

#include <array>

#include "CVT/Api.h"
#include "CVT/BString.h"

namespace CVT {

/// An IPv4 address in network order, or no address. A plain value.
class CVT_API BIpAddress {
public:
    BIpAddress() = default;

    /// Parses four decimal numbers 0..255 separated by single dots. Returns false and leaves the value empty when the
    /// text is malformed or null.
    bool AssignFromDottedDecimalStr(const char* text);

    bool IsEmpty() const { return !m_assigned; }
    /// 0.0.0.0 when empty.
    const std::array<unsigned char, 4>& Octets() const { return m_octets; }
    /// Dotted decimal text; the empty text when empty.
    BString ToString() const;

private:
    std::array<unsigned char, 4> m_octets{};
    bool m_assigned = false;
};

}  // namespace CVT
