#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "CVT/BMibInfo.h"
#include "CVT/BMibSubtreeHandler.h"
#include "CVT/TMutex.h"

namespace CVT {

/// The value of BMibImpl's handler-kind word.
enum EHandlerKind : unsigned int {
    kBareHandler = 1,
    kScalarHandler = 3,
    kTableHandler = 4,
};

/// The reading calls to a group.
enum class EReading { Get, NextInstance };

/// One MIB group: columns bound to member functions, the constraints on them, and the lock under which they run.
///
/// A group class derives from BMibScalarGroupImpl or BMibTableImpl. It supplies its two static tables, Initialize and
/// Cleanup; a table also supplies the order of its rows.
///
/// The request lock is recursive and normally belongs to the group. A group built on a parent uses the parent's lock,
/// so that both are served one at a time. The toolkit holds the lock around every call of a group's operation, and
/// Initialize and Cleanup are called with it held, so groups never lock for themselves. A module whose groups need each
/// other's locks must fix one order for them and document it.
class CVT_API BMibImpl : public BMibSubtreeHandler {
public:
    ~BMibImpl() override;

    int Get(unsigned int requestId, BVarBindList& varBinds, int& errorIndex, int version) override;
    using BMibSubtreeHandler::GetNext;
    int GetNext(unsigned int requestId, BVarBind& varBind) override;
    int Set(unsigned int requestId, const BVarBindList& varBinds, ESnmpSetOpCode phase, void** undo, int& errorIndex,
            int version) override;
    IMibInfo* GetIMibInfo() override;
    BString ToString() override;

    /// Reads one instance. Returns noError with the value or an exception in the varbind, otherwise the group's error.
    virtual int Get(unsigned int requestId, BVarBind& varBind) = 0;
    /// One phase of a SET for one varbind. `*undo` is null before CheckAndSave.
    virtual int Set(unsigned int requestId, ESnmpSetOpCode phase, void** undo, const BVarBind& varBind) = 0;
    /// Moves the name to the next instance without reading it. Returns noSuchName, with the varbind untouched, at the
    /// end.
    virtual int NextInstance(unsigned int requestId, BVarBind& varBind) = 0;

    /// Called once with the request lock held. Until then the group answers from its constructed fields.
    virtual void Initialize() = 0;
    /// Called once with the request lock held, when no request will follow.
    virtual void Cleanup() = 0;
    /// The class's s_rqhndlrEntries.
    virtual const BRqHndlrEntry* GetRqHndlrMap() const = 0;
    /// The class's s_sonstraintEntries.
    virtual const BConstraintEntry* GetConstraintMap() const = 0;

    TMutex& RequestLock() { return *m_requestLock; }
    /// Between Initialize and Cleanup. Readable without the lock.
    bool IsActive() const { return m_active.load() != 0; }
    unsigned int HandlerKind() const { return m_handlerKind; }

    /// Whether this call, made now, may take long: for a host that serves many clients from one thread, and makes such
    /// a call on another. `name` is the one that would be passed to the call. Call it with the request lock held.
    /// After false, make the call before the lock is released: the group stands by that answer for its next call only.
    bool MayTakeLong(EReading call, unsigned int requestId, const BObjectIdentifier& name) const {
        return m_slowCalls && m_slowCalls(call, requestId, name);
    }

    /// The textual conventions of the module that owns the group, used by the checks on SET; null means only the
    /// toolkit's. A host sets them (as BMibEngine::Add does) before it serves the group.
    void SetModuleConventions(const BConstraintEntry* conventions) { m_moduleConventions = conventions; }
    const BConstraintEntry* ModuleConventions() const { return m_moduleConventions; }

protected:
    BMibImpl(const char* name, const char* oid, EHandlerKind kind);
    /// Uses the parent's request lock; the parent must outlive the use of this group.
    BMibImpl(BMibImpl& parent, const char* name, const char* oid, EHandlerKind kind);

    void SetActive(int active) { m_active.store(active); }

    /// Decides which calls MayTakeLong; without it, none may. Set it in the constructor. It is called before each call
    /// of a request, with the request lock held, so as a rule it should cost little more than a comparison. Where the
    /// answer depends on what changes by itself (a clock, a file), remember false for the call that follows.
    using SlowCalls = std::function<bool(EReading call, unsigned int requestId, const BObjectIdentifier& name)>;
    void SetSlowCalls(SlowCalls slowCalls) { m_slowCalls = std::move(slowCalls); }

    /// Returns the column that `name` lies in, and sets `index` to the rest of the name. Null when no served column
    /// contains the name.
    const BRqHndlrEntry* Locate(const BObjectIdentifier& name, BObjectIdentifier& index) const;

    /// Returns the first column to try in a search for the next instance, and sets `index` to the position within it.
    std::span<const BRqHndlrEntry>::iterator FirstCandidate(const BObjectIdentifier& name,
                                                            BObjectIdentifier& index) const;

private:
    TMutex m_ownLock{true};
    TMutex* m_requestLock;
    std::atomic<int> m_active = 0;
    [[maybe_unused]] unsigned int m_reserved = 0;
    unsigned int m_handlerKind = kBareHandler;
    BMibInfo m_info;
    const BConstraintEntry* m_moduleConventions = nullptr;
    SlowCalls m_slowCalls;
};

}  // namespace CVT
