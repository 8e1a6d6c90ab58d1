#pragma once

#include "CVT/BMibImpl.h"

struct netsnmp_request_info_s;

namespace cvtagentd {

/// The phases of the SNMP library's SETs: the varbinds of a SET that lie in one group's subtree come here phase by
/// phase. A varbind is kept from phase to phase as a CVT::BSetCell, attached to the library's request, and so is
/// released when that request is freed, whatever has happened. Used by the thread that runs the library; the groups
/// must outlive the requests.
namespace LibrarySets {

using Request = netsnmp_request_info_s;

/// Stops at the first varbind that is refused.
void Check(CVT::BMibImpl& group, unsigned int requestId, Request* requests);
/// Stops at the first that cannot be written: the library continues with the undo phase.
void Commit(Request* requests);
void UndoAndRelease(Request* requests);
void Release(Request* requests);

}  // namespace LibrarySets

}  // namespace cvtagentd
