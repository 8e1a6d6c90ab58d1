#include "agent/cvtagentd/requests/GroupReader.h"

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "agent/cvtagentd/requests/AccessView.h"
#include "agent/cvtagentd/requests/ReadProgress.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {
namespace {

/// A stretch that is passed over in fewer steps is not worth remembering.
constexpr unsigned int kStepsToRemember = 8;

/// A group that keeps a request waiting for so long is worth a look.
constexpr std::chrono::seconds kSlow{1};

void LogIfSlow(CVT::BMibImpl& group, TimeSlice::Clock::duration took) {
    if (took >= kSlow) {
        const std::string kind = "slow group " + std::string(group.ToString().View());
        LibraryLog::WriteLimited(
            LogLevel::kInfo, kind,
            kind + " took " + std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(took).count()) +
                " ms to answer");
    }
}

struct Unlock {
    void operator()(CVT::TMutex* lock) const CVT_NO_THREAD_SAFETY_ANALYSIS { lock->Done(); }
};

}  // namespace

struct GroupReader::Call {
    const Task& task;
    const Info& info;
    TimeSlice& slice;
    bool mayWait;
    bool hasLock;
    std::shared_ptr<GroupCall> made{};  // null: none, or it has been used
    std::optional<AccessView> view{};   // none: the library checks what it gets
    EmptyStretches* empty = nullptr;    // null: none has been found yet
    bool endsWithin = false;            // whether the requested stretch ends in the subtree, before a nested one

    unsigned int RequestId() const { return task.request->Id(); }
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

    /// Steps past the instance that m_varBind names, which must not be shown. Returns false when time is up.
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
    CVT::BObjectIdentifier m_last;  // nothing up to here is to be shown
    unsigned int m_steps = 0;
};

GroupReader::Outcome GroupReader::Begin(const Task& task, Wait wait, TimeSlice& slice) {
    for (Request* request = task.varBinds; request != nullptr; request = request->next) {
        request->delegated = request->processed == 0 ? REQUEST_IS_DELEGATED : REQUEST_IS_NOT_DELEGATED;
    }
    return GoOn(task, wait, slice);
}

/// The lock is held from the first varbind to the last. The group's operations take it again, as it is recursive.
GroupReader::Outcome GroupReader::GoOn(const Task& task, Wait wait, TimeSlice& slice) CVT_NO_THREAD_SAFETY_ANALYSIS {
    CVT::TMutex& lock = m_group.RequestLock();
    const bool mayWait = wait == Wait::kAsLongAsItTakes;
    const bool hasLock = lock.Wait(mayWait ? CVT::kWaitForever : 0) == CVT::kWaitSignalled;
    const std::unique_ptr<CVT::TMutex, Unlock> held(hasLock ? &lock : nullptr);
    try {
        const auto begin = TimeSlice::Clock::now();
        Call call{task, task.info, slice, mayWait, hasLock};
        call.made.swap(task.call);
        if (task.info.mode != MODE_GET && !mayWait) {  // a subagent's master checks the view itself
            call.view.emplace(task.info, m_group.Oid());
        }
        if (ReadProgress* const progress = ReadProgress::Find(task.info); progress != nullptr) {
            const auto empty = progress->empty.find(&m_group);
            call.empty = empty == progress->empty.end() ? nullptr : &empty->second;
        }
        const Outcome outcome = AnswerAll(call);
        LogIfSlow(m_group, TimeSlice::Clock::now() - begin);
        return outcome == Outcome::kGoesOn && HasWorkedEnough(task.info, begin) ? GiveUp(task.varBinds) : outcome;
    } catch (const std::exception&) {  // out of memory: the library is C and must not be unwound
        task.call.reset();
        Abandon(task.varBinds, SNMP_ERR_GENERR);
    }
    return Outcome::kDone;
}

/// For a request whose time slice is over, in which it has worked since `begin`.
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

GroupReader::Outcome GroupReader::AnswerAll(Call& call) {
    bool isFirst = true;
    for (Request* request = call.task.varBinds; request != nullptr; request = request->next) {
        if (request->delegated == REQUEST_IS_NOT_DELEGATED) {
            continue;
        }
        if (!std::exchange(isFirst, false) && call.slice.IsOver()) {
            return Outcome::kGoesOn;
        }
        call.endsWithin =
            request->range_end != nullptr && VarBinds::IsIn(m_group.Oid(), request->range_end, request->range_end_len);
        switch (Answer(call, *request)) {
            case Result::kMustWait: return Outcome::kWaits;
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

/// Returns the status of the group's call for m_varBind, made here or before on another thread. No value when another
/// thread has to make the call first.
std::optional<int> GroupReader::CallGroup(Call& call, CVT::EReading what) {
    if (call.made != nullptr) {
        const std::shared_ptr<GroupCall> made = std::move(call.made);
        LogIfSlow(m_group, made->took);
        m_varBind = std::move(made->varBind);
        return made->status;
    }
    if (!call.mayWait && (!call.hasLock || m_group.MayTakeLong(what, call.RequestId(), m_varBind.name))) {
        call.task.call = std::make_shared<GroupCall>(m_group, call.task.request, what);
        call.task.call->varBind.name.Set(m_varBind.name);
        return std::nullopt;
    }
    return what == CVT::EReading::Get ? m_group.Get(call.RequestId(), m_varBind)
                                      : m_group.NextInstance(call.RequestId(), m_varBind);
}

GroupReader::Result GroupReader::Get(Call& call, Request& request) {
    const std::optional<int> status = CallGroup(call, CVT::EReading::Get);
    if (!status) {
        return Result::kMustWait;
    }
    if (*status == CVT::noError && m_varBind.IsException()) {
        ::netsnmp_request_set_error(&request, m_varBind.type);  // in version 1 an error, which the library makes of it
        return Result::kAnswered;
    }
    return WriteValue(request, *status);
}

/// At the end of the group, or of the stretch of it that lies before the next subtree, the varbind is left as it is:
/// the library then continues with the next handler.
GroupReader::Result GroupReader::GetNext(Call& call, Request& request) {
    const Result result = MoveToNext(call, request);
    if (result == Result::kAnswered && !VarBinds::WriteName(m_varBind.name, *request.requestvb)) {
        VarBinds::Refuse(request, CVT::genErr);
        return Result::kRefused;
    }
    return result;
}

/// Leaves the library what is still to be filled, by the next handler or when the group is called again, beginning
/// after the last name there is.
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

/// Moves m_varBind from instance to instance until one may be seen and has a value, and the value could be stored.
GroupReader::Result GroupReader::MoveToNext(Call& call, Request& request) {
    if (call.view && call.view->IsEmpty()) {
        return Result::kNothingBehind;
    }
    const auto isBehindTheEnd = [&] {
        return call.endsWithin && !VarBinds::IsBefore(m_varBind.name, request.range_end, request.range_end_len);
    };
    Search search(*this, call);
    for (;;) {
        std::optional<int> status = CVT::noError;
        if (call.made != nullptr && call.made->what == CVT::EReading::Get) {  // for an instance found before
            m_varBind.name.Set(call.made->varBind.name);
        } else {
            status = CallGroup(call, CVT::EReading::NextInstance);
        }
        bool isHidden = false;
        if (status == CVT::noError) {
            if (isBehindTheEnd()) {
                status = CVT::noSuchName;
            } else if (call.view && !call.view->Holds(m_varBind.name)) {
                isHidden = true;
                call.made.reset();
            }
        }
        if (status == CVT::noSuchName) {
            search.End();
            return Result::kNothingBehind;
        }
        if (status == CVT::noError && !isHidden) {
            status = CallGroup(call, CVT::EReading::Get);
        }
        if (!status) {
            search.End();
            return Result::kMustWait;
        }
        if (!isHidden && (status != CVT::noError || !m_varBind.IsException())) {
            search.End();
            return WriteValue(request, *status);
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
