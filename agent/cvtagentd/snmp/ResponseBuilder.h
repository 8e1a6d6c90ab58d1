#pragma once

#include <cstddef>

struct snmp_session;
struct snmp_pdu;

namespace cvtagentd {

/// Encodes everything that the agent sends to a client: responses, refusals and reports, in every version.
///
/// A GETBULK response names where each column has ended (AskedNames).
///
/// No message is longer than MessageSize::Limit. A response to GETBULK loses varbinds at its end until it fits; any
/// other response that does not fit becomes tooBig without varbinds. This happens before the SNMP library encodes the
/// message. In version 3 the library would write past its own memory instead of stopping at the size that the client
/// accepts, so it is never told that size.
///
/// Used by the thread that runs the library.
namespace ResponseBuilder {

/// Called with each message that arrives, before the library serves it.
void Expect(snmp_pdu& request);

/// The function of a library session that encodes a message. Returns 0, or -1 when the message cannot be sent at
/// all.
int Build(snmp_session* session, snmp_pdu* message, unsigned char** packet, std::size_t* length, std::size_t* offset);

}  // namespace ResponseBuilder

}  // namespace cvtagentd
