#pragma once

#include <cstddef>

struct snmp_session;
struct snmp_pdu;

namespace cvtagentd {

/// Encodes whatever the agent sends to who has asked it: responses, refusals and reports, of every version.
///
/// None is longer than it may be (MessageSize::Limit). A response to GETBULK loses varbinds at its end until it fits; any
/// other one that does not fit becomes tooBig without varbinds. This is seen to before the SNMP library encodes the
/// message: of version 3 it would write past its own memory rather than stop at the size that the asker allows, so it is
/// never told of that.
///
/// Used by the thread that runs the library.
class ResponseBuilder {
public:
    /// To be called with each message that comes, before the library serves it.
    static void Expect(snmp_pdu& request);

    /// For the library, as the function of a session that encodes a message. 0, or -1 when it cannot be sent at all.
    static int Build(snmp_session* session, snmp_pdu* message, unsigned char** packet, std::size_t* length,
                     std::size_t* offset);
};

}  // namespace cvtagentd
