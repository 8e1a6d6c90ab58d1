#pragma once

#include <sys/socket.h>

#include <optional>
#include <string>

struct snmp_pdu;

namespace cvtagentd {

/// Describes where a message came from, for the log. Stateless.
namespace MessageOrigin {

/// The internet address and port of the sender, from the `length` octets of `data` that the library's transport has
/// left with a message; no value for a message over a Unix socket.
std::optional<sockaddr_storage> PeerIn(const void* data, int length);

/// The internet address and port of the sender; no value for a message over a Unix socket.
std::optional<sockaddr_storage> PeerOf(const snmp_pdu& message);

/// "192.0.2.1", "2001:db8::1"; "this host" for a message over a Unix socket.
std::string AddressOf(const snmp_pdu& message);

/// "SNMPv1", "SNMPv2c", "SNMPv3".
const char* VersionOf(const snmp_pdu& message);

/// The user of a version 3 message; otherwise empty. It may be any text, since nobody has checked it.
std::string UserOf(const snmp_pdu& message);

}  // namespace MessageOrigin

}  // namespace cvtagentd
