#include "agent/cvtagentd/requests/SetTransactions.h"

#include <algorithm>
#include <deque>
#include <iterator>
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

int Do(Work work, CVT::BSetCell& cell) {
    int status = CVT::noError;
    switch (work) {
        case Work::kCheck: return cell.Check();
        case Work::kCommit: return cell.Commit();
        case Work::kUndo:
            status = cell.Undo() == CVT::noError ? CVT::noError : CVT::undoFailed;
            cell.Release();
            return status;
        case Work::kRelease: cell.Release(); break;
    }
    return status;
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
    bool isAbandoned = false;
    bool hasEnded = false;

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
        for (; next < end && (result.status == CVT::noError || !StopsAtFailure(work)); ++next) {
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
    if (m_transactions.size() >= kMost) {  // the oldest that its master has left alone makes room for the next
        const auto idle = std::find_if(m_transactions.begin(), m_transactions.end(),
                                       [](const auto& one) { return one->steps.empty(); });
        if (idle != m_transactions.end()) {
            Abandon(**idle);
            Advance(*idle);
            RemoveEnded();
        }
    }
    if (m_transactions.size() >= kMost) {
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
    const Place known = Find(number);
    if (known == m_transactions.end()) {
        return false;
    }
    Transaction& transaction = **known;
    transaction.steps.push_back({WorkOf(phase), {std::move(done)}});
    if (phase != Phase::kCommit) {
        transaction.isAbandoned = true;  // nothing more can be asked of it
    }
    Advance(*known);
    RemoveEnded();
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

/// What is under way is finished first. A step that ends the transaction is left to do so.
void SetTransactions::Abandon(Transaction& transaction) {
    transaction.isAbandoned = true;
    const bool isEnding = std::any_of(transaction.steps.begin(), transaction.steps.end(), [](const Step& step) {
        return step.work == Work::kUndo || step.work == Work::kRelease;
    });
    for (Step& step : transaction.steps) {
        step.done.clear();
    }
    if (!isEnding) {
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

/// Starts the next call, if none is under way. Where no thread can be had, nothing is checked or written any more; the
/// rest is done here. Returns whether a phase is over.
bool SetTransactions::Advance(const std::shared_ptr<Transaction>& transaction) {
    bool isOneOver = false;
    while (transaction->call == nullptr && !transaction->steps.empty()) {
        Step& step = transaction->steps.front();
        const bool isStopped = transaction->result.status != CVT::noError && StopsAtFailure(step.work);
        if (transaction->next < transaction->parts.size() && !isStopped) {
            const auto call = std::make_shared<PhaseCall>(transaction, step.work, transaction->next);
            if (m_workers.Start(call)) {
                transaction->call = call;
                break;
            }
            if (StopsAtFailure(step.work)) {
                transaction->result = {CVT::resourceUnavailable, static_cast<unsigned int>(transaction->next + 1)};
            } else {
                const CVT::TMutex::Guard guard(call->group.RequestLock());
                call->Make();
            }
            transaction->next = call->end;
            continue;
        }
        isOneOver = true;
        const Step over = std::move(step);
        transaction->steps.pop_front();
        transaction->next = 0;
        const Result result = std::exchange(transaction->result, Result{CVT::noError, 0});
        if (over.work == Work::kCheck) {
            transaction->checked = result;
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

bool SetTransactions::GoOn() {
    bool isOneOver = false;
    for (const std::shared_ptr<Transaction>& transaction : m_transactions) {
        if (transaction->call == nullptr || !transaction->call->isDone) {
            continue;
        }
        const std::shared_ptr<PhaseCall> call = std::move(transaction->call);
        transaction->call = nullptr;
        transaction->next = call->end;
        if (transaction->result.status == CVT::noError) {
            transaction->result = call->result;
        }
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
