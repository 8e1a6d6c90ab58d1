#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>

#include "CVT/BMibEngine.h"
#include "agent/cvtagentd/agentx/MasterRead.h"
#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/agentx/TransactionIds.h"
#include "agent/cvtagentd/requests/GroupReader.h"
#include "agent/cvtagentd/requests/Requests.h"

namespace cvtagentd {

/// The requests of a master in one session: answers those that are quick at once, and the others when they can be. Used
/// by the thread that runs the event loop.
class MasterRequests {
public:
    /// The groups of the engine answer. Responses are appended to `output`. All must outlive it.
    MasterRequests(const CVT::BMibEngine& engine, Requests& requests, std::string& output);
    MasterRequests(const MasterRequests&) = delete;
    MasterRequests& operator=(const MasterRequests&) = delete;

    /// Takes a Get, GetNext, GetBulk, TestSet, CommitSet, UndoSet or CleanupSet.
    void Take(const Pdu& pdu);
    /// Call it when delegated requests, or phases of SETs, may be over.
    void GoOn();
    /// The session is over: nothing is answered any more, what was written and not confirmed is undone.
    void Abandon();
    /// Forgets what has not been used for a while. Returns when to call it again; no value: no need to.
    std::optional<std::chrono::milliseconds> Expire() { return m_ids.Expire(TransactionIds::Clock::now()); }

private:
    bool IsUnderWay(const PduHeader& header) const;
    void Read(const Pdu& pdu);
    void Advance(const std::shared_ptr<MasterRead>& read);
    void Test(const Pdu& pdu);
    void Continue(const PduHeader& header, SetTransactions::Phase phase);
    SetTransactions::Done Answering(const PduHeader& header);
    void Respond(const PduHeader& header, int error, unsigned int index = 0);

    const CVT::BMibEngine& m_engine;
    Requests& m_requests;
    std::string& m_output;
    std::map<const CVT::BMibImpl*, GroupReader> m_readers;
    TransactionIds m_ids;
    std::list<std::shared_ptr<MasterRead>> m_reads;  // that are not answered
    std::size_t m_numWaiting = 0;                    // varbinds of m_reads
    std::shared_ptr<bool> m_session;                 // what answers a SET lives no longer than this
};

}  // namespace cvtagentd
