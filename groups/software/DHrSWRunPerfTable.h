#pragma once

#include "CVT/BMibTableImpl.h"
#include "groups/software/DHrSWRunTable.h"

/// hrSWRunPerfTable: the resources used by the processes of hrSWRunTable. It has no rows of its own: it reads those of
/// the run table, under that table's lock, and refreshes them as that table does. The run table may be destroyed first;
/// nothing here touches it afterwards.
class DHrSWRunPerfTable final : public CVT::BMibTableImpl {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    explicit DHrSWRunPerfTable(DHrSWRunTable& runTable);

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override;

    bool IsIndexValid(const CVT::BObjectIdentifier& index) const { return m_runTable.IsIndexValid(index); }
    bool SplitIndex(const CVT::BObjectIdentifier& index, DHrSWRunTable::Index& out) const {
        return m_runTable.SplitIndex(index, out);
    }

    /// Clock ticks, in the kernel's unit, of the children that the process has waited for.
    int OnGet_HrSWRunPerfCPU(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    /// Pages of the process's address space.
    int OnGet_HrSWRunPerfMem(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);

private:
    DHrSWRunTable& m_runTable;
};
