#include "groups/software/DHrSWRunPerfTable.h"

#include "groups/common/DConventions.h"

const CVT::BRqHndlrEntry DHrSWRunPerfTable::s_rqhndlrEntries[] = {
    CVT::Column<CVT::kIntValue>(1, "hrSWRunPerfCPU", CVT::kInteger, &DHrSWRunPerfTable::OnGet_HrSWRunPerfCPU),
    CVT::Column<CVT::kIntValue>(2, "hrSWRunPerfMem", CVT::kInteger, &DHrSWRunPerfTable::OnGet_HrSWRunPerfMem),
    {},
};

const CVT::BConstraintEntry DHrSWRunPerfTable::s_sonstraintEntries[] = {
    {CVT::kRange, 1, nullptr, 0, 2147483647},
    {CVT::kConvention, 2, DConventions::cszKBytes, 0, 0},
    {},
};

DHrSWRunPerfTable::DHrSWRunPerfTable(DHrSWRunTable& runTable)
    : BMibTableImpl(runTable, "HOST-RESOURCES-MIB.hrSWRunPerfTable", "1.3.6.1.2.1.25.5.1"), m_runTable(runTable) {
    SetSlowCalls([this](CVT::EReading /*call*/, unsigned int requestId, const CVT::BObjectIdentifier& /*name*/) {
        return m_runTable.bIsScanDue(requestId);
    });
}

bool DHrSWRunPerfTable::NextInstanceInColumn(unsigned int requestId, unsigned int column,
                                             const CVT::BObjectIdentifier& index, CVT::BObjectIdentifier& nextIndex) {
    return m_runTable.NextInstanceInColumn(requestId, column, index, nextIndex);
}

int DHrSWRunPerfTable::OnGet_HrSWRunPerfCPU(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    return m_runTable.GetCurrent(index, requestId, &DHrSWRunTable::Entry::perfCPU, value);
}

int DHrSWRunPerfTable::OnGet_HrSWRunPerfMem(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value) {
    return m_runTable.GetCurrent(index, requestId, &DHrSWRunTable::Entry::perfMem, value);
}
