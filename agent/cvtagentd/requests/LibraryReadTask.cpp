#include "agent/cvtagentd/requests/LibraryReadTask.h"

#include <algorithm>

#include "agent/cvtagentd/snmp/RequestData.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {
namespace {

constexpr RequestData<ReadProgress> kProgress("cvtagentd.progress");

ReadTask::Mode ModeOf(const netsnmp_agent_request_info& info) {
    switch (info.mode) {
        case MODE_GET: return ReadTask::Mode::kGet;
        case MODE_GETBULK: return ReadTask::Mode::kGetBulk;
        default: return ReadTask::Mode::kGetNext;
    }
}

}  // namespace

LibraryReadTask::LibraryReadTask(const Position& position, std::shared_ptr<const CVT::BRequest> request)
    : ReadTask(ModeOf(*position.info), std::move(request)), m_position(position) {
    for (netsnmp_request_info* varBind = m_position.requests; varBind != nullptr; varBind = varBind->next) {
        varBind->delegated = varBind->processed == 0 ? REQUEST_IS_DELEGATED : REQUEST_IS_NOT_DELEGATED;
    }
}

LibraryReadTask::LibraryReadTask(const LibraryReadTask& other)
    : ReadTask(other.What(), other.Request()), m_position(other.m_position) {}

LibraryReadTask::~LibraryReadTask() {
    if (m_delegated != nullptr) {
        ::netsnmp_free_delegated_cache(m_delegated);
    }
}

bool LibraryReadTask::Find() {
    while (m_at != nullptr && m_at->delegated == REQUEST_IS_NOT_DELEGATED) {
        m_at = m_at->next;
    }
    return m_at != nullptr;
}

bool LibraryReadTask::First() {
    m_at = m_position.requests;
    return Find();
}

bool LibraryReadTask::Next() {
    m_at = m_at->next;
    return Find();
}

void LibraryReadTask::ReadName(CVT::BObjectIdentifier& name) const { VarBinds::ReadName(*m_at->requestvb, name); }

/// Elsewhere the library knows by itself that the next handler is meant.
bool LibraryReadTask::ReadEnd(const CVT::BObjectIdentifier& subtree, CVT::BObjectIdentifier& end) const {
    if (m_at->range_end == nullptr || !VarBinds::IsIn(subtree, m_at->range_end, m_at->range_end_len)) {
        return false;
    }
    VarBinds::Narrow(m_at->range_end, m_at->range_end_len, end);
    return true;
}

bool LibraryReadTask::Write(const CVT::BVarBind& instance) {
    return VarBinds::WriteValue(instance, *m_at->requestvb) &&
           (What() == Mode::kGet || VarBinds::WriteName(instance.name, *m_at->requestvb));
}

/// In version 1 an error, which the library makes of it.
void LibraryReadTask::WriteException(CVT::ESnmpType exception) { ::netsnmp_request_set_error(m_at, exception); }

void LibraryReadTask::Refuse(int status) { VarBinds::Refuse(*m_at, status); }

bool LibraryReadTask::Repeat() {
    if (m_at->repeat <= 0) {
        return false;
    }
    m_last = m_at->requestvb;
    --m_at->repeat;
    m_at->requestvb = m_at->requestvb->next_variable;
    return true;
}

/// The library, or this task, goes on after the last name that there is.
void LibraryReadTask::LeaveRepetition() {
    ::snmp_set_var_objid(m_at->requestvb, m_last->name, m_last->name_length);
    m_at->requestvb->type = ASN_NULL;
}

/// Where the group had nothing, the varbind is as it was: the library then continues with the next handler.
void LibraryReadTask::Finish() { m_at->delegated = REQUEST_IS_NOT_DELEGATED; }

std::optional<AccessView> LibraryReadTask::View(const CVT::BObjectIdentifier& subtree) const {
    return What() == Mode::kGet ? std::nullopt : std::optional<AccessView>(std::in_place, *m_position.info, subtree);
}

ReadProgress* LibraryReadTask::FindProgress() const { return kProgress.Find(*m_position.info->asp->reqinfo); }

ReadProgress& LibraryReadTask::Progress() {
    ReadProgress* const kept = FindProgress();
    return kept != nullptr ? *kept : kProgress.Attach(*m_position.info->asp->reqinfo, std::make_unique<ReadProgress>());
}

std::size_t LibraryReadTask::NumVarBinds() const {
    std::size_t count = 0;
    for (const netsnmp_request_info* varBind = m_position.requests; varBind != nullptr; varBind = varBind->next) {
        count += 1 + static_cast<std::size_t>(std::max(varBind->repeat, 0));
    }
    return count;
}

bool LibraryReadTask::Delegate() {
    m_delegated = ::netsnmp_create_delegated_cache(m_position.handler, m_position.registration, m_position.info,
                                                   m_position.requests, nullptr);
    return m_delegated != nullptr;
}

bool LibraryReadTask::IsWanted() const { return ::netsnmp_handler_check_cache(m_delegated) != nullptr; }

}  // namespace cvtagentd
