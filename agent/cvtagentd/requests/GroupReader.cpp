#include "agent/cvtagentd/requests/GroupReader.h"

#include <exception>
#include <memory>
#include <optional>

#include "CVT/BPatience.h"
#include "agent/cvtagentd/requests/AccessView.h"
#include "agent/cvtagentd/requests/ResponseBudget.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {
namespace {

/// A file system across the network answers within it as a rule.
constexpr unsigned int kPatienceMs = 20;

struct Unlock {
    void operator()(CVT::TMutex* lock) const CVT_NO_THREAD_SAFETY_ANALYSIS { lock->Done(); }
};

}  // namespace

struct GroupReader::Call {
    const Info& info;
    unsigned int requestId;
    const CVT::BPatience* patience;  // null: no limit
    bool endsWithin;  // whether the stretch asked for ends before the subtree does, where another one lies in it
    std::optional<AccessView> view;       // none: the library looks at what it is given
    std::optional<ResponseBudget> bound;  // of a GETBULK

    bool HasGivenUp() const { return patience != nullptr && patience->HasGivenUp(); }
};

bool GroupReader::Begin(const Info& info, unsigned int requestId, Request* requests, Wait wait) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        request->delegated = request->processed == 0 ? REQUEST_IS_DELEGATED : REQUEST_IS_NOT_DELEGATED;
    }
    return GoOn(info, requestId, requests, wait);
}

/// The lock is held from the first varbind to the last. The group's operations take it again, as it is recursive.
bool GroupReader::GoOn(const Info& info, unsigned int requestId, Request* requests,
                       Wait wait) CVT_NO_THREAD_SAFETY_ANALYSIS {
    CVT::TMutex& lock = m_group.RequestLock();
    if (lock.Wait(wait == Wait::kShortly ? 0 : CVT::kWaitForever) != CVT::kWaitSignalled) {
        return false;
    }
    const std::unique_ptr<CVT::TMutex, Unlock> held(&lock);
    std::optional<CVT::BPatience> patience;
    if (wait == Wait::kShortly) {
        patience.emplace(kPatienceMs);
    }
    try {
        Call call{info, requestId, patience ? &*patience : nullptr, false, std::nullopt, std::nullopt};
        if (info.mode != MODE_GET && wait == Wait::kShortly) {  // a subagent's master looks itself
            call.view.emplace(info, m_group.Oid());
        }
        if (info.mode == MODE_GETBULK) {
            call.bound.emplace(info);
        }
        return AnswerAll(call, requests);
    } catch (const std::exception&) {  // out of memory: the library is C and must not be unwound
        Abandon(requests, SNMP_ERR_GENERR);
    }
    return true;
}

void GroupReader::Abandon(Request* requests, int status) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (request->delegated != REQUEST_IS_NOT_DELEGATED) {
            request->delegated = REQUEST_IS_NOT_DELEGATED;
            VarBinds::Refuse(*request, status);
        }
    }
}

bool GroupReader::AnswerAll(Call& call, Request* requests) {
    for (Request* request = requests; request != nullptr; request = request->next) {
        if (request->delegated != REQUEST_IS_NOT_DELEGATED) {
            call.endsWithin = request->range_end != nullptr &&
                              VarBinds::IsIn(m_group.Oid(), request->range_end, request->range_end_len);
            if (!Answer(call, *request)) {
                return false;
            }
            request->delegated = REQUEST_IS_NOT_DELEGATED;
        }
    }
    return true;
}

/// False when the group has to be asked again.
bool GroupReader::Answer(const Call& call, Request& request) {
    VarBinds::ReadName(*request.requestvb, m_varBind.name);
    switch (call.info.mode) {
        case MODE_GET: return Get(call, request) != Result::kAskAgain;
        case MODE_GETBULK: return GetBulk(call, request);
        default: return GetNext(call, request) != Result::kAskAgain;
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

/// At the end of the group, or of the stretch of it that lies before the next subtree, the varbind is left as it is: the
/// library then goes on with the next handler.
GroupReader::Result GroupReader::GetNext(const Call& call, Request& request) {
    const Result result = MoveToNext(call, request);
    if (result == Result::kAnswered && call.bound && !call.bound->Takes(m_varBind)) {
        VarBinds::Refuse(request, CVT::tooBig);
        return Result::kRefused;
    }
    if (result == Result::kAnswered && !VarBinds::WriteName(m_varBind.name, *request.requestvb)) {
        VarBinds::Refuse(request, CVT::genErr);
        return Result::kRefused;
    }
    return result;
}

/// Leaves the library what is still to be filled, by the next handler or when the group is asked again, beginning behind
/// the last name there is.
bool GroupReader::GetBulk(const Call& call, Request& request) {
    Result result = GetNext(call, request);
    while (result == Result::kAnswered && request.repeat > 0) {
        const variable_list& last = *request.requestvb;
        --request.repeat;
        request.requestvb = request.requestvb->next_variable;
        result = GetNext(call, request);
        if (result != Result::kAnswered) {
            ::snmp_set_var_objid(request.requestvb, last.name, last.name_length);
            request.requestvb->type = ASN_NULL;
        }
    }
    return result != Result::kAskAgain;
}

/// Moves m_varBind from instance to instance until one may be seen, has a value, and that could be stored.
GroupReader::Result GroupReader::MoveToNext(const Call& call, Request& request) {
    if (call.view && call.view->IsEmpty()) {
        return Result::kNothingBehind;
    }
    const auto isBehindTheEnd = [&] {
        return call.endsWithin && !VarBinds::IsBefore(m_varBind.name, request.range_end, request.range_end_len);
    };
    for (;;) {
        int status = m_group.NextInstance(call.requestId, m_varBind);
        if (call.HasGivenUp()) {
            return Result::kAskAgain;
        }
        if (status == CVT::noSuchName || (status == CVT::noError && isBehindTheEnd())) {
            return Result::kNothingBehind;
        }
        if (status == CVT::noError && call.view && !call.view->Holds(m_varBind.name)) {
            continue;
        }
        if (status == CVT::noError) {
            status = m_group.Get(call.requestId, m_varBind);
            if (call.HasGivenUp()) {
                return Result::kAskAgain;
            }
        }
        if (status != CVT::noError || !m_varBind.IsException()) {  // an exception: it vanished since it was found
            return WriteValue(request, status);
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
