#include "agent/cvtagentd/requests/SetTransactions.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <new>
#include <optional>
#include <utility>

#include "CVT/BSetCell.h"

namespace cvtagentd {
namespace {

enum class Work { kCheck, kCommit, kUndo, kRelease };

Work WorkOf(SetTransactions::Phase phase) {
    switch (phase) {
        case SetTransactions::Phase::kCommit: return Work::kCommit;
        case SetTransactions::Phase::kUndo: return Work::kUndo;
        default: return Work::kRelease;
    }
}

bool HaveSameValue(const CVT::BVarBind& a, const CVT::BVarBind& b) {
    if (a.type != b.type) {
        return false;
    }
    switch (a.type) {
        case CVT::kInteger: return a.integer == b.integer;
        case CVT::kCounter32:
        case CVT::kGauge32:
        case CVT::kTimeTicks: return a.number == b.number;
        case CVT::kObjectIdentifier: return a.identifier == b.identifier;
        default: return a.octets == b.octets;
    }
}

/// The error that a manager may be told: a group may return any number.
int ErrorOf(Work work, int status) {
    switch (work) {
        case Work::kCheck:
            return status > CVT::noError && status <= CVT::inconsistentName ? status : static_cast<int>(CVT::genErr);
        case Work::kCommit: return CVT::commitFailed;
        default: return CVT::undoFailed;
    }
}

int Do(Work work, CVT::BSetCell& cell) {
    int status = CVT::noError;
    switch (work) {
        case Work::kCheck: status = cell.Check(); break;
        case Work::kCommit: status = cell.Commit(); break;
        case Work::kUndo:
            status = cell.Undo();
            cell.Release();
            break;
        case Work::kRelease: cell.Release(); break;
    }
    return status == CVT::noError ? status : ErrorOf(work, status);
}

/// Whether the rest of a phase is pointless once one varbind has failed.
bool StopsAtFailure(Work work) { return work == Work::kCheck || work == Work::kCommit; }

}  // namespace

struct SetTransactions::Step {
    Work work;
    std::vector<Done> done;
};

struct SetTransactions::Transaction {
    Number number;
    std::shared_ptr<const CVT::BRequest> request;
    std::vector<Part> parts;
    std::vector<std::unique_ptr<CVT::BSetCell>> cells;  // one for each part
    std::deque<Step> steps{};                           // the first is under way
    std::shared_ptr<PhaseCall> call{};                  // of the first step; null: none is under way
    std::size_t next = 0;                               // the part where the first step goes on
    Result result{CVT::noError, 0};                     // of the first step, so far
    std::optional<Result> checked{};                    // the result of the check
    std::optional<Result> committed{};                  // of the commit
    bool isAbandoned = false;                           // nothing more can be asked of it
    bool isCut = false;                                 // nothing more is committed
    bool hasEnded = false;

    /// The step of this kind that the master waits for; null when there is none.
    Step* Awaited(Work work) {
        const auto step = std::find_if(steps.begin(), steps.end(),
                                       [&](const Step& one) { return one.work == work && !one.done.empty(); });
        return step == steps.end() ? nullptr : &*step;
    }

    bool HasSameParts(const std::vector<Part>& others) const {
        return std::equal(parts.begin(), parts.end(), others.begin(), others.end(), [](const Part& a, const Part& b) {
            return a.group == b.group && a.varBind.name == b.varBind.name && HaveSameValue(a.varBind, b.varBind);
        });
    }
};

/// One phase for parts that follow one another and lie in the same group.
struct SetTransactions::PhaseCall final : GroupCall {
    PhaseCall(std::shared_ptr<Transaction> of, Work what, std::size_t begin)
        : GroupCall(*of->parts[begin].group), transaction(std::move(of)), work(what), end(begin) {
        const std::vector<Part>& parts = transaction->parts;
        while (end < parts.size() && parts[end].group == &group) {
            ++end;
        }
        next = begin;
    }

    void Make() override {
        for (; next < end && !isUnwanted && (result.status == CVT::noError || !StopsAtFailure(work)); ++next) {
            const int status = Do(work, *transaction->cells[next]);
            if (status != CVT::noError && result.status == CVT::noError) {
                result = {status, static_cast<unsigned int>(next + 1)};
            }
        }
    }

    const std::shared_ptr<Transaction> transaction;
    const Work work;
    std::size_t next;
    std::size_t end;
    Result result{CVT::noError, 0};
};

SetTransactions::SetTransactions(GroupWorkers& workers) : m_workers(workers) {}
SetTransactions::~SetTransactions() = default;

SetTransactions::Place SetTransactions::Find(Number number) {
    return std::find_if(m_transactions.begin(), m_transactions.end(),
                        [&](const auto& one) { return one->number == number && !one->isAbandoned; });
}

bool SetTransactions::HasRoomFor(std::size_t varBinds) const {
    std::size_t count = varBinds;
    for (const std::shared_ptr<Transaction>& transaction : m_transactions) {
        count += transaction->parts.size();
    }
    return m_transactions.size() < kMost && count <= kMostVarBinds;
}

void SetTransactions::Check(Number number, const std::shared_ptr<const CVT::BRequest>& request, std::vector<Part> parts,
                            Done done) {
    if (const Place known = Find(number); known != m_transactions.end()) {
        Transaction& transaction = **known;
        if (transaction.HasSameParts(parts)) {
            if (transaction.checked) {
                done(*transaction.checked);
            } else {
                transaction.steps.front().done.push_back(std::move(done));
            }
            return;
        }
        Supersede(*known);
    }
    if (!HasRoomFor(parts.size())) {  // the oldest that its master has left alone makes room for the next
        const auto idle = std::find_if(m_transactions.begin(), m_transactions.end(),
                                       [](const auto& one) { return one->steps.empty(); });
        if (idle != m_transactions.end()) {
            Abandon(**idle);
            Advance(*idle);
            RemoveEnded();
        }
    }
    if (!HasRoomFor(parts.size())) {
        done({CVT::resourceUnavailable, 1});
        return;
    }
    auto transaction = std::make_shared<Transaction>(Transaction{number, request, std::move(parts), {}});
    for (const Part& part : transaction->parts) {
        transaction->cells.push_back(std::make_unique<CVT::BSetCell>(*part.group, request->Id(), part.varBind));
    }
    transaction->steps.push_back({Work::kCheck, {std::move(done)}});
    m_transactions.push_back(transaction);
    Advance(transaction);
    RemoveEnded();
}

bool SetTransactions::Continue(Number number, Phase phase, Done done) {
    const Work work = WorkOf(phase);
    Place known = Find(number);
    if (known == m_transactions.end()) {  // the phase that ends it may still be awaited
        known = std::find_if(m_transactions.begin(), m_transactions.end(),
                             [&](const auto& one) { return one->number == number && one->Awaited(work) != nullptr; });
    }
    if (known == m_transactions.end()) {
        return false;
    }
    Transaction& transaction = **known;
    if (Step* const same = transaction.Awaited(work); same != nullptr) {
        same->done.push_back(std::move(done));
    } else if (work == Work::kCommit && transaction.committed) {
        done(*transaction.committed);
    } else {
        transaction.steps.push_back({work, {std::move(done)}});
        transaction.isAbandoned = work != Work::kCommit;
        Advance(*known);
        RemoveEnded();
    }
    return true;
}

/// What the master has asked of it so far gets an answer.
void SetTransactions::Supersede(const std::shared_ptr<Transaction>& transaction) {
    std::vector<Done> unanswered;
    for (Step& step : transaction->steps) {
        std::move(step.done.begin(), step.done.end(), std::back_inserter(unanswered));
    }
    Abandon(*transaction);
    Advance(transaction);
    for (const Done& done : unanswered) {
        if (done) {
            done({CVT::genErr, 0});
        }
    }
}

/// What is under way is finished first, but a commit stops after the varbind that it is writing, since no undo may be
/// able to take back its effects. A step that ends the transaction is left to do so.
void SetTransactions::Abandon(Transaction& transaction) {
    transaction.isAbandoned = true;
    const bool isEnding = std::any_of(transaction.steps.begin(), transaction.steps.end(), [](const Step& step) {
        return step.work == Work::kUndo || step.work == Work::kRelease;
    });
    for (Step& step : transaction.steps) {
        step.done.clear();
    }
    if (!isEnding) {
        transaction.isCut = true;
        if (transaction.call != nullptr && transaction.call->work == Work::kCommit) {
            transaction.call->isUnwanted = true;
        }
        transaction.steps.resize(std::min<std::size_t>(transaction.steps.size(), transaction.call == nullptr ? 0 : 1));
        transaction.steps.push_back({Work::kUndo, {}});
    }
}

void SetTransactions::AbandonAll() {
    for (const std::shared_ptr<Transaction>& transaction : m_transactions) {
        Abandon(*transaction);
        Advance(transaction);
    }
    RemoveEnded();
}

/// Starts the next call of the first step. Returns false when there is no thread or no memory for it.
bool SetTransactions::Start(const std::shared_ptr<Transaction>& transaction) {
    try {
        const auto call = std::make_shared<PhaseCall>(transaction, transaction->steps.front().work, transaction->next);
        if (m_workers.Start(call)) {
            transaction->call = call;
        }
    } catch (const std::bad_alloc&) {  // it has not been started
    }
    return transaction->call != nullptr;
}

/// Starts the next call, if none is under way. Where it cannot be started, nothing is checked or written any more; the
/// rest is done here. Returns whether a phase is over.
bool SetTransactions::Advance(const std::shared_ptr<Transaction>& transaction) {
    bool isOneOver = false;
    while (transaction->call == nullptr && !transaction->steps.empty()) {
        Step& step = transaction->steps.front();
        const bool isStopped = (transaction->result.status != CVT::noError && StopsAtFailure(step.work)) ||
                               (transaction->isCut && step.work == Work::kCommit);
        if (transaction->next < transaction->parts.size() && !isStopped) {
            if (Start(transaction)) {
                break;
            }
            PhaseCall call(transaction, step.work, transaction->next);
            if (StopsAtFailure(step.work)) {
                const int error = step.work == Work::kCheck ? CVT::resourceUnavailable : CVT::commitFailed;
                call.result = {error, static_cast<unsigned int>(transaction->next + 1)};
            } else {
                const CVT::TMutex::Guard guard(call.group.RequestLock());
                call.Make();
            }
            Take(*transaction, call);
            continue;
        }
        isOneOver = true;
        const Step over = std::move(step);
        transaction->steps.pop_front();
        transaction->next = 0;
        const Result result = std::exchange(transaction->result, Result{CVT::noError, 0});
        if (over.work == Work::kCheck) {
            transaction->checked = result;
        } else if (over.work == Work::kCommit) {
            transaction->committed = result;
        }
        transaction->hasEnded |= over.work == Work::kUndo || over.work == Work::kRelease;
        for (const Done& done : over.done) {
            if (done) {
                done(result);
            }
        }
    }
    return isOneOver;
}

void SetTransactions::Take(Transaction& transaction, const PhaseCall& call) {
    transaction.next = call.end;
    if (transaction.result.status == CVT::noError) {
        transaction.result = call.result;
    }
}

bool SetTransactions::GoOn() {
    bool isOneOver = false;
    for (const std::shared_ptr<Transaction>& transaction : m_transactions) {
        if (transaction->call == nullptr || !transaction->call->isDone) {
            continue;
        }
        const std::shared_ptr<PhaseCall> call = std::move(transaction->call);
        transaction->call = nullptr;
        Take(*transaction, *call);
        isOneOver |= Advance(transaction);
    }
    RemoveEnded();
    return isOneOver;
}

void SetTransactions::RemoveEnded() {
    std::erase_if(m_transactions, [](const auto& one) { return one->hasEnded && one->steps.empty(); });
}

bool SetTransactions::IsUnderWay(const CVT::BMibImpl& group) const {
    return std::any_of(m_transactions.begin(), m_transactions.end(), [&](const auto& one) {
        return !one->steps.empty() && std::any_of(one->parts.begin(), one->parts.end(),
                                                  [&](const Part& part) { return part.group == &group; });
    });
}

void SetTransactions::ReleaseAll() {
    for (const std::shared_ptr<Transaction>& transaction : std::exchange(m_transactions, {})) {
        const bool isConfirmed = std::any_of(transaction->steps.begin(), transaction->steps.end(),
                                             [](const Step& step) { return step.work == Work::kRelease; });
        for (const std::unique_ptr<CVT::BSetCell>& cell : transaction->cells) {
            Do(isConfirmed ? Work::kRelease : Work::kUndo, *cell);
        }
        transaction->call = nullptr;
    }
}

}  // namespace cvtagentd
