#pragma once

#include <string>

namespace cvtagentd {

/// An address to listen on, in the SNMP library's notation. Stateless; except for WhyMalformed, used by the thread that
/// runs the library.
namespace ListenAddress {

inline constexpr const char* kNotASocket = "that file is not a socket; choose another name";

/// Why the text cannot be an address on any host, and what to do; empty when it may be one.
std::string WhyMalformed(const std::string& address);

/// Why the agent could not listen on the address, and what to do, found out without opening its port or its socket
/// file: internet addresses are tried with a port that the system chooses. Empty when there is no reason, and when only
/// the real port could tell, because it is in use or needs more rights.
/// `mayPass` tells whether that depends on the host, such as an interface that is down for now.
std::string WhyNot(const std::string& address, bool& mayPass);

/// Whether the address of a Unix socket names a file that is not a socket. The library would delete that.
bool IsOtherFile(const std::string& address);

inline constexpr const char* kUnresolved =
    "not a valid address, or its host cannot be resolved; write it as udp:HOST:PORT, tcp:HOST:PORT, udp6:[HOST]:PORT "
    "or unix:FILE";

enum class Host { kKnown, kUnknownForNow, kUnknown };

/// Whether the address's host is known, which an address without a host always is. Asks the system's resolver, and may
/// take many seconds. For an attempt to listen that has failed: if the host was the reason, errno does not tell.
Host LookUp(const std::string& address);

/// What a system error says about the attempt to listen, and what to do. `error` 0: the address is not valid.
std::string Advice(int error);

}  // namespace ListenAddress

}  // namespace cvtagentd
