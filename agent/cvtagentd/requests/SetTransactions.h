#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "CVT/BMibImpl.h"
#include "CVT/BRequest.h"
#include "CVT/BVarBind.h"
#include "agent/cvtagentd/requests/GroupWorkers.h"

namespace cvtagentd {

/// The SETs of an AgentX master, whose phases come one by one under the number of a transaction: check, and then
/// commit, undo and release in whatever order the master sends them.
///
/// Each phase is carried out by the workers of the groups concerned, one group after the other, so that nobody else
/// waits for a group that is busy or slow. Phases of one transaction wait for each other. Whatever the master sends, or
/// does not send, a group sees a commit only after its check, an undo only after its commit, and one release for each
/// check that passed (CVT::BSetCell).
///
/// Used by the thread that runs the event loop; the groups must outlive it, or ReleaseAll.
class SetTransactions {
public:
    using Number = std::uint32_t;

    enum class Phase {
        kCommit,
        kUndo,  ///< what was committed; and release
        kRelease
    };
    struct Part {
        CVT::BMibImpl* group;
        CVT::BVarBind varBind;  ///< the name and the new value
    };
    struct Result {
        /// noError, or the error-status of the varbind that stopped the phase: one that SNMP allows for a check, or
        /// commitFailed or undoFailed.
        int status;
        unsigned int index;  ///< its place in the transaction, from 1; 0 without an error
    };
    /// Called once, at the end of the phase, unless the transaction is abandoned before. May be empty.
    using Done = std::function<void(Result)>;

    explicit SetTransactions(GroupWorkers& workers);
    ~SetTransactions();
    SetTransactions(const SetTransactions&) = delete;
    SetTransactions& operator=(const SetTransactions&) = delete;

    /// How many SETs may be under way, and how many varbinds they may have together: each takes a kilobyte of memory.
    static constexpr std::size_t kMost = 100;
    static constexpr std::size_t kMostVarBinds = 20000;

    /// Begins a transaction and checks its parts, up to the first that is refused. A transaction that is checked again
    /// gets the result of its first check; if its parts differ, it is undone, what it still owes an answer fails, and a
    /// new one begins.
    void Check(Number number, const std::shared_ptr<const CVT::BRequest>& request, std::vector<Part> parts, Done done);
    /// Carries out another phase. kUndo and kRelease end the transaction. A phase that the master asks for again is
    /// carried out once, and its result serves both. Returns false, without a call of `done`, when there is no
    /// transaction of this number.
    bool Continue(Number number, Phase phase, Done done);
    /// The master will continue none of them: what was committed is undone, and all are released. A commit that is
    /// under way stops after the varbind that it is writing.
    void AbandonAll();

    /// Call it when a call of the workers is done. May call Done. Returns whether a phase is over.
    bool GoOn();
    /// Whether a phase that concerns this group has begun and is not over.
    bool IsUnderWay(const CVT::BMibImpl& group) const;

    /// Undoes and releases what is left, without workers: they must have ended.
    void ReleaseAll();

private:
    struct Transaction;
    struct Step;
    struct PhaseCall;
    using Place = std::list<std::shared_ptr<Transaction>>::iterator;

    Place Find(Number number);
    bool HasRoomFor(std::size_t varBinds) const;
    void Supersede(const std::shared_ptr<Transaction>& transaction);
    void Abandon(Transaction& transaction);
    bool Start(const std::shared_ptr<Transaction>& transaction);
    static void Take(Transaction& transaction, const PhaseCall& call);
    bool Advance(const std::shared_ptr<Transaction>& transaction);
    void RemoveEnded();

    GroupWorkers& m_workers;
    std::list<std::shared_ptr<Transaction>> m_transactions;  // also those that are abandoned and not yet undone
};

}  // namespace cvtagentd
