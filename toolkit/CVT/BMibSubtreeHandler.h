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

/// The root of everything that answers for a subtree of object identifiers: a name and the subtree's OID.
///
/// The life of a request. The host (an agent, a walker) gives each request an identifier (BRequestId), the same for every
/// call made on the request's behalf, and finds the handler whose subtree holds a varbind's name. Then
///
///  - GET: Get. The handler finds the column's entry in its request-handler table and calls the bound get operation.
///    A column that is not served gives noSuchObject, an instance that is not there noSuchInstance, in version 1 both
///    give the error noSuchName.
///  - GETNEXT, and each repetition of GETBULK: GetNext. The handler finds the first instance behind the name and reads
///    it; one that vanishes in between is passed over. At the end of the subtree the host goes on with the next handler.
///  - SET: Set, once a phase. All varbinds pass CheckAndSave before any passes Commit. CheckAndSave first applies the
///    toolkit's own checks in this order: notWritable, wrongType, wrongLength, wrongValue, noCreation; then it calls the
///    group's set operation, which refuses what it must and may store a saved value in the varbind's undo cell. The
///    toolkit reads nothing before a SET. When a Commit fails, those committed before it get Undo. Whatever passed
///    CheckAndSave gets Release, exactly once, last. BSetCell keeps these rules for one varbind.
///
/// Every call of a group's operations is made under its request lock (BMibImpl). No operation here throws: what a group's
/// operation throws is caught and becomes genErr.
class CVT_API BMibSubtreeHandler {
public:
    BMibSubtreeHandler(const BMibSubtreeHandler&) = delete;
    BMibSubtreeHandler& operator=(const BMibSubtreeHandler&) = delete;
    virtual ~BMibSubtreeHandler();

    /// For hosts that offer periodic work: called when `interval` has passed, to do some and to say when to be called
    /// again (0: never). The hosts that come with the toolkit do not call it. Says never.
    virtual void OnTimeout(BTimeInterval& interval);

    /// Reads every varbind of the list, which all lie in this subtree. Gives noError, or the first failure with its
    /// 1-based place in `errorIndex` (0 without failure). `version` is an ESnmpVersion.
    virtual int Get(unsigned int requestId, BVarBindList& varBinds, int& errorIndex, int version) = 0;
    /// Moves every varbind to the next instance of this subtree and reads it; behind the last one it becomes
    /// endOfMibView, in version 1 the error noSuchName.
    virtual int GetNext(unsigned int requestId, BVarBindList& varBinds, int& errorIndex, int version);
    /// Moves one varbind to the next instance of this subtree and reads it. At the end of the subtree it gives noSuchName
    /// and leaves the varbind untouched. The name may lie anywhere, also before the subtree.
    virtual int GetNext(unsigned int requestId, BVarBind& varBind) = 0;
    /// One phase of a SET for every varbind of the list; `undo` has a cell for each, null before CheckAndSave. A phase is
    /// all or nothing: a CheckAndSave that fails has released what it had saved, a Commit that fails has undone what it
    /// had committed (undoFailed, with an errorIndex of 0, when it could not). Release visits every cell and empties it.
    virtual int Set(unsigned int requestId, const BVarBindList& varBinds, ESnmpSetOpCode phase, void** undo,
                    int& errorIndex, int version) = 0;

    /// Whether `name` lies in this subtree.
    virtual bool HandlesInstance(const BObjectIdentifier& name);
    /// Owned by the handler.
    virtual IMibInfo* GetIMibInfo() = 0;
    /// The registered name and the OID, for people.
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
