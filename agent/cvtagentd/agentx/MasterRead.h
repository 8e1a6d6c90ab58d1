#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "CVT/BRequest.h"
#include "CVT/BVarBind.h"
#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/requests/ReadProgress.h"
#include "agent/cvtagentd/requests/ReadTask.h"
#include "agent/cvtagentd/requests/SetTransactions.h"

namespace cvtagentd {

/// One reading request of a master on its way through the groups: what each of its search ranges has found so far, and
/// which group comes next. Used by the thread that runs the event loop.
class MasterRead {
public:
    /// How many instances one GetBulk may return, as for clients of an agent that stands alone.
    static constexpr std::size_t kMostInstances = 2500;
    /// A GetBulk reads no further repetitions of a column once all its columns hold so many octets.
    static constexpr std::size_t kMostOctets = 65507;

    /// `asked` is a Get, GetNext or GetBulk. The engine must outlive it.
    MasterRead(const Pdu& asked, std::shared_ptr<const CVT::BRequest> request, const CVT::BMibEngine& engine);
    MasterRead(const MasterRead&) = delete;
    MasterRead& operator=(const MasterRead&) = delete;

    const std::shared_ptr<const CVT::BRequest>& Request() const { return m_request; }
    /// How many varbinds its response may have: each takes a kilobyte or two of memory.
    std::size_t NumVarBinds() const { return m_answers.size(); }
    /// Whether these are the numbers of this request.
    bool IsFor(const PduHeader& header) const {
        return header.packet == m_header.packet && header.transaction == m_header.transaction &&
               header.type == m_header.type;
    }

    /// A group that has to be asked for some of the ranges. Null when there is none by now: they are being asked for,
    /// or wait for a SET to the same group, or all are answered. After a refusal no further group is asked.
    CVT::BMibImpl* NextGroup(const SetTransactions& sets) const;
    bool IsAnswered() const;
    /// Once, when it is answered. Appends the response.
    void Respond(std::string& to);

    bool isWanted = true;  ///< false once its session has ended, or it was refused

private:
    friend class MasterReadTask;

    enum class State { kSearches, kInTask, kIsOver };

    /// A search range on its way.
    struct Search {
        CVT::BObjectIdentifier from;  ///< the next instance after this is the one
        CVT::BObjectIdentifier end;   ///< empty: none
        State state = State::kSearches;
        const CVT::BMibEngine::Range* range = nullptr;  ///< the one to search; null for a Get
        CVT::BMibImpl* group = nullptr;
        unsigned int task = 0;
        std::size_t answer = 0;   ///< which of m_answers comes next
        std::size_t repeats = 0;  ///< after that one
        std::size_t octets = 0;   ///< of the answers so far
        bool isFilled = false;    ///< the answer
        bool isAtEnd = false;     ///< nothing more can be found
    };

    static ReadTask::Mode ModeOf(PduType type);
    void BeginGet(Search& search, const PduRange& range);
    void BeginSearch(Search& search, const PduRange& range);
    void EnterRange(Search& search, std::span<const CVT::BMibEngine::Range> ranges);
    void FinishSearch(Search& search);
    void Refuse(const Search& search, int status);
    std::size_t NumRows() const;
    void FillRows(std::size_t rows);

    const ReadTask::Mode m_mode;
    const PduHeader m_header;
    const std::shared_ptr<const CVT::BRequest> m_request;
    const CVT::BMibEngine& m_engine;
    std::vector<Search> m_searches;  // one for each range
    std::size_t m_singles = 0;       // the ranges that are not repeated
    CVT::BVarBindList m_answers;     // the singles; then all columns of a row, row by row
    std::uint16_t m_error = 0;
    std::uint16_t m_errorIndex = 0;
    unsigned int m_tasks = 0;  // that are not over
    unsigned int m_lastTask = 0;
    std::optional<ReadProgress> m_progress;
};

/// The ranges of a request that search one group. Made by the code that asks the group; the request goes on once it is
/// destroyed.
class MasterReadTask final : public ReadTask {
public:
    /// Takes the ranges that NextGroup meant.
    MasterReadTask(std::shared_ptr<MasterRead> read, const CVT::BMibImpl& group);
    ~MasterReadTask() override;

    bool First() override;
    bool Next() override;
    void ReadName(CVT::BObjectIdentifier& name) const override { name.Set(At().from); }
    bool ReadEnd(const CVT::BObjectIdentifier& subtree, CVT::BObjectIdentifier& end) const override;
    bool Write(const CVT::BVarBind& instance) override;
    void WriteException(CVT::ESnmpType exception) override;
    void Refuse(int status) override { m_read->Refuse(At(), status); }
    bool Repeat() override;
    void Finish() override { m_read->FinishSearch(At()); }
    ReadProgress* FindProgress() const override;
    ReadProgress& Progress() override;
    std::size_t NumVarBinds() const override;
    bool IsWanted() const override { return m_read->isWanted; }

private:
    bool Find();
    MasterRead::Search& At() const { return m_read->m_searches[m_at]; }

    const std::shared_ptr<MasterRead> m_read;
    const unsigned int m_number;
    std::size_t m_at = 0;
};

}  // namespace cvtagentd
