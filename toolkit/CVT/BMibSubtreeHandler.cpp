#include "CVT/BMibSubtreeHandler.h"

namespace CVT {

BMibSubtreeHandler::BMibSubtreeHandler(const char* name, const char* oid) : m_name(name) {
    m_oid.AssignFromDottedDecimalStr(oid);
}

BMibSubtreeHandler::~BMibSubtreeHandler() = default;

void BMibSubtreeHandler::OnTimeout(BTimeInterval& interval) { interval.Set(0); }

int BMibSubtreeHandler::GetNext(unsigned int requestId, BVarBindList& varBinds, int& errorIndex, int version) {
    errorIndex = 0;
    int place = 0;
    for (BVarBind& varBind : varBinds) {
        ++place;
        const int status = GetNext(requestId, varBind);
        if (status == noSuchName && version != kSnmpV1) {
            varBind.type = kEndOfMibView;
        } else if (status != noError) {
            errorIndex = place;
            return status;
        }
    }
    return noError;
}

bool BMibSubtreeHandler::HandlesInstance(const BObjectIdentifier& name) { return name.StartsWith(m_oid); }

}  // namespace CVT
