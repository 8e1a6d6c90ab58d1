#pragma once

#include <memory>
#include <optional>

#include "CVT/BMibImpl.h"
#include "CVT/BVarBind.h"
#include "agent/cvtagentd/requests/GroupCall.h"
#include "agent/cvtagentd/requests/ReadTask.h"
#include "agent/cvtagentd/requests/TimeSlice.h"

namespace cvtagentd {

/// Reads one group for GET, GETNEXT and GETBULK: the varbinds of one request that lie in the group's subtree.
///
/// A GETBULK is answered in one go: a varbind's repetitions are filled by walking the group. What the asker's view
/// does not hold is passed over without being read, in whole subtrees wherever possible (AccessView).
///
/// A call that may take long, or that would have to wait for the group, is not made here. GoOn then stops at that
/// varbind, and returns the call to make; once it has been made, GoOn continues with its result, as if the group had
/// just been called.
///
/// One call of GoOn works no longer than its time slice, except for the step during which it ends; the request
/// continues from there in the next (ReadProgress). A request that has worked for kMostWork in total gets
/// resourceUnavailable.
///
/// Used by the thread that runs the event loop; the group must outlive it.
class GroupReader {
public:
    enum class Outcome {
        kDone,   ///< all varbinds are finished
        kWaits,  ///< for a call that has yet to be made
        kGoesOn  ///< its time slice is over, and more can be done at once
    };

    /// Far more than the largest request takes on a slow host.
    static constexpr std::chrono::seconds kMostWork{5};

    explicit GroupReader(CVT::BMibImpl& group) : m_group(group) {}
    GroupReader(const GroupReader&) = delete;
    GroupReader& operator=(const GroupReader&) = delete;

    CVT::BMibImpl& Group() const { return m_group; }

    /// Answers the varbinds that are not finished, or some of them. `call` is the one that was made for this task, or
    /// null; after kWaits it is the one to make, and otherwise null.
    Outcome GoOn(ReadTask& task, std::shared_ptr<ReadCall>& call, TimeSlice& slice);
    /// Finishes the varbinds that are not finished with an error-status.
    static void Abandon(ReadTask& task, int status);

private:
    /// What is the same for all varbinds of a call of GoOn.
    struct Call;
    enum class Result { kAnswered, kRefused, kNothingAfter, kMustWait, kOutOfTime };
    /// Passes over what must not be shown.
    class Search;

    static bool HasWorkedEnough(ReadTask& task, TimeSlice::Clock::time_point begin);
    Outcome GiveUp(ReadTask& task);
    Outcome AnswerAll(Call& call);
    std::optional<int> CallGroup(Call& call, CVT::EReading what);
    Result Answer(Call& call);
    Result Get(Call& call);
    Result GetBulk(Call& call);
    Result GetNext(Call& call);
    Result Write(ReadTask& task, int status);

    CVT::BMibImpl& m_group;
    CVT::BVarBind m_varBind;               // kept, so that a walk needs no new memory for it
    CVT::BObjectIdentifier m_searchBegin;  // likewise
    CVT::BObjectIdentifier m_end;          // of a varbind's search, if Call::endsWithin
};

}  // namespace cvtagentd
