#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/agent/V3User.h"

namespace agent_test {

/// An SNMP version 3 message, written field by field, so that each field can be something that no manager would send.
struct V3Message {
    static constexpr unsigned char kGet = 0xA0;
    static constexpr unsigned char kGetNext = 0xA1;
    static constexpr unsigned char kResponse = 0xA2;
    static constexpr unsigned char kSet = 0xA3;
    static constexpr unsigned char kGetBulk = 0xA5;
    static constexpr unsigned char kReport = 0xA8;

    static constexpr unsigned int kAuthFlag = 1;
    static constexpr unsigned int kPrivFlag = 2;
    static constexpr unsigned int kReportableFlag = 4;

    /// An object identifier, encoded, and a value, encoded.
    struct VarBind {
        std::string name;
        std::string value;
    };
    using Change = std::function<std::string(std::string)>;

    std::int64_t id = 1;
    std::int64_t maxSize = 65507;
    unsigned int flags = kReportableFlag;
    std::string engineId;
    std::uint32_t boots = 0;
    std::uint32_t time = 0;
    std::string contextEngineId;
    std::string contextName;
    unsigned char command = kGet;
    std::int64_t requestId = 1;
    std::int64_t errorStatus = 0;  ///< in a GETBULK, the non-repeaters
    std::int64_t errorIndex = 0;   ///< in a GETBULK, the repetitions
    std::vector<VarBind> varBinds;

    /// Encodes the message, with encryption and a digest as the flags say; the user must have the keys. `change`, if
    /// given, is applied to the scoped PDU first, and the digest covers its result.
    std::string Encode(const V3User& user, const Change& change = {}) const;

    /// Returns no value when the octets are not a version 3 message with the user's digest and cipher. A response
    /// without them, as a report may be, is accepted.
    static std::optional<V3Message> Decode(std::string_view octets, const V3User& user);
    /// The part of a message that is never encrypted.
    static std::optional<V3Message> DecodeReport(std::string_view octets) {
        return Decode(octets, V3User("", V3User::Digest::kNone, V3User::Cipher::kNone));
    }

private:
    std::string ScopedPdu() const;
    bool ReadScopedPdu(std::string_view octets);
};

}  // namespace agent_test
