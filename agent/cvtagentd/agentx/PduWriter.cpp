#include "agent/cvtagentd/agentx/PduWriter.h"

#include <algorithm>
#include <span>

namespace cvtagentd {

void PduWriter::Write(const CVT::BObjectIdentifier& name, bool include) {
    std::span<const unsigned int> arcs = name.Arcs();
    unsigned char prefix = 0;
    if (arcs.size() > PduFormat::kInternet.size() &&
        std::equal(PduFormat::kInternet.begin(), PduFormat::kInternet.end(), arcs.begin()) &&
        arcs[PduFormat::kInternet.size()] <= PduFormat::kLastPrefix) {
        prefix = static_cast<unsigned char>(arcs[PduFormat::kInternet.size()]);
    }
    if (prefix != 0) {
        arcs = arcs.subspan(PduFormat::kInternet.size() + 1);
    }
    char* at = Room(4 + 4 * arcs.size());
    at[0] = static_cast<char>(static_cast<unsigned char>(arcs.size()));
    at[1] = static_cast<char>(prefix);
    at[2] = include ? 1 : 0;
    for (const std::uint32_t arc : arcs) {
        at += 4;
        PduFormat::Write(at, arc, m_isNetworkOrder);
    }
}

void PduWriter::Write(const CVT::BObjectIdentifier& name, const CVT::BVarBind& value) {
    switch (static_cast<int>(value.type)) {
        case CVT::kInteger:
            Write(name, value.type);
            Write(static_cast<std::uint32_t>(value.integer));
            return;
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks:
            Write(name, value.type);
            Write(static_cast<std::uint32_t>(value.number));
            return;
        case CVT::kOctetString:
        case kOpaque:
            Write(name, value.type);
            Write(value.octets.View());
            return;
        case kIpAddress:
            if (value.octets.Length() == PduFormat::kAddressSize) {
                Write(name, value.type);
                Write(value.octets.View());
                return;
            }
            break;
        case kCounter64:
            if (value.octets.Length() == PduFormat::kCounter64Size) {
                Write(name, value.type);
                WriteCounter64(value.octets);
                return;
            }
            break;
        case CVT::kObjectIdentifier:
            Write(name, value.type);
            Write(value.identifier);
            return;
        case CVT::kNoSuchObject:
        case CVT::kNoSuchInstance:
        case CVT::kEndOfMibView: Write(name, value.type); return;
        default: break;
    }
    Write(name, CVT::kNull);
}

}  // namespace cvtagentd
