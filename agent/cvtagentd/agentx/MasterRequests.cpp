#include "agent/cvtagentd/agentx/MasterRequests.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include "agent/cvtagentd/agentx/PduResponse.h"

namespace cvtagentd {
namespace {

/// Limits a master that keeps asking while requests wait, as DelegatedRequests does.
constexpr std::size_t kMostReads = 1000;
/// No SNMP message has so many varbinds.
constexpr std::size_t kMostVarBinds = 10'000;

/// Counts only the members that a message of its type uses: the others still hold what earlier messages left.
std::size_t NumVarBinds(const Pdu& pdu) {
    switch (pdu.header.type) {
        case PduType::kTestSet: return pdu.varBinds.size();
        case PduType::kGet:
        case PduType::kGetNext:
        case PduType::kGetBulk: return pdu.ranges.size();
        default: return 0;
    }
}

}  // namespace

MasterRequests::MasterRequests(const CVT::BMibEngine& engine, Requests& requests, std::string& output)
    : m_engine(engine), m_requests(requests), m_output(output), m_session(std::make_shared<bool>(true)) {
    for (CVT::BMibImpl* const group : engine.Groups()) {
        m_readers.try_emplace(group, *group);
    }
}

void MasterRequests::Take(const Pdu& pdu) {
    if (pdu.header.Has(kNonDefaultContext) && !pdu.context.empty()) {
        Respond(pdu.header, kUnsupportedContext);
        return;
    }
    if (NumVarBinds(pdu) > kMostVarBinds) {
        Respond(pdu.header, CVT::tooBig);
        return;
    }
    switch (pdu.header.type) {
        case PduType::kTestSet: Test(pdu); break;
        case PduType::kCommitSet: Continue(pdu.header, SetTransactions::Phase::kCommit); break;
        case PduType::kUndoSet: Continue(pdu.header, SetTransactions::Phase::kUndo); break;
        case PduType::kCleanupSet: Continue(pdu.header, SetTransactions::Phase::kRelease); break;
        default:
            if (!IsUnderWay(pdu.header)) {
                Read(pdu);
            }
    }
}

void MasterRequests::Read(const Pdu& pdu) {
    const auto& request = m_ids.Of(pdu.header.transaction, TransactionIds::Clock::now());
    const auto read = std::make_shared<MasterRead>(pdu, request, m_engine);
    try {
        Advance(read);
        if (read->IsAnswered()) {
            read->Respond(m_output);
        } else if (m_reads.size() < kMostReads &&
                   m_numWaiting + read->NumVarBinds() <= DelegatedRequests::kMostVarBinds) {
            m_reads.push_back(read);
            m_numWaiting += read->NumVarBinds();
        } else {
            read->isWanted = false;
            Respond(pdu.header, CVT::resourceUnavailable);
        }
    } catch (const std::bad_alloc&) {  // the caller refuses it: what was delegated need not go on
        read->isWanted = false;
        throw;
    }
}

/// A master that loses patience sends its request again under the same numbers: one answer serves both.
bool MasterRequests::IsUnderWay(const PduHeader& header) const {
    return std::any_of(m_reads.begin(), m_reads.end(), [&](const auto& read) { return read->IsFor(header); });
}

/// Asks each group that is next for some of the ranges, until all are answered or wait.
void MasterRequests::Advance(const std::shared_ptr<MasterRead>& read) {
    while (CVT::BMibImpl* const group = read->NextGroup(m_requests.sets)) {
        GroupReader& reader = m_readers.at(group);
        auto task = std::make_unique<MasterReadTask>(read, *group);
        std::shared_ptr<ReadCall> call;
        TimeSlice& slice = m_requests.delegated.SliceOf(read->Request()->Id());
        if (reader.GoOn(*task, call, slice) != GroupReader::Outcome::kDone) {
            m_requests.delegated.Add({&reader, std::move(task), std::move(call)});
        }
    }
}

void MasterRequests::GoOn() {
    std::erase_if(m_reads, [this](const std::shared_ptr<MasterRead>& read) {
        Advance(read);
        if (!read->IsAnswered()) {
            return false;
        }
        read->Respond(m_output);
        m_numWaiting -= read->NumVarBinds();
        return true;
    });
}

/// A varbind that no group has is refused before any is checked: it cannot be written or created.
void MasterRequests::Test(const Pdu& pdu) {
    std::vector<SetTransactions::Part> parts;
    for (const CVT::BVarBind& varBind : pdu.varBinds) {
        CVT::BMibImpl* const group = m_engine.GroupOf(varBind.name);
        if (group == nullptr) {
            Respond(pdu.header, CVT::notWritable, static_cast<unsigned int>(parts.size() + 1));
            return;
        }
        parts.push_back({group, varBind});
    }
    const auto& request = m_ids.Of(pdu.header.transaction, TransactionIds::Clock::now());
    m_requests.sets.Check(pdu.header.transaction, request, std::move(parts), Answering(pdu.header));
}

/// CleanupSet has no response.
void MasterRequests::Continue(const PduHeader& header, SetTransactions::Phase phase) {
    const bool isAnswered = phase != SetTransactions::Phase::kRelease;
    const SetTransactions::Done done = isAnswered ? Answering(header) : SetTransactions::Done();
    if (!m_requests.sets.Continue(header.transaction, phase, done) && isAnswered) {
        Respond(header, kProcessingError);
    }
}

SetTransactions::Done MasterRequests::Answering(const PduHeader& header) {
    return [this, header, session = std::weak_ptr<bool>(m_session)](SetTransactions::Result result) {
        if (session.lock() != nullptr) {
            Respond(header, result.status, result.index);
        }
    };
}

void MasterRequests::Respond(const PduHeader& header, int error, unsigned int index) {
    PduResponse(m_output, header).Finish(static_cast<std::uint16_t>(error), static_cast<std::uint16_t>(index));
}

void MasterRequests::Abandon() {
    for (const std::shared_ptr<MasterRead>& read : m_reads) {
        read->isWanted = false;
    }
    m_reads.clear();
    m_numWaiting = 0;
    m_ids.Clear();
    m_session = std::make_shared<bool>(true);
    m_requests.sets.AbandonAll();
}

}  // namespace cvtagentd
