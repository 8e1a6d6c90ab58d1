#pragma once

#include "CVT/BVarBind.h"

struct snmp_pdu;
struct variable_list;
struct netsnmp_request_info_s;

namespace cvtagentd {

/// Between the SNMP library's varbinds and the toolkit's. Stateless.
namespace VarBinds {

/// The name that a request asks for.
void ReadName(const variable_list& from, CVT::BObjectIdentifier& name);
/// Name and value of a SET. A type that the toolkit does not know becomes kNull, which no column has: it is wrongType
/// to every column that can be written, and notWritable to the others.
CVT::BVarBind ReadOffer(const variable_list& from);

/// False when there is no memory for it.
bool WriteName(const CVT::BObjectIdentifier& name, variable_list& to);
/// An empty object identifier goes out as 0.0, since BER has none. False when there is no memory, or `from` holds no
/// value.
bool WriteValue(const CVT::BVarBind& from, variable_list& to);

/// Gives the request an error-status; genErr for what is none.
void Refuse(netsnmp_request_info_s& request, int status);

/// Whether `name` lies before an OID of the library's.
bool IsBefore(const CVT::BObjectIdentifier& name, const unsigned long* end, unsigned long endLength);
/// Whether an OID of the library's lies in a subtree, or is its root.
bool IsIn(const CVT::BObjectIdentifier& subtree, const unsigned long* arcs, unsigned long length);
/// Whether the sender of a message may see this instance.
bool IsInView(const CVT::BObjectIdentifier& name, snmp_pdu& message);

}  // namespace VarBinds

}  // namespace cvtagentd
