#include "agent/cvtagentd/requests/SubtreeHandler.h"

#include <exception>
#include <utility>
#include <vector>

#include "agent/cvtagentd/process/StartError.h"
#include "agent/cvtagentd/requests/LibrarySets.h"
#include "agent/cvtagentd/requests/RequestIds.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"
#include "agent/cvtagentd/snmp/VarBinds.h"

namespace cvtagentd {

SubtreeHandler::SubtreeHandler(CVT::BMibImpl& group, DelegatedRequests& delegated)
    : m_group(group), m_delegated(delegated), m_reader(group) {
    const std::vector<oid> root(group.Oid().Arcs().begin(), group.Oid().Arcs().end());
    m_registration =
        ::netsnmp_create_handler_registration(group.Name().c_str(), &SubtreeHandler::OnRequests, root.data(),
                                              root.size(), HANDLER_CAN_RWRITE | HANDLER_CAN_GETBULK);
    if (m_registration != nullptr && m_registration->handler != nullptr) {
        m_registration->handler->myvoid = this;  // shared by the copies that the library makes for nested subtrees
    }
    // A registration that is refused has been freed by the library.
    if (m_registration == nullptr || ::netsnmp_register_handler(m_registration) != MIB_REGISTERED_OK) {
        throw StartError("the SNMP library does not take the subtree of " + std::string(group.ToString().View()) +
                         "; it may be registered already");
    }
}

SubtreeHandler::~SubtreeHandler() { ::netsnmp_unregister_handler(m_registration); }

int SubtreeHandler::OnRequests(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                               netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
    try {
        static_cast<SubtreeHandler*>(handler->myvoid)->Answer({handler, registration, info, requests});
    } catch (const std::exception&) {  // out of memory: the library is C and must not be unwound
        ::netsnmp_request_set_error_all(requests, SNMP_ERR_GENERR);
    }
    return SNMP_ERR_NOERROR;
}

void SubtreeHandler::Answer(const LibraryReadTask::Position& position) {
    std::shared_ptr<const CVT::BRequest> request = RequestIds::Of(*position.info);
    switch (position.info->mode) {
        case MODE_GET:
        case MODE_GETNEXT:
        case MODE_GETBULK: Read(position, std::move(request)); break;
        case MODE_SET_RESERVE1: CheckSet(request->Id(), position.requests); break;
        case MODE_SET_ACTION: LibrarySets::Commit(position.requests); break;
        case MODE_SET_UNDO: LibrarySets::UndoAndRelease(position.requests); break;
        case MODE_SET_COMMIT:
        case MODE_SET_FREE: LibrarySets::Release(position.requests); break;
        default: break;
    }
}

void SubtreeHandler::Read(const LibraryReadTask::Position& position, std::shared_ptr<const CVT::BRequest> request) {
    LibraryReadTask task(position, std::move(request));
    std::shared_ptr<ReadCall> call;
    if (m_reader.GoOn(task, call, m_delegated.SliceOf(task.Request()->Id())) != GroupReader::Outcome::kDone) {
        m_delegated.Add({&m_reader, std::make_unique<LibraryReadTask>(task), std::move(call)});
    }
}

/// The lock is recursive, and held until all are checked, so that no other thread takes it in between for long.
void SubtreeHandler::CheckSet(unsigned int requestId, Request* requests) CVT_NO_THREAD_SAFETY_ANALYSIS {
    CVT::TMutex& lock = m_group.RequestLock();
    if (lock.Wait(0) != CVT::kWaitSignalled) {
        VarBinds::Refuse(*requests, CVT::resourceUnavailable);
        return;
    }
    const CVT::TMutex::Guard held(lock);
    lock.Done();
    LibrarySets::Check(m_group, requestId, requests);
}

}  // namespace cvtagentd
