#pragma once

#include <string>

namespace cvtagentd {

/// Whom the SNMP library lets in, according to the access rules that it has read and the users that it knows. Used by
/// the thread that runs the library.
namespace Admission {

/// Logs a warning when no request of anybody can be answered: no community may be used, and no SNMPv3 user with access
/// exists. The agent then serves nobody, although the configuration has no fault.
void WarnIfNobody();

}  // namespace Admission

}  // namespace cvtagentd
