#include "agent/cvtagentd/snmp/MessageSize.h"

#include <algorithm>
#include <cstdint>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {
namespace {

// With tag and length.
constexpr std::size_t kInteger = 6;
constexpr std::size_t kSequence = 4;

/// Version, the message's sequence, the sequence of the PDU, its three numbers, and the sequence of varbinds.
constexpr std::size_t kEveryMessage = 3 + kSequence + kSequence + 3 * kInteger + kSequence;
/// In addition for version 3: global header, security parameters and scoped PDU, with empty names and no cryptography.
constexpr std::size_t kHeader = 2 + kInteger + kInteger + 3 + 3;
constexpr std::size_t kSecurityParameters = 4 + 4 + 2 * kInteger + 4 + 4 + 4 + 4;
constexpr std::size_t kScopedPdu = kSequence + 4 + 4;
/// The digest of SHA-512.
constexpr std::size_t kLongestDigest = 48;
/// A salt, the octet string of the encrypted PDU, and the padding of a block cipher.
constexpr std::size_t kEncryption = 8 + 4 + 7;

std::size_t ContentOf(const oid* arcs, std::size_t count) {
    std::size_t octets = 0;
    for (std::size_t i = 0; i < count; ++i) {
        oid arc = arcs[i];
        if (i == 0 && count > 1) {  // the first two share their octets
            arc = arcs[0] * 40 + arcs[1];
            ++i;
        }
        for (++octets; arc >= 0x80; arc >>= 7U) {
            ++octets;
        }
    }
    return count == 0 ? 2 : octets;  // an empty one is sent as 0.0
}

std::size_t ContentOf(long number) {
    std::size_t octets = 1;
    for (; number < -0x80 || number > 0x7f; number >>= 8) {
        ++octets;
    }
    return octets;
}

std::size_t ContentOf(const variable_list& value) {
    switch (value.type) {
        case ASN_INTEGER: return value.val.integer == nullptr ? 1 : ContentOf(*value.val.integer);
        case ASN_COUNTER:
        case ASN_GAUGE:
        case ASN_TIMETICKS:  // in a request, a signed word may hold more than the 32 bits that are sent
            return value.val.integer == nullptr ? 1 : ContentOf(static_cast<std::uint32_t>(*value.val.integer));
        case ASN_OBJECT_ID: return ContentOf(value.val.objid, value.val_len / sizeof(oid));
        default: break;
    }
    constexpr std::size_t kMoreThanItsOctets = 8;  // some types that occur only in a request are encoded twice
    return value.val_len + (value.type == ASN_OCTET_STR || value.val_len == 0 ? 0 : kMoreThanItsOctets);
}

}  // namespace

std::size_t MessageSize::Limit(const snmp_pdu& message) {
    const long configured = ::netsnmp_ds_get_int(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_MSG_SEND_MAX);
    std::size_t limit = configured > 0 ? std::min(static_cast<std::size_t>(configured), kLongest) : kLongest;
    // A report is made from a message whose size was never hidden from the library.
    const long askers = message.range_subid > 0 ? message.range_subid : message.msgMaxSize;
    if (message.version == SNMP_VERSION_3 && askers > 0) {
        limit = std::min(limit, static_cast<std::size_t>(askers));
    }
    return limit;
}

/// The library uses that field only for AgentX.
void MessageSize::KeepFromLibrary(snmp_pdu& request) {
    request.range_subid = static_cast<int>(std::min(request.msgMaxSize, static_cast<long>(kLongest)));
    request.msgMaxSize = static_cast<long>(kLongest);
}

std::size_t MessageSize::WithoutVarBinds(const snmp_pdu& message) {
    if (message.version != SNMP_VERSION_3) {
        return kEveryMessage + Field(message.community_len);
    }
    const bool hasDigest = message.securityLevel != SNMP_SEC_LEVEL_NOAUTH;
    const bool isEncrypted = message.securityLevel == SNMP_SEC_LEVEL_AUTHPRIV;
    return kEveryMessage + kHeader + kSecurityParameters + kScopedPdu + message.securityEngineIDLen +
           message.securityNameLen + message.contextEngineIDLen + message.contextNameLen +
           (hasDigest ? kLongestDigest : 0) + (isEncrypted ? kEncryption : 0);
}

std::size_t MessageSize::Of(const variable_list& varBind) {
    return Field(Field(ContentOf(varBind.name, varBind.name_length)) + Field(ContentOf(varBind)));
}

/// An arc takes at most five octets, and besides its framing no value takes more than the library keeps for it.
std::size_t MessageSize::AtMost(const variable_list& varBind) {
    constexpr std::size_t kArc = 5;
    constexpr std::size_t kFrames = 32;
    return kArc * varBind.name_length + varBind.val_len + kFrames;
}

}  // namespace cvtagentd
