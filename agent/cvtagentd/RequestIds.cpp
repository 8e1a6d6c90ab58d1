#include "agent/cvtagentd/RequestIds.h"

#include "CVT/BRequestId.h"

namespace agent {

unsigned int RequestIds::Of(long transaction) {
    if (!m_any || transaction != m_transaction) {
        m_any = true;
        m_transaction = transaction;
        m_id = CVT::BRequestId::Next();
    }
    return m_id;
}

}  // namespace agent
