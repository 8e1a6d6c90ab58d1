#pragma once

#include "CVT/BMibImpl.h"
#include "CVT/BVarBind.h"

struct netsnmp_agent_request_info_s;
struct netsnmp_request_info_s;
struct variable_list;

namespace cvtagentd {

/// Reads one group for GET, GETNEXT and GETBULK: the varbinds of one request that lie in the group's subtree.
///
/// A GETBULK is answered in one go: a varbind's repetitions are filled by walking the group. What the asker's view does
/// not hold is stepped over without being read; the library looks only at some of what it is given for a GETBULK.
///
/// Used by the thread that runs the library; the group must outlive it.
class GroupReader {
public:
    using Info = netsnmp_agent_request_info_s;
    using Request = netsnmp_request_info_s;

    enum class Wait {
        kAsLongAsItTakes,
        kShortly,  ///< neither for a group that is busy nor, beyond some milliseconds, for what the group waits for
    };

    explicit GroupReader(CVT::BMibImpl& group) : m_group(group) {}
    GroupReader(const GroupReader&) = delete;
    GroupReader& operator=(const GroupReader&) = delete;

    /// Begins with the varbinds of a list. False when that would take longer than `wait` allows: those without an answer
    /// are marked as delegated then.
    bool Begin(const Info& info, unsigned int requestId, Request* requests, Wait wait);
    /// Answers those that are marked so, or, as before, some of them.
    bool GoOn(const Info& info, unsigned int requestId, Request* requests, Wait wait);
    /// Gives those that are marked so an error-status.
    static void Abandon(Request* requests, int status);

private:
    /// What is the same for all varbinds of a call.
    struct Call;
    enum class Result { kAnswered, kRefused, kNothingBehind, kAskAgain };

    bool AnswerAll(Call& call, Request* requests);
    bool Answer(const Call& call, Request& request);
    Result Get(const Call& call, Request& request);
    Result GetNext(const Call& call, Request& request);
    bool GetBulk(const Call& call, Request& request);
    Result MoveToNext(const Call& call, Request& request);
    Result WriteValue(Request& request, int status);

    CVT::BMibImpl& m_group;
    CVT::BVarBind m_varBind;  // kept, so that a walk needs no new memory for it
};

}  // namespace cvtagentd
