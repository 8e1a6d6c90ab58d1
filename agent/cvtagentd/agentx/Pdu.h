#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CVT/BObjectIdentifier.h"
#include "CVT/BVarBind.h"

namespace cvtagentd {

/// What an AgentX message is for.
enum class PduType : std::uint8_t {
    kOpen = 1,
    kClose = 2,
    kRegister = 3,
    kUnregister = 4,
    kGet = 5,
    kGetNext = 6,
    kGetBulk = 7,
    kTestSet = 8,
    kCommitSet = 9,
    kUndoSet = 10,
    kCleanupSet = 11,
    kNotify = 12,
    kPing = 13,
    kIndexAllocate = 14,
    kIndexDeallocate = 15,
    kAddAgentCaps = 16,
    kRemoveAgentCaps = 17,
    kResponse = 18,
};

/// The bits of PduHeader::flags.
enum PduFlags : std::uint8_t {
    kInstanceRegistration = 0x01,
    kNewIndex = 0x02,
    kAnyIndex = 0x04,
    kNonDefaultContext = 0x08,
    kNetworkByteOrder = 0x10,  ///< otherwise the lowest octet of each number comes first
};

/// Why a session is closed.
enum class PduCloseReason : std::uint8_t {
    kOther = 1,
    kParseError = 2,
    kProtocolError = 3,
    kTimeouts = 4,
    kShutdown = 5,
    kByManager = 6,
};

/// The errors in a Response that SNMP does not have. The others are CVT::ESnmpStatus.
enum PduResponseError : std::uint16_t {
    kOpenFailed = 256,
    kNotOpen = 257,
    kIndexWrongType = 258,
    kIndexAlreadyAllocated = 259,
    kIndexNoneAvailable = 260,
    kIndexNotAllocated = 261,
    kUnsupportedContext = 262,
    kDuplicateRegistration = 263,
    kUnknownRegistration = 264,
    kUnknownAgentCaps = 265,
    kParseError = 266,
    kRequestDenied = 267,
    kProcessingError = 268,
};

/// The types of value that AgentX has and the toolkit has not. A varbind of such a type keeps its value in `octets`:
/// four octets of an address, the octets of an Opaque, or the eight of a Counter64, the highest first.
inline constexpr auto kIpAddress = static_cast<CVT::ESnmpType>(0x40);
inline constexpr auto kOpaque = static_cast<CVT::ESnmpType>(0x44);
inline constexpr auto kCounter64 = static_cast<CVT::ESnmpType>(0x46);

/// What is wrong with a message.
enum class PduError {
    kNone,
    kTooShort,        ///< fewer octets than the header has, or than it claims
    kWrongVersion,    ///< neither this nor any following message can be found
    kBadLength,       ///< the header claims more than Pdu::kLongestPayload, or no multiple of 4
    kUnknownType,     ///< of message
    kCutOff,          ///< a field does not fit into what is left
    kTooManyArcs,     ///< an object identifier has more than 128
    kUnknownValue,    ///< a varbind's type is none of AgentX
    kBadAddress,      ///< an IpAddress has not four octets
    kTrailingOctets,  ///< after the last field
};

/// The head of every AgentX message.
struct PduHeader {
    PduType type = PduType::kResponse;
    std::uint8_t flags = kNetworkByteOrder;  ///< of PduFlags
    std::uint32_t session = 0;
    std::uint32_t transaction = 0;
    std::uint32_t packet = 0;

    bool Has(PduFlags flag) const { return (flags & flag) != 0; }
};

/// Which names a request asks for: from `start`, or the first after it, up to but without `end`. An empty `end` is no
/// end.
struct PduRange {
    CVT::BObjectIdentifier start;
    bool includesStart = false;
    CVT::BObjectIdentifier end;
};

/// An AgentX message (RFC 2741). `header.type` says which other members it uses; Decode leaves the others as they are,
/// except that the context is empty where there is none. So one object serves a whole session nearly without new
/// allocations. A plain value.
///
/// Read in either byte order. Written in the order that `header.flags` names: network byte order unless told
/// otherwise, so that the octets are the same on every host. Names that begin with 1.3.6.1 and an arc from 1 to 255 are
/// written in the short form. Ignored on reading, and written as 0: reserved octets, padding, and "include" where it
/// has no meaning; and the flag for a context in messages that have none.
struct Pdu {
    static constexpr std::size_t kHeaderSize = 20;
    /// An SNMP message has at most 65,535 octets. The names in them grow by a factor of four, and a request repeats the
    /// end of each range.
    static constexpr std::size_t kLongestPayload = std::size_t{1} << 20U;

    PduHeader header;
    std::string context;  ///< used with kNonDefaultContext

    std::uint8_t timeout = 0;     ///< Open, Register: seconds; 0 is the master's default
    CVT::BObjectIdentifier name;  ///< Open, AddAgentCaps, RemoveAgentCaps: an identity; Register, Unregister: a subtree
    std::string description;      ///< Open, AddAgentCaps
    PduCloseReason reason = PduCloseReason::kOther;  ///< Close; a master may send a value that has no name
    std::uint8_t priority = 127;                     ///< Register, Unregister
    std::uint8_t rangeArc = 0;     ///< Register, Unregister: which arc of `name`, from 1, is a range's low end; 0: none
    std::uint32_t upperBound = 0;  ///< Register, Unregister, if rangeArc is not 0: the range's high end

    std::uint16_t nonRepeaters = 0;    ///< GetBulk
    std::uint16_t maxRepetitions = 0;  ///< GetBulk
    std::vector<PduRange> ranges;      ///< Get, GetNext, GetBulk
    CVT::BVarBindList varBinds;        ///< TestSet, Response, Notify, IndexAllocate, IndexDeallocate

    std::uint32_t sysUpTime = 0;  ///< Response: hundredths of a second
    std::uint16_t error = 0;      ///< Response: CVT::ESnmpStatus or PduResponseError
    std::uint16_t index = 0;      ///< Response: the varbind with the error, from 1

    /// How many octets the first message in `received` has, header included; kHeaderSize while the header is not
    /// complete. The result may be more than there are. With any error the start of the next message is unknown, so the
    /// connection is of no further use.
    static PduError Frame(std::string_view received, std::size_t& size);

    /// Reads one message, which `octets` holds exactly. After kCutOff and all the errors that follow it in PduError,
    /// and kUnknownType, the header is good, so that the message can be answered; the other members may be half read.
    static PduError Decode(std::string_view octets, Pdu& to);

    /// Appends the message to `to`. Varbinds of an unknown type are written as Null. A context or text beyond
    /// kLongestPayload makes a message that nobody reads.
    void AppendTo(std::string& to) const;

    /// A few words for the log: what is wrong with a message.
    static const char* Text(PduError error);
    /// The message's name in RFC 2741, for the log.
    static const char* Name(PduType type);
    /// A Response's error in words, for the log; null for one that has no name.
    static const char* ErrorName(std::uint16_t error);
};

}  // namespace cvtagentd
