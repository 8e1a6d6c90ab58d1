#pragma once

#include <string>

namespace cvtagentd {

/// What to do about a fault that the SNMP library has found in a configuration: its messages say little more than that
/// there is one. Stateless.
namespace FaultAdvice {

/// Adds the advice to the message, or replaces words that mislead. A message without advice stays as it is.
void AddTo(std::string& fault);

}  // namespace FaultAdvice

}  // namespace cvtagentd
