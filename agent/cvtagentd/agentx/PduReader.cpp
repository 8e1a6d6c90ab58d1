#include "agent/cvtagentd/agentx/PduReader.h"

#include <algorithm>
#include <array>
#include <span>

#include "agent/cvtagentd/agentx/PduFormat.h"

namespace cvtagentd {

void PduReader::Read(CVT::BObjectIdentifier& name, bool& include) {
    const char* const head = Take(4);
    if (head == nullptr) {
        return;
    }
    const std::size_t count = static_cast<unsigned char>(head[0]);
    const unsigned int prefix = static_cast<unsigned char>(head[1]);
    const std::size_t prefixSize = prefix == 0 ? 0 : PduFormat::kInternet.size() + 1;
    if (prefixSize + count > CVT::BObjectIdentifier::kMaxArcs) {
        m_error = PduError::kTooManyArcs;
        return;
    }
    const char* const from = Take(4 * count);
    if (from == nullptr) {
        return;
    }
    std::array<unsigned int, CVT::BObjectIdentifier::kMaxArcs> arcs;  // the first prefixSize + count are set below
    if (prefix != 0) {
        std::copy(PduFormat::kInternet.begin(), PduFormat::kInternet.end(), arcs.begin());
        arcs[PduFormat::kInternet.size()] = prefix;
    }
    for (std::size_t arc = 0; arc < count; ++arc) {
        arcs[prefixSize + arc] = PduFormat::Read<std::uint32_t>(from + 4 * arc, m_isNetworkOrder);
    }
    name.Set(std::span(arcs.data(), prefixSize + count));
    include = head[2] != 0;
}

void PduReader::Read(CVT::BVarBind& varBind) {
    std::uint16_t type = 0;
    Read(type);
    Skip(2);
    Read(varBind.name);
    if (m_error != PduError::kNone) {
        return;
    }
    switch (type) {
        case CVT::kInteger: {
            std::uint32_t value = 0;
            Read(value);
            varBind.integer = static_cast<int>(value);
            break;
        }
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: Read(varBind.number); break;
        case CVT::kOctetString:
        case kOpaque: ReadOctets(varBind.octets); break;
        case kIpAddress:
            ReadOctets(varBind.octets);
            if (m_error == PduError::kNone && varBind.octets.Length() != PduFormat::kAddressSize) {
                m_error = PduError::kBadAddress;
            }
            break;
        case kCounter64: ReadCounter64(varBind.octets); break;
        case CVT::kObjectIdentifier: Read(varBind.identifier); break;
        case CVT::kNull:
        case CVT::kNoSuchObject:
        case CVT::kNoSuchInstance:
        case CVT::kEndOfMibView: break;
        default: m_error = PduError::kUnknownValue; return;
    }
    varBind.type = static_cast<CVT::ESnmpType>(type);
}

void PduReader::ReadCounter64(CVT::BOctetString& to) {
    std::uint64_t value = 0;
    Read(value);
    std::array<char, PduFormat::kCounter64Size> octets{};
    PduFormat::Write(octets.data(), value, true);
    to.Assign({octets.data(), octets.size()});
}

}  // namespace cvtagentd
