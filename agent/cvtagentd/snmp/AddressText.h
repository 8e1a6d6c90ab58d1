#pragma once

#include <string_view>

namespace cvtagentd {

/// Checks the parts of an internet address as a user writes them, without asking this host or a name server.
/// Stateless, for any thread.
namespace AddressText {

/// A number from 0 to 65535.
bool IsPort(std::string_view text);

/// Whether it may be a host: a name, an IPv4 address, or an IPv6 address in brackets. It may include the
/// name of an interface, as in [fe80::1%eth0] or 192.0.2.1@eth0.
bool MayBeHost(std::string_view text);

/// Whether the host is an IPv6 address in brackets.
bool IsIpv6(std::string_view host);

}  // namespace AddressText

}  // namespace cvtagentd
