#include "agent/cvtagentd/agentx/Pdu.h"

#include <array>

#include "agent/cvtagentd/agentx/PduFormat.h"
#include "agent/cvtagentd/agentx/PduReader.h"
#include "agent/cvtagentd/agentx/PduWriter.h"

namespace cvtagentd {
namespace {

bool HasContext(PduType type) {
    switch (type) {
        case PduType::kRegister:
        case PduType::kUnregister:
        case PduType::kGet:
        case PduType::kGetNext:
        case PduType::kGetBulk:
        case PduType::kTestSet:
        case PduType::kNotify:
        case PduType::kPing:
        case PduType::kIndexAllocate:
        case PduType::kIndexDeallocate:
        case PduType::kAddAgentCaps:
        case PduType::kRemoveAgentCaps: return true;
        default: return false;
    }
}

/// Both messages have the same fields, but for the first.
void ReadSubtree(PduReader& reader, Pdu& to) {
    if (to.header.type == PduType::kRegister) {
        reader.Read(to.timeout);
    } else {
        reader.Skip(1);
    }
    reader.Read(to.priority);
    reader.Read(to.rangeArc);
    reader.Skip(1);
    reader.Read(to.name);
    if (to.rangeArc != 0) {
        reader.Read(to.upperBound);
    }
}

template <class T>
void ReadAll(PduReader& reader, std::vector<T>& to) {
    std::size_t count = 0;
    for (; reader.HasMore(); ++count) {
        if (count == to.size()) {
            to.emplace_back();
        }
        reader.Read(to[count]);
    }
    to.resize(count);
}

PduError ReadPayload(PduReader& reader, Pdu& to) {
    to.context.clear();
    if (HasContext(to.header.type) && to.header.Has(kNonDefaultContext)) {
        reader.Read(to.context);
    }
    switch (to.header.type) {
        case PduType::kOpen:
            reader.Read(to.timeout);
            reader.Skip(3);
            reader.Read(to.name);
            reader.Read(to.description);
            break;
        case PduType::kClose: {
            std::uint8_t reason = 0;
            reader.Read(reason);
            reader.Skip(3);
            to.reason = static_cast<PduCloseReason>(reason);
            break;
        }
        case PduType::kRegister:
        case PduType::kUnregister: ReadSubtree(reader, to); break;
        case PduType::kGetBulk:
            reader.Read(to.nonRepeaters);
            reader.Read(to.maxRepetitions);
            [[fallthrough]];
        case PduType::kGet:
        case PduType::kGetNext: ReadAll(reader, to.ranges); break;
        case PduType::kResponse:
            reader.Read(to.sysUpTime);
            reader.Read(to.error);
            reader.Read(to.index);
            [[fallthrough]];
        case PduType::kTestSet:
        case PduType::kNotify:
        case PduType::kIndexAllocate:
        case PduType::kIndexDeallocate: ReadAll(reader, to.varBinds); break;
        case PduType::kAddAgentCaps:
            reader.Read(to.name);
            reader.Read(to.description);
            break;
        case PduType::kRemoveAgentCaps: reader.Read(to.name); break;
        case PduType::kCommitSet:
        case PduType::kUndoSet:
        case PduType::kCleanupSet:
        case PduType::kPing: break;
        default: return PduError::kUnknownType;
    }
    return reader.End();
}

void WriteSubtree(PduWriter& writer, const Pdu& from) {
    writer.Write(from.header.type == PduType::kRegister ? from.timeout : std::uint8_t{0});
    writer.Write(from.priority);
    writer.Write(from.rangeArc);
    writer.Zeros(1);
    writer.Write(from.name);
    if (from.rangeArc != 0) {
        writer.Write(from.upperBound);
    }
}

void WriteRanges(PduWriter& writer, const Pdu& from) {
    for (const PduRange& range : from.ranges) {
        writer.Write(range.start, range.includesStart);
        writer.Write(range.end);
    }
}

void WriteVarBinds(PduWriter& writer, const Pdu& from) {
    for (const CVT::BVarBind& varBind : from.varBinds) {
        writer.Write(varBind.name, varBind);
    }
}

}  // namespace

PduError Pdu::Frame(std::string_view received, std::size_t& size) {
    size = kHeaderSize;
    if (!received.empty() && static_cast<std::uint8_t>(received[0]) != PduFormat::kVersion) {
        return PduError::kWrongVersion;
    }
    if (received.size() < kHeaderSize) {
        return PduError::kNone;
    }
    const bool isNetworkOrder = (static_cast<std::uint8_t>(received[2]) & kNetworkByteOrder) != 0;
    const auto payload = PduFormat::Read<std::uint32_t>(received.data() + PduFormat::kLengthAt, isNetworkOrder);
    if (payload > kLongestPayload || payload % 4 != 0) {
        return PduError::kBadLength;
    }
    size += payload;
    return PduError::kNone;
}

PduError Pdu::Decode(std::string_view octets, Pdu& to) {
    std::size_t size = 0;
    if (const PduError error = Frame(octets, size); error != PduError::kNone) {
        return error;
    }
    if (octets.size() < size) {
        return PduError::kTooShort;
    }
    PduHeader& header = to.header;
    header.type = static_cast<PduType>(octets[1]);
    header.flags = static_cast<std::uint8_t>(octets[2]);
    const bool isNetworkOrder = header.Has(kNetworkByteOrder);
    header.session = PduFormat::Read<std::uint32_t>(octets.data() + 4, isNetworkOrder);
    header.transaction = PduFormat::Read<std::uint32_t>(octets.data() + 8, isNetworkOrder);
    header.packet = PduFormat::Read<std::uint32_t>(octets.data() + 12, isNetworkOrder);
    if (octets.size() > size) {
        return PduError::kTrailingOctets;
    }
    PduReader reader(octets.substr(kHeaderSize), isNetworkOrder);
    return ReadPayload(reader, to);
}

void Pdu::AppendTo(std::string& to) const {
    const std::size_t start = to.size();
    PduWriter writer(to, header.Has(kNetworkByteOrder));
    writer.WriteHeader(header, header.type);
    if (HasContext(header.type) && header.Has(kNonDefaultContext)) {
        writer.Write(std::string_view(context));
    }
    switch (header.type) {
        case PduType::kOpen:
            writer.Write(timeout);
            writer.Zeros(3);
            writer.Write(name);
            writer.Write(std::string_view(description));
            break;
        case PduType::kClose:
            writer.Write(static_cast<std::uint8_t>(reason));
            writer.Zeros(3);
            break;
        case PduType::kRegister:
        case PduType::kUnregister: WriteSubtree(writer, *this); break;
        case PduType::kGetBulk:
            writer.Write(nonRepeaters);
            writer.Write(maxRepetitions);
            [[fallthrough]];
        case PduType::kGet:
        case PduType::kGetNext: WriteRanges(writer, *this); break;
        case PduType::kResponse:
            writer.Write(sysUpTime);
            writer.Write(error);
            writer.Write(index);
            [[fallthrough]];
        case PduType::kTestSet:
        case PduType::kNotify:
        case PduType::kIndexAllocate:
        case PduType::kIndexDeallocate: WriteVarBinds(writer, *this); break;
        case PduType::kAddAgentCaps:
            writer.Write(name);
            writer.Write(std::string_view(description));
            break;
        case PduType::kRemoveAgentCaps: writer.Write(name); break;
        default: break;  // only a header
    }
    writer.SetLength(start);
}

const char* Pdu::Text(PduError error) {
    switch (error) {
        case PduError::kNone: return "nothing";
        case PduError::kTooShort: return "it is shorter than its header says";
        case PduError::kWrongVersion: return "it does not begin with version 1 of AgentX";
        case PduError::kBadLength: return "its header claims an impossible length";
        case PduError::kUnknownType: return "its type is unknown";
        case PduError::kCutOff: return "a field is longer than the message";
        case PduError::kTooManyArcs: return "an object identifier has more than 128 arcs";
        case PduError::kUnknownValue: return "a value has an unknown type";
        case PduError::kBadAddress: return "an IpAddress has not four octets";
        case PduError::kTrailingOctets: return "octets follow its last field";
    }
    return "unknown";
}

const char* Pdu::Name(PduType type) {
    static constexpr std::array kNames{
        "unknown", "Open",    "Close",         "Register",        "Unregister",   "Get",
        "GetNext", "GetBulk", "TestSet",       "CommitSet",       "UndoSet",      "CleanupSet",
        "Notify",  "Ping",    "IndexAllocate", "IndexDeallocate", "AddAgentCaps", "RemoveAgentCaps",
        "Response"};
    const auto number = static_cast<std::size_t>(type);
    return kNames[number < kNames.size() ? number : 0];
}

const char* Pdu::ErrorName(std::uint16_t error) {
    static constexpr std::array kNames{
        "openFailed",          "notOpen",           "indexWrongType",     "indexAlreadyAllocated",
        "indexNoneAvailable",  "indexNotAllocated", "unsupportedContext", "duplicateRegistration",
        "unknownRegistration", "unknownAgentCaps",  "parseError",         "requestDenied",
        "processingError"};
    const std::size_t place = std::size_t{error} - kOpenFailed;  // a large one for a smaller error
    return place < kNames.size() ? kNames[place] : nullptr;
}

}  // namespace cvtagentd
