#pragma once

#include <memory>
#include <optional>

#include "CVT/BMibImpl.h"
#include "CVT/BVarBind.h"
#include "agent/cvtagentd/requests/GroupCall.h"
#include "agent/cvtagentd/requests/TimeSlice.h"

struct netsnmp_agent_request_info_s;
struct netsnmp_request_info_s;
struct variable_list;

namespace cvtagentd {

/// Reads one group for GET, GETNEXT and GETBULK: the varbinds of one request that lie in the group's subtree.
///
/// A GETBULK is answered in one go: a varbind's repetitions are filled by walking the group. What the sender's view
/// does not hold is passed over without being read, in whole subtrees wherever possible (AccessView); the library
/// checks only some of what it gets for a GETBULK.
///
/// A call that may take long is not made here. Begin and GoOn then stop at that varbind, and return the call to make;
/// once it has been made, GoOn continues with its result, as if the group had just been called.
///
/// One call works no longer than its time slice, except for the step during which it ends; the request continues from
/// there in the next (ReadProgress). A request that has worked for kMostWork in total gets resourceUnavailable.
///
/// Used by the thread that runs the library; the group must outlive it.
class GroupReader {
public:
    using Info = netsnmp_agent_request_info_s;
    using Request = netsnmp_request_info_s;

    enum class Wait {
        kAsLongAsItTakes,
        kNever,  ///< neither for a group that is busy nor for a call that may take long
    };

    enum class Outcome {
        kDone,   ///< all varbinds are answered
        kWaits,  ///< for a call that has yet to be made
        kGoesOn  ///< its time slice is over, and more can be done at once
    };

    /// Far more than the largest request takes on a slow host.
    static constexpr std::chrono::seconds kMostWork{5};

    explicit GroupReader(CVT::BMibImpl& group) : m_group(group) {}
    GroupReader(const GroupReader&) = delete;
    GroupReader& operator=(const GroupReader&) = delete;

    /// The parts of one request that lie in the group.
    struct Task {
        const Info& info;
        const std::shared_ptr<const CVT::BRequest>& request;
        Request* varBinds;
        std::shared_ptr<GroupCall>& call;  ///< see GoOn
    };

    /// Begins with the varbinds of a list. Unless kDone, those without an answer are marked as delegated.
    Outcome Begin(const Task& task, Wait wait, TimeSlice& slice);
    /// Answers the varbinds marked as delegated, or some of them, as Begin does. `task.call` is the one that was made,
    /// or null; after kWaits it is the one to make, and otherwise null.
    Outcome GoOn(const Task& task, Wait wait, TimeSlice& slice);
    /// Answers the varbinds marked as delegated with an error-status.
    static void Abandon(Request* requests, int status);

private:
    /// What is the same for all varbinds of a call.
    struct Call;
    enum class Result { kAnswered, kRefused, kNothingBehind, kMustWait, kOutOfTime };
    /// Passes over what must not be shown.
    class Search;

    static bool HasWorkedEnough(const Info& info, TimeSlice::Clock::time_point begin);
    Outcome GiveUp(Request* requests);
    Outcome AnswerAll(Call& call);
    std::optional<int> CallGroup(Call& call, CVT::EReading what);
    Result Answer(Call& call, Request& request);
    Result Get(Call& call, Request& request);
    Result GetNext(Call& call, Request& request);
    Result GetBulk(Call& call, Request& request);
    Result MoveToNext(Call& call, Request& request);
    Result WriteValue(Request& request, int status);

    CVT::BMibImpl& m_group;
    CVT::BVarBind m_varBind;               // kept, so that a walk needs no new memory for it
    CVT::BObjectIdentifier m_searchBegin;  // likewise
};

}  // namespace cvtagentd
