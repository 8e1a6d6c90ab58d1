#include "CVT/BIpAddress.h"

#include <string>

#include "CVT/BObjectIdentifier.h"

namespace CVT {

bool BIpAddress::AssignFromDottedDecimalStr(const char* text) {
    *this = BIpAddress();
    BObjectIdentifier arcs;  // same notation: decimal numbers separated by single dots
    if (!arcs.AssignFromDottedDecimalStr(text) || arcs.NumArcs() != m_octets.size()) {
        return false;
    }
    std::array<unsigned char, 4> octets{};
    for (unsigned int i = 0; i < octets.size(); ++i) {
        if (arcs[i] > 255) {
            return false;
        }
        octets[i] = static_cast<unsigned char>(arcs[i]);
    }
    m_octets = octets;
    m_assigned = true;
    return true;
}

BString BIpAddress::ToString() const {
    if (IsEmpty()) {
        return {};
    }
    std::string text;
    for (const unsigned char octet : m_octets) {
        text += (text.empty() ? "" : ".") + std::to_string(octet);
    }
    return BString(std::move(text));
}

}  // namespace CVT
