#pragma once

#include <cstddef>

struct snmp_pdu;
struct variable_list;

namespace cvtagentd {

/// The size of a message in octets, before it is encoded. All sizes are upper bounds, seldom more than some tens of
/// octets too high.
namespace MessageSize {

/// The most that a UDP message over IPv4 can hold.
inline constexpr std::size_t kLongest = 65507;

/// How long a response may be: the least of what the configuration allows (sendMessageMaxSize), what a datagram
/// holds and, in version 3, what the sender of the request accepts. `message`: the request or its response.
std::size_t Limit(const snmp_pdu& message);

/// Hides the size that the sender of a version 3 request accepts from the library, which would drop varbinds beyond
/// it before they are encoded, and never free them. Limit still knows the size, for the request and for its
/// response.
void KeepFromLibrary(snmp_pdu& request);

/// The whole message except its varbinds.
std::size_t WithoutVarBinds(const snmp_pdu& message);

/// One varbind, of the list that begins with it.
std::size_t Of(const variable_list& varBind);

/// A bound of that which costs next to nothing, and may be several times too high.
std::size_t AtMost(const variable_list& varBind);

/// A field with its tag and length. `content`: octets in it.
inline constexpr std::size_t Field(std::size_t content) {
    return content + (content < 0x80 ? 2 : content < 0x100 ? 3 : content < 0x10000 ? 4 : 6);
}

}  // namespace MessageSize

}  // namespace cvtagentd
