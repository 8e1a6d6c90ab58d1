#pragma once

#include "CVT/BVarBind.h"

struct snmp_pdu;
struct variable_list;
struct netsnmp_request_info_s;

namespace cvtagentd {

/// Converts between the SNMP library's varbinds and the toolkit's. Stateless.
namespace VarBinds {

/// The name that a request asks for.
void ReadName(const variable_list& from, CVT::BObjectIdentifier& name);
/// Reads the name and value of a SET. A type that the toolkit does not know becomes kNull, which no column has: the
/// result is wrongType for every writable column, and notWritable for the others.
CVT::BVarBind ReadOffer(const variable_list& from);

/// Returns false when there is no memory for it.
bool WriteName(const CVT::BObjectIdentifier& name, variable_list& to);
/// An empty object identifier is sent as 0.0, since BER cannot encode it. Returns false when there is no memory, or
/// `from` holds no value.
bool WriteValue(const CVT::BVarBind& from, variable_list& to);

/// Sets the error-status of a request; genErr if `status` is not an error-status.
void Refuse(netsnmp_request_info_s& request, int status);

/// Converts an OID in the library's format.
void Narrow(const unsigned long* arcs, std::size_t count, CVT::BObjectIdentifier& to);
/// Whether an OID in the library's format lies in a subtree, or is its root.
bool IsIn(const CVT::BObjectIdentifier& subtree, const unsigned long* arcs, unsigned long length);
/// Whether the sender of a message may see this instance.
bool IsInView(const CVT::BObjectIdentifier& name, snmp_pdu& message);

}  // namespace VarBinds

}  // namespace cvtagentd
