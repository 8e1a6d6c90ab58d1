#pragma once

#include <array>

#include "CVT/Api.h"
#include "CVT/BString.h"

namespace CVT {

/// An IPv4 address in network order, or none. A plain value.
class CVT_API BIpAddress {
public:
    BIpAddress() = default;

    /// Four decimal numbers 0..255 with single dots. Bad text (null included) leaves the value empty and gives false.
    bool AssignFromDottedDecimalStr(const char* text);

    bool IsEmpty() const { return !m_assigned; }
    /// 0.0.0.0 while empty.
    const std::array<unsigned char, 4>& Octets() const { return m_octets; }
    /// Dotted decimal text; the empty text while empty.
    BString ToString() const;

private:
    std::array<unsigned char, 4> m_octets{};
    bool m_assigned = false;
};

}  // namespace CVT
