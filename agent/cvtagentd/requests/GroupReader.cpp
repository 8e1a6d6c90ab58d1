#include "agent/cvtagentd/requests/GroupReader.h"

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "agent/cvtagentd/snmp/LibraryLog.h"

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
    ReadTask& task;
    std::shared_ptr<ReadCall>& next;  // see GoOn
    TimeSlice& slice;
    bool hasLock;
    std::shared_ptr<ReadCall> made;   // null: none, or it has been used
    std::optional<AccessView> view;   // none: everything may be seen
    EmptyStretches* empty = nullptr;  // null: none has been found yet
    bool endsWithin = false;          // whether the requested stretch ends in the subtree, at m_end

    unsigned int RequestId() const { return task.Request()->Id(); }
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
            m_call.empty = &m_call.task.Progress().empty[&m_reader.m_group];
        }
        m_call.empty->Add(m_reader.m_searchBegin, m_last);
    }

    GroupReader& m_reader;
    Call& m_call;
    CVT::BObjectIdentifier m_last;  // nothing up to here is to be shown
    unsigned int m_steps = 0;
};

/// The lock is held from the first varbind to the last. The group's operations take it again, as it is recursive.
GroupReader::Outcome GroupReader::GoOn(ReadTask& task, std::shared_ptr<ReadCall>& call,
                                       TimeSlice& slice) CVT_NO_THREAD_SAFETY_ANALYSIS {
    CVT::TMutex& lock = m_group.RequestLock();
    const bool hasLock = lock.Wait(0) == CVT::kWaitSignalled;
    const std::unique_ptr<CVT::TMutex, Unlock> held(hasLock ? &lock : nullptr);
    try {
        const auto begin = TimeSlice::Clock::now();
        Call all{task, call, slice, hasLock, std::move(call), task.View(m_group.Oid())};
        if (ReadProgress* const progress = task.FindProgress(); progress != nullptr) {
            const auto empty = progress->empty.find(&m_group);
            all.empty = empty == progress->empty.end() ? nullptr : &empty->second;
        }
        const Outcome outcome = AnswerAll(all);
        LogIfSlow(m_group, TimeSlice::Clock::now() - begin);
        return outcome == Outcome::kGoesOn && HasWorkedEnough(task, begin) ? GiveUp(task) : outcome;
    } catch (const std::exception&) {  // out of memory: the library is C and must not be unwound
        call.reset();
        Abandon(task, CVT::genErr);
    }
    return Outcome::kDone;
}

/// For a request whose time slice is over, in which it has worked since `begin`.
bool GroupReader::HasWorkedEnough(ReadTask& task, TimeSlice::Clock::time_point begin) {
    auto& worked = task.Progress().worked;
    worked += TimeSlice::Clock::now() - begin;
    return worked >= kMostWork;
}

GroupReader::Outcome GroupReader::GiveUp(ReadTask& task) {
    LibraryLog::WriteLimited(LogLevel::kWarning, "gave up",
                             "gave up a request after " + std::to_string(kMostWork.count()) + " s of work in " +
                                 std::string(m_group.ToString().View()) +
                                 "; ask for fewer instances at a time, or with a view that leaves out whole columns");
    Abandon(task, CVT::resourceUnavailable);
    return Outcome::kDone;
}

void GroupReader::Abandon(ReadTask& task, int status) {
    for (bool isOne = task.First(); isOne; isOne = task.Next()) {
        task.Refuse(status);
        task.Finish();
    }
}

GroupReader::Outcome GroupReader::AnswerAll(Call& call) {
    bool isFirst = true;
    for (bool isOne = call.task.First(); isOne; isOne = call.task.Next()) {
        if (!std::exchange(isFirst, false) && call.slice.IsOver()) {
            return Outcome::kGoesOn;
        }
        call.endsWithin = call.task.ReadEnd(m_group.Oid(), m_end);
        switch (Answer(call)) {
            case Result::kMustWait: return Outcome::kWaits;
            case Result::kOutOfTime: return Outcome::kGoesOn;
            default: call.task.Finish();
        }
    }
    return Outcome::kDone;
}

GroupReader::Result GroupReader::Answer(Call& call) {
    call.task.ReadName(m_varBind.name);
    switch (call.task.What()) {
        case ReadTask::Mode::kGet: return Get(call);
        case ReadTask::Mode::kGetBulk: return GetBulk(call);
        default: return GetNext(call);
    }
}

/// Returns the status of the group's call for m_varBind, made here or before on another thread. No value when another
/// thread has to make the call first.
std::optional<int> GroupReader::CallGroup(Call& call, CVT::EReading what) {
    if (call.made != nullptr) {
        const std::shared_ptr<ReadCall> made = std::move(call.made);
        LogIfSlow(m_group, made->took);
        m_varBind = std::move(made->varBind);
        return made->status;
    }
    if (!call.hasLock || m_group.MayTakeLong(what, call.RequestId(), m_varBind.name)) {
        call.next = std::make_shared<ReadCall>(m_group, call.task.Request(), what);
        call.next->varBind.name.Set(m_varBind.name);
        return std::nullopt;
    }
    return what == CVT::EReading::Get ? m_group.Get(call.RequestId(), m_varBind)
                                      : m_group.NextInstance(call.RequestId(), m_varBind);
}

GroupReader::Result GroupReader::Get(Call& call) {
    const std::optional<int> status = CallGroup(call, CVT::EReading::Get);
    if (!status) {
        return Result::kMustWait;
    }
    if (*status == CVT::noError && m_varBind.IsException()) {
        call.task.WriteException(m_varBind.type);
        return Result::kAnswered;
    }
    return Write(call.task, *status);
}

/// What is left is filled by the next group, or when this one is called again, from the last name on.
GroupReader::Result GroupReader::GetBulk(Call& call) {
    Result result = GetNext(call);
    while (result == Result::kAnswered && call.task.Repeat()) {
        result = call.slice.IsOver() ? Result::kOutOfTime : GetNext(call);
        if (result != Result::kAnswered) {
            call.task.LeaveRepetition();
        }
    }
    return result;
}

/// Moves m_varBind from instance to instance until one may be seen and has a value, and the value could be stored.
GroupReader::Result GroupReader::GetNext(Call& call) {
    if (call.view && call.view->IsEmpty()) {
        return Result::kNothingAfter;
    }
    const auto isBehindTheEnd = [&] { return call.endsWithin && m_varBind.name >= m_end; };
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
            return Result::kNothingAfter;
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
            return Write(call.task, *status);
        }
        if (!search.Pass(isHidden)) {  // hidden, or vanished since it was found
            return Result::kOutOfTime;
        }
    }
}

GroupReader::Result GroupReader::Write(ReadTask& task, int status) {
    if (status == CVT::noError && task.Write(m_varBind)) {
        return Result::kAnswered;
    }
    task.Refuse(status == CVT::noError ? CVT::genErr : status);
    return Result::kRefused;
}

}  // namespace cvtagentd
