#pragma once

struct snmp_pdu;

namespace cvtagentd {

/// The names that a GETBULK asks for, kept with the request until its response is encoded.
///
/// Where a column has no next instance, the response carries endOfMibView under the last name of that column: the one
/// asked for in the first repetition, and that of the repetition before in the others. When there are non-repeaters,
/// the SNMP library instead writes a name of another varbind into the first repetition, and repeats it in the next
/// ones.
///
/// Used by the thread that runs the library.
namespace AskedNames {

/// Keeps the names of a request that has just come, if the library may get them wrong. Without memory for them the
/// response stays as the library makes it.
void Keep(snmp_pdu& request);

/// Corrects the names of all varbinds of a response that say endOfMibView.
void Restore(snmp_pdu& response);

}  // namespace AskedNames

}  // namespace cvtagentd
