#pragma once

#include <ctime>
#include <vector>

#include "groups/common/DTable.h"

/// One process. The index is its process id.
struct DHrSWRunEntry {
    void SetIndex(const DSingleIndex& value) { index = value.row; }

    unsigned int index = 0;
    CVT::BOctetString name;
    CVT::BObjectIdentifier id = s_noId;
    CVT::BOctetString path;
    CVT::BOctetString parameters;
    int type = 4;     ///< hrSWRunType: operatingSystem(2), application(4)
    int status = 2;   ///< hrSWRunStatus: running(1), runnable(2), notRunnable(3), invalid(4)
    int perfCPU = 1;  ///< clock ticks of waited-for children
    int perfMem = 0;  ///< pages

    static const CVT::BObjectIdentifier s_noId;  ///< 0.0
};

/// hrSWRunTable: the processes of the host, one row each, ordered by process id.
///
/// The rows are a snapshot. It is taken anew from /proc by the first call of a request, unless the last one is less than
/// 15 seconds old, and never while a request that has seen it is still being answered (CVT::BRequest): a request sees one
/// snapshot from its first varbind to its last, however requests overlap. No row is kept from one snapshot to the next.
///
/// Everything is called under the request lock, which hrSWRunPerfTable shares.
class DHrSWRunTable final : public DTable<DHrSWRunEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrSWRunTable(CVT::INonVolatile* store);

    /// Lets the next request take a snapshot, whatever the time.
    void Initialize() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override;

    /// Takes a new snapshot when it is time to. When /proc cannot be opened it says so on standard output, and the old
    /// snapshot stays for another 15 seconds.
    void vCheckUpDateTable(unsigned int requestId);
    void vDeleteAllEntries();

    int OnGet_HrSWRunIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWRunName(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWRunID(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BObjectIdentifier& value);
    int OnGet_HrSWRunPath(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWRunParameters(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWRunType(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWRunStatus(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);

    /// Kills the process, with SIGKILL, when the value is invalid(4); every other value is refused. Whether the kill
    /// worked is not looked at: the row goes with the next snapshot once the process is gone. Takes no snapshot.
    int OnSet_HrSWRunStatus(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase, unsigned int requestId,
                            const int& value, void** undo);

private:
    bool bIsTimeToScan(unsigned int requestId);
    void vAddProcess(int procDescriptor, unsigned int pid);

    template <class Field, class Value>
    int GetCurrent(const CVT::BObjectIdentifier& index, unsigned int requestId, Field Entry::*field, Value& value) {
        vCheckUpDateTable(requestId);
        return GetField(index, field, value);
    }

    std::vector<unsigned int> m_readers;  // the requests that have seen the present snapshot, and may still be live
};
