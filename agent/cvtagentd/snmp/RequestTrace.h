#pragma once

struct snmp_pdu;

namespace cvtagentd {

/// Logs each request that is answered, with --log-level debug: where it came from, its version, its user or its
/// community's view, what it asked for, and with which result after how long. No line holds a community or a key. Off
/// until Start; then it costs a comparison for each message. State of the process, used by the thread that runs the
/// SNMP library.
namespace RequestTrace {

void Start();
bool IsOn();

/// Called with each request before the library serves it.
void Begin(snmp_pdu& request);
/// Called with each message that is sent. One that is not the response to a request since Start is ignored.
void End(const snmp_pdu& response);

}  // namespace RequestTrace

}  // namespace cvtagentd
