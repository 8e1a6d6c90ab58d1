#pragma once

#include <optional>

#include "groups/common/DTable.h"
#include "groups/software/DHrSWRunEntry.h"
#include "groups/software/ProcessSnapshots.h"

/// hrSWRunTable: the processes of the host, one row each, ordered by process id.
///
/// The rows are a snapshot, taken from /proc by the first call of a request that finds the newest snapshot 15 seconds
/// old, or the clock set back. A request sees one snapshot from its first varbind to its last, and other requests need
/// not wait for it: see ProcessSnapshots, also for how many are held. The rows in use are those of the snapshot that
/// the request handled last sees.
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

    /// Switches to the snapshot that the request sees, which is a new one when it is time to take one. When /proc
    /// cannot be opened, it says so on standard output, and the old snapshot stays for another 15 seconds.
    void vCheckUpDateTable(unsigned int requestId);
    /// Whether the next call of a handler for this request takes a snapshot. After false, that call takes none even if
    /// the clock has ticked since: the caller makes it on a thread that must not wait for a scan.
    bool bIsScanDue(unsigned int requestId);
    /// Deletes the rows in use.
    void vDeleteAllEntries();

    /// The body of a get handler: copies a field of the row that the request sees. noSuchName when there is none,
    /// genErr when the request has waited so long that its snapshot is gone.
    template <class Field, class Value>
    int GetCurrent(const CVT::BObjectIdentifier& index, unsigned int requestId, Field Entry::*field, Value& value) {
        vCheckUpDateTable(requestId);
        return m_isLost ? static_cast<int>(CVT::genErr) : GetField(index, field, value);
    }

    int OnGet_HrSWRunIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWRunName(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWRunID(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BObjectIdentifier& value);
    int OnGet_HrSWRunPath(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWRunParameters(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWRunType(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWRunStatus(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);

    /// Kills the process, with SIGKILL, when the value is invalid(4); every other value is refused. Whether the kill
    /// worked is not checked: the row goes with the next snapshot once the process is gone. When /proc shows that the
    /// number now belongs to another process, the commit fails and nothing is killed. Takes no snapshot.
    int OnSet_HrSWRunStatus(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase, unsigned int requestId,
                            const int& value, void** undo);

private:
    void vScan();
    void vAddProcess(int procDescriptor, unsigned int pid);
    void ShowWritten(const Entry& row, const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase);

    ProcessSnapshots m_snapshots{RowsInUse()};
    bool m_isLost = false;                      // whether the request handled last has lost its snapshot
    std::optional<unsigned int> m_mustNotScan;  // the request last told that no scan is due
};
