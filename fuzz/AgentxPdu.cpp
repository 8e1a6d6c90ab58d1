// What a master sends, as a stream of AgentX messages: each is framed and read, and what was read is written and read
// again.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/agentx/PduResponse.h"

namespace {

using cvtagentd::Pdu;
using cvtagentd::PduError;

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void Respond(const Pdu& request) {
    std::string octets;
    cvtagentd::PduResponse response(octets, request.header);
    for (const auto& range : request.ranges) {
        response.Add(range.start, CVT::kEndOfMibView);
    }
    for (const auto& varBind : request.varBinds) {
        response.Add(varBind);
    }
    Require(response.Size() == octets.size() - Pdu::kHeaderSize);
    response.Finish();
    std::size_t size = 0;
    if (Pdu::Frame(octets, size) == PduError::kNone) {  // else it is too long
        Pdu read;
        Require(size == octets.size() && Pdu::Decode(octets, read) == PduError::kNone);
        Require(read.varBinds.size() == request.ranges.size() + request.varBinds.size());
        Require(read.header.packet == request.header.packet);
    }
}

void WriteAndReadAgain(const Pdu& pdu) {
    std::string octets;
    pdu.AppendTo(octets);
    Pdu again;
    if (Pdu::Decode(octets, again) == PduError::kBadLength) {  // it has become longer than a message may be
        Require(octets.size() > Pdu::kLongestPayload);
        return;
    }
    std::string twice;
    again.AppendTo(twice);
    Require(twice == octets);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view stream(reinterpret_cast<const char*>(data), size);
    Pdu pdu;  // one for the whole stream, as in a session
    for (;;) {
        std::size_t length = 0;
        if (Pdu::Frame(stream, length) != PduError::kNone || length > stream.size()) {
            return 0;
        }
        Require(length >= Pdu::kHeaderSize && length <= Pdu::kHeaderSize + Pdu::kLongestPayload);
        const std::unique_ptr<char[]> exact(new char[length]);  // one octet more is beyond its end
        stream.copy(exact.get(), length);
        const PduError error = Pdu::Decode({exact.get(), length}, pdu);
        Require(error != PduError::kTooShort && error != PduError::kWrongVersion && error != PduError::kBadLength);
        Require(*Pdu::Text(error) != '\0' && *Pdu::Name(pdu.header.type) != '\0');
        if (error == PduError::kNone) {
            Pdu fresh;
            Require(Pdu::Decode({exact.get(), length}, fresh) == PduError::kNone);
            WriteAndReadAgain(fresh);
            Respond(fresh);
            std::string kept;
            std::string alone;
            pdu.AppendTo(kept);
            fresh.AppendTo(alone);
            Require(kept == alone);  // nothing is left of the messages before
        }
        stream.remove_prefix(length);
    }
}
