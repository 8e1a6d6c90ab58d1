#include "agent/cvtagentd/SubtreeHandler.h"

#include <exception>
#include <vector>

#include "agent/cvtagentd/SetRequests.h"
#include "agent/cvtagentd/SnmpHeaders.h"
#include "agent/cvtagentd/StartError.h"
#include "agent/cvtagentd/VarBinds.h"

namespace agent {

SubtreeHandler::SubtreeHandler(CVT::BMibImpl& group, RequestIds& ids) : m_group(group), m_ids(ids) {
    const std::vector<oid> root(group.Oid().Arcs().begin(), group.Oid().Arcs().end());
    m_registration = ::netsnmp_create_handler_registration(group.Name().c_str(), &SubtreeHandler::OnRequests,
                                                           root.data(), root.size(), HANDLER_CAN_RWRITE);
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

int SubtreeHandler::OnRequests(netsnmp_mib_handler* handler, netsnmp_handler_registration* /*registration*/,
                               netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
    SubtreeHandler& self = *static_cast<SubtreeHandler*>(handler->myvoid);
    try {
        self.Answer(info->mode, self.m_ids.Of(info->asp->pdu->transid), requests);
    } catch (const std::exception&) {  // out of memory: the library is C and must not be unwound
        ::netsnmp_request_set_error_all(requests, SNMP_ERR_GENERR);
    }
    return SNMP_ERR_NOERROR;
}

void SubtreeHandler::Answer(int mode, unsigned int requestId, Request* requests) {
    switch (mode) {
        case MODE_GET:
        case MODE_GETNEXT:
            for (Request* request = requests; request != nullptr; request = request->next) {
                if (request->processed == 0) {
                    mode == MODE_GET ? Get(requestId, *request) : GetNext(requestId, *request);
                }
            }
            break;
        case MODE_SET_RESERVE1: SetRequests::Check(m_group, requestId, requests); break;
        case MODE_SET_ACTION: SetRequests::Commit(requests); break;
        case MODE_SET_UNDO: SetRequests::UndoAndRelease(requests); break;
        case MODE_SET_COMMIT:
        case MODE_SET_FREE: SetRequests::Release(requests); break;
        default: break;
    }
}

void SubtreeHandler::Get(unsigned int requestId, Request& request) {
    VarBinds::ReadName(*request.requestvb, m_varBind.name);
    const int status = m_group.Get(requestId, m_varBind);
    if (status != CVT::noError) {
        VarBinds::Refuse(request, status);
    } else if (m_varBind.IsException()) {
        ::netsnmp_request_set_error(&request, m_varBind.type);  // an error in version 1: the library sees to it
    } else if (!VarBinds::WriteValue(m_varBind, *request.requestvb)) {
        VarBinds::Refuse(request, CVT::genErr);
    }
}

/// At the end of the group, or of the stretch of it that lies before the next subtree, the varbind is left as it is: the
/// library then goes on with the next handler.
void SubtreeHandler::GetNext(unsigned int requestId, Request& request) {
    VarBinds::ReadName(*request.requestvb, m_varBind.name);
    const int status = m_group.GetNext(requestId, m_varBind);
    if (status == CVT::noSuchName) {
        return;
    }
    if (status != CVT::noError) {
        VarBinds::Refuse(request, status);
        return;
    }
    if (request.range_end != nullptr && !VarBinds::IsBefore(m_varBind.name, request.range_end, request.range_end_len)) {
        return;
    }
    if (!VarBinds::WriteName(m_varBind.name, *request.requestvb) ||
        !VarBinds::WriteValue(m_varBind, *request.requestvb)) {
        VarBinds::Refuse(request, CVT::genErr);
    }
}

}  // namespace agent
