#pragma once

#include <array>

#include "CVT/Api.h"
#include "CVT/BObjectIdentifier.h"
#include "CVT/BString.h"
#include "CVT/BTimeInterval.h"
#include "CVT/BVarBind.h"
#include "CVT/IMibInfo.h"
#include "CVT/SnmpTypes.h"

namespace CVT {

/// The base of everything that answers for a subtree of object identifiers. It has a name and the subtree's OID.
///
/// The life of a request. The host (an agent, a walker) gives each request an identifier (BRequestId), the same for
/// every call made on behalf of the request, and finds the handler whose subtree contains a varbind's name. Then
///
///  - GET: Get. The handler finds the column's entry in its request-handler table and calls the bound get operation. A
///    column that is not served returns noSuchObject, an absent instance noSuchInstance; in version 1 both return the
///    error noSuchName.
///  - GETNEXT, and each repetition of GETBULK: GetNext. The handler finds the first instance after the name and reads
///    it; one that vanishes in between is skipped. At the end of the subtree the host continues with the next handler.
///  - SET: Set, once for each phase. All varbinds pass CheckAndSave before any passes Commit. CheckAndSave first
///    applies the toolkit's own checks in this order: notWritable, wrongType, wrongLength, wrongValue, noCreation. Then
///    it calls the group's set operation, which rejects what it must and may store a saved value in the varbind's undo
///    cell. The toolkit reads nothing before a SET. When a Commit fails, the varbinds committed before it get Undo.
///    Every varbind that passed CheckAndSave gets Release, exactly once, last. BSetCell enforces these rules for one
///    varbind.
///
/// Every call of a group's operation is made under its request lock (BMibImpl). No operation here throws: an exception
/// from a group's operation is caught and becomes genErr.
class CVT_API BMibSubtreeHandler {
public:
    BMibSubtreeHandler(const BMibSubtreeHandler&) = delete;
    BMibSubtreeHandler& operator=(const BMibSubtreeHandler&) = delete;
    virtual ~BMibSubtreeHandler();

    /// For hosts that offer periodic work. Called when `interval` has passed, to do some work and to set when to be
    /// called again (0: never). The hosts that come with the toolkit do not call it. The default sets never.
    virtual void OnTimeout(BTimeInterval& interval);

    /// Reads every varbind of the list, all of which lie in this subtree. Returns noError, or the first failure with
    /// its 1-based position in `errorIndex` (0 on success). `version` is an ESnmpVersion.
    virtual int Get(unsigned int requestId, BVarBindList& varBinds, int& errorIndex, int version) = 0;
    /// Moves every varbind to the next instance of this subtree and reads it. After the last instance a varbind becomes
    /// endOfMibView; in version 1 the result is the error noSuchName.
    virtual int GetNext(unsigned int requestId, BVarBindList& varBinds, int& errorIndex, int version);
    /// Moves one varbind to the next instance of this subtree and reads it. Returns noSuchName at the end of the
    /// subtree and leaves the varbind untouched. The name may lie anywhere, even before the subtree.
    virtual int GetNext(unsigned int requestId, BVarBind& varBind) = 0;
    /// One phase of a SET for every varbind of the list; `undo` has a cell for each, null before CheckAndSave. A phase
    /// is all or nothing: a CheckAndSave that fails has released what it saved, and a Commit that fails has undone what
    /// it committed (undoFailed, with an errorIndex of 0, when that was impossible). Release visits and empties every
    /// cell.
    virtual int Set(unsigned int requestId, const BVarBindList& varBinds, ESnmpSetOpCode phase, void** undo,
                    int& errorIndex, int version) = 0;

    /// Whether `name` lies in this subtree.
    virtual bool HandlesInstance(const BObjectIdentifier& name);
    /// Owned by the handler.
    virtual IMibInfo* GetIMibInfo() = 0;
    /// The registered name and the OID as text, for logs and messages.
    virtual BString ToString() = 0;

    const BString& Name() const { return m_name; }
    const BObjectIdentifier& Oid() const { return m_oid; }

protected:
    /// `oid` is dotted decimal text.
    BMibSubtreeHandler(const char* name, const char* oid);

    void AppendToOid(unsigned int arc) { m_oid.Append(arc); }

private:
    BString m_name;
    BObjectIdentifier m_oid;
    [[maybe_unused]] std::array<unsigned int, 3> m_reserved{};
};

}  // namespace CVT
