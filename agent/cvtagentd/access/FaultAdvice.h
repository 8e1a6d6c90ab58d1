#pragma once

#include <string>
#include <string_view>

namespace cvtagentd {

/// What to do about a fault that the SNMP library has found in a configuration: its messages say little more than that
/// there is one. Stateless.
namespace FaultAdvice {

/// How the library begins to say that it does not know a directive, whose name follows.
inline constexpr std::string_view kUnknownDirective = "Unknown token: ";

/// Adds the advice to the message, or replaces words that mislead. A message without advice stays as it is.
void AddTo(std::string& fault);

}  // namespace FaultAdvice

}  // namespace cvtagentd
