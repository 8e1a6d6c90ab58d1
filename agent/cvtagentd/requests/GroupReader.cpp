#include "agent/cvtagentd/requests/GroupReader.h"

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "CVT/BPatience.h"
#include "agent/cvtagentd/requests/AccessView.h"
#include "agent/cvtagentd/requests/ReadProgress.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {
namespace {

/// A file system across the network answers within it as a rule.
constexpr unsigned int kPatienceMs = 20;

/// What is passed over in fewer steps is not worth remembering.
constexpr unsigned int kStepsToRemember = 8;

struct Unlock {
    void operator()(CVT::TMutex* lock) const CVT_NO_THREAD_SAFETY_ANALYSIS { lock->Done(); }
};

}  // namespace

struct GroupReader::Call {
    const Info& info;
    unsigned int requestId;
    TimeSlice& slice;
    const CVT::BPatience* patience;  // null: no limit
    bool endsWithin;  // whether the stretch asked for ends before the subtree does, where another one lies in it
    std::optional<AccessView> view;  // none: the library looks at what it is given
    EmptyStretches* empty;           // null: none has been met yet

    bool HasGivenUp() const { return patience != nullptr && patience->HasGivenUp(); }
};

/// One search for the next instance to show, from m_varBind's name on.
class GroupReader::Search {
public:
    Search(GroupReader& reader, Call& call) : m_reader(reader), m_call(call) {
        if (call.empty != nullptr) {
            call.empty->Skip(reader.m_varBind.name);
        }
        reader.m_searchBegin.Set(reader.m_varBind.name);
    }

    /// Leaves the instance that m_varBind names, which is not to be shown. False when time is up.
    bool Pass(bool isHidden) {
        CVT::BObjectIdentifier& at = m_reader.m_varBind.name;
        ++m_steps;
        if (isHidden && m_call.view->LeaveHidden(at)) {
            m_steps += kStepsToRemember;
        }
        if (m_call.empty != nullptr) {
            m_call.empty->Skip(at);
        }
        m_last.Set(at);
        if (!m_call.slice.IsOver()) {
            return true;
        }
        Remember();
        return false;
    }
    void End() {
        if (m_steps >= kStepsToRemember) {
            Remember();
        }
    }

private:
    void Remember() {
        if (m_call.empty == nullptr) {
            m_call.empty = &ReadProgress::Of(m_call.info).empty[&m_reader.m_group];
        }
        m_call.empty->Add(m_reader.m_searchBegin, m_last);
    }

    GroupReader& m_reader;
    Call& m_call;
    CVT::BObjectIdentifier m_last;  // up to which nothing is to be shown
    unsigned int m_steps = 0;
};

GroupReader::Outcome GroupReader::Begin(const Info& info, unsigned int requestId, Request* requests, Wait wait,
                                        TimeSlice& slice) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        request->delegated = request->processed == 0 ? REQUEST_IS_DELEGATED : REQUEST_IS_NOT_DELEGATED;
    }
    return GoOn(info, requestId, requests, wait, slice);
}

/// The lock is held from the first varbind to the last. The group's operations take it again, as it is recursive.
GroupReader::Outcome GroupReader::GoOn(const Info& info, unsigned int requestId, Request* requests, Wait wait,
                                       TimeSlice& slice) CVT_NO_THREAD_SAFETY_ANALYSIS {
    CVT::TMutex& lock = m_group.RequestLock();
    if (lock.Wait(wait == Wait::kShortly ? 0 : CVT::kWaitForever) != CVT::kWaitSignalled) {
        return Outcome::kWaits;
    }
    const std::unique_ptr<CVT::TMutex, Unlock> held(&lock);
    std::optional<CVT::BPatience> patience;
    if (wait == Wait::kShortly) {
        patience.emplace(kPatienceMs);
    }
    try {
        const auto begin = TimeSlice::Clock::now();
        Call call{info, requestId, slice, patience ? &*patience : nullptr, false, std::nullopt, nullptr};
        if (info.mode != MODE_GET && wait == Wait::kShortly) {  // a subagent's master looks itself
            call.view.emplace(info, m_group.Oid());
        }
        if (ReadProgress* const progress = ReadProgress::Find(info); progress != nullptr) {
            const auto empty = progress->empty.find(&m_group);
            call.empty = empty == progress->empty.end() ? nullptr : &empty->second;
        }
        const Outcome outcome = AnswerAll(call, requests);
        return outcome == Outcome::kGoesOn && HasWorkedEnough(info, begin) ? GiveUp(requests) : outcome;
    } catch (const std::exception&) {  // out of memory: the library is C and must not be unwound
        Abandon(requests, SNMP_ERR_GENERR);
    }
    return Outcome::kDone;
}

/// Of a request whose time slice is over, in which it has worked since `begin`.
bool GroupReader::HasWorkedEnough(const Info& info, TimeSlice::Clock::time_point begin) {
    auto& worked = ReadProgress::Of(info).worked;
    worked += TimeSlice::Clock::now() - begin;
    return worked >= kMostWork;
}

GroupReader::Outcome GroupReader::GiveUp(Request* requests) {
    LibraryLog::WriteLimited(LogLevel::kWarning, "gave up",
                             "gave up a request after " + std::to_string(kMostWork.count()) + " s of work in " +
                                 std::string(m_group.ToString().View()) +
                                 "; ask for fewer instances at a time, or with a view that leaves out whole columns");
    Abandon(requests, CVT::resourceUnavailable);
    return Outcome::kDone;
}

void GroupReader::Abandon(Request* requests, int status) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (request->delegated != REQUEST_IS_NOT_DELEGATED) {
            request->delegated = REQUEST_IS_NOT_DELEGATED;
            VarBinds::Refuse(*request, status);
        }
    }
}

GroupReader::Outcome GroupReader::AnswerAll(Call& call, Request* requests) {
    bool isFirst = true;
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (request->delegated == REQUEST_IS_NOT_DELEGATED) {
            continue;
        }
        if (!std::exchange(isFirst, false) && call.slice.IsOver()) {
            return Outcome::kGoesOn;
        }
        call.endsWithin =
            request->range_end != nullptr && VarBinds::IsIn(m_group.Oid(), request->range_end, request->range_end_len);
        switch (Answer(call, *request)) {
            case Result::kAskAgain: return Outcome::kWaits;
            case Result::kOutOfTime: return Outcome::kGoesOn;
            default: request->delegated = REQUEST_IS_NOT_DELEGATED;
        }
    }
    return Outcome::kDone;
}

GroupReader::Result GroupReader::Answer(Call& call, Request& request) {
    VarBinds::ReadName(*request.requestvb, m_varBind.name);
    switch (call.info.mode) {
        case MODE_GET: return Get(call, request);
        case MODE_GETBULK: return GetBulk(call, request);
        default: return GetNext(call, request);
    }
}

GroupReader::Result GroupReader::Get(const Call& call, Request& request) {
    const int status = m_group.Get(call.requestId, m_varBind);
    if (call.HasGivenUp()) {
        return Result::kAskAgain;
    }
    if (status == CVT::noError && m_varBind.IsException()) {
        ::netsnmp_request_set_error(&request, m_varBind.type);  // an error in version 1: the library sees to it
        return Result::kAnswered;
    }
    return WriteValue(request, status);
}

/// At the end of the group, or of the stretch of it that lies before the next subtree, the varbind is left as it is:
/// the library then goes on with the next handler.
GroupReader::Result GroupReader::GetNext(Call& call, Request& request) {
    const Result result = MoveToNext(call, request);
    if (result == Result::kAnswered && !VarBinds::WriteName(m_varBind.name, *request.requestvb)) {
        VarBinds::Refuse(request, CVT::genErr);
        return Result::kRefused;
    }
    return result;
}

/// Leaves the library what is still to be filled, by the next handler or when the group is asked again, beginning
/// behind the last name there is.
GroupReader::Result GroupReader::GetBulk(Call& call, Request& request) {
    Result result = GetNext(call, request);
    while (result == Result::kAnswered && request.repeat > 0) {
        const variable_list& last = *request.requestvb;
        --request.repeat;
        request.requestvb = request.requestvb->next_variable;
        result = call.slice.IsOver() ? Result::kOutOfTime : GetNext(call, request);
        if (result != Result::kAnswered) {
            ::snmp_set_var_objid(request.requestvb, last.name, last.name_length);
            request.requestvb->type = ASN_NULL;
        }
    }
    return result;
}

/// Moves m_varBind from instance to instance until one may be seen, has a value, and that could be stored.
GroupReader::Result GroupReader::MoveToNext(Call& call, Request& request) {
    if (call.view && call.view->IsEmpty()) {
        return Result::kNothingBehind;
    }
    const auto isBehindTheEnd = [&] {
        return call.endsWithin && !VarBinds::IsBefore(m_varBind.name, request.range_end, request.range_end_len);
    };
    Search search(*this, call);
    for (;;) {
        int status = m_group.NextInstance(call.requestId, m_varBind);
        if (call.HasGivenUp()) {
            search.End();
            return Result::kAskAgain;
        }
        if (status == CVT::noSuchName || (status == CVT::noError && isBehindTheEnd())) {
            search.End();
            return Result::kNothingBehind;
        }
        const bool isHidden = status == CVT::noError && call.view && !call.view->Holds(m_varBind.name);
        if (status == CVT::noError && !isHidden) {
            status = m_group.Get(call.requestId, m_varBind);
            if (call.HasGivenUp()) {
                search.End();
                return Result::kAskAgain;
            }
        }
        if (!isHidden && (status != CVT::noError || !m_varBind.IsException())) {
            search.End();
            return WriteValue(request, status);
        }
        if (!search.Pass(isHidden)) {  // hidden, or vanished since it was found
            return Result::kOutOfTime;
        }
    }
}

GroupReader::Result GroupReader::WriteValue(Request& request, int status) {
    if (status == CVT::noError && VarBinds::WriteValue(m_varBind, *request.requestvb)) {
        return Result::kAnswered;
    }
    VarBinds::Refuse(request, status == CVT::noError ? CVT::genErr : status);
    return Result::kRefused;
}

}  // namespace cvtagentd
