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

/// Whether an attempt to listen on the address failed because nobody knows its host: the name may be wrong, or the
/// resolver may know it later. `error`: the system error after the attempt, which then means nothing.
bool IsUnresolved(const std::string& address, int error);

/// What a system error says about the attempt to listen, and what to do. `error` 0: the address is not valid.
std::string Advice(const std::string& address, int error);
std::string Advice(int error);

}  // namespace ListenAddress

}  // namespace cvtagentd
