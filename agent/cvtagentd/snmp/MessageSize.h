#pragma once

#include <cstddef>

struct snmp_pdu;
struct variable_list;

namespace cvtagentd {

/// What a message takes in octets, before it is encoded. All are upper bounds, seldom more than some tens of octets too high.
struct MessageSize {
    /// The most that a UDP message over IPv4 can hold.
    static constexpr std::size_t kLongest = 65507;

    /// How long a response may be: what the configuration allows (sendMessageMaxSize), a datagram holds and, in version 3,
    /// the sender of the request takes. `message`: the request or its response.
    static std::size_t Limit(const snmp_pdu& message);

    /// Hides what the sender of a request of version 3 takes from the library, which would drop varbinds beyond it before they
    /// come to be encoded, and never free them. Limit still knows it, of the request and of its response.
    static void KeepFromLibrary(snmp_pdu& request);

    /// All of the message but its varbinds.
    static std::size_t WithoutVarBinds(const snmp_pdu& message);

    /// One varbind, of the list that begins with it.
    static std::size_t Of(const variable_list& varBind);

    /// A bound of that which costs next to nothing, and may be several times too high.
    static std::size_t AtMost(const variable_list& varBind);

    /// A field with its tag and length. `content`: octets in it.
    static constexpr std::size_t Field(std::size_t content) {
        return content + (content < 0x80 ? 2 : content < 0x100 ? 3 : content < 0x10000 ? 4 : 6);
    }
};

}  // namespace cvtagentd
