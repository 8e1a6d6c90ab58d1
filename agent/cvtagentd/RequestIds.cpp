#include "agent/cvtagentd/RequestIds.h"

namespace agent {

unsigned int RequestIds::Of(long transaction) {
    if (!m_request || transaction != m_transaction) {
        m_transaction = transaction;
        m_request.emplace();
    }
    return m_request->Id();
}

}  // namespace agent
