#pragma once

#include <mntent.h>
#include <sys/stat.h>

#include <memory>
#include <optional>
#include <vector>

#include "groups/common/DTable.h"
#include "groups/common/HostFile.h"
#include "groups/storage/MountKinds.h"
#include "groups/storage/MountProbe.h"
#include "groups/storage/MountTableFile.h"

// What outlives a table: indexes are not assigned again as long as the library is loaded. All are 0 at load, and used
// under the table's request lock.

extern unsigned int lastTableIndex;    ///< the last hrStorageIndex that was assigned
extern unsigned int vVMemIndex;        ///< hrStorageIndex of virtual memory
extern unsigned int vMemIndex;         ///< hrStorageIndex of physical memory
extern struct stat stLastMntFileStat;  ///< of the mount table, when it was last found changed

/// One row of hrStorageTable.
struct DHrStorageEntry {
    DHrStorageEntry() = default;
    /// A mounted file system, measured now; a null `mount` makes an empty row. `rowIndex` is its hrStorageIndex.
    /// Nothing is known of the mounts on the way there, so it counts as one that may hang.
    DHrStorageEntry(unsigned int rowIndex, const mntent* mount);

    unsigned int index = 0;
    CVT::BObjectIdentifier type;
    CVT::BString descr;       ///< the mount directory, or what kind of memory this is
    int allocationUnits = 0;  ///< octets
    int size = 0;             ///< blocks, as is `used`
    int used = 0;
    unsigned int allocationFailures = 0;
    bool mayHang = false;             ///< whether a call to the file system may never return
    bool isSizeWritten = false;       ///< whether `size` is one that a manager wrote
    bool isForbidden = false;         ///< whether access to the directory is denied
    std::optional<int> measuredSize;  ///< what `size` is otherwise; absent for memory, and before there is an answer

    /// Stores what was learnt of the file system; what is absent there stays as it is, and so does a size that a
    /// manager wrote. Every row of a mount is filled by this function.
    void Fill(const mntent& mount, const DMountFigures& figures);
};

/// hrStorageTable: the mounted file systems, virtual memory and physical memory.
///
/// Rows are made when the table is initialised, file systems first, in the order of the mount table, and then only
/// added: a file system that is mounted later gets a row at the next request, one that is unmounted keeps its row. Only
/// `used` is measured again, each time it is read; the figures of a file system that answers late are stored when they
/// come.
///
/// Everything is called under the request lock. Whether the mount table has changed is checked once for each request.
///
/// Size and used are counts of the file system's own blocks (`f_bsize` of statfs), the allocation unit is `st_blksize`
/// of the mount directory; all are cut to their low 32 bits.
class DHrStorageTable final : public DTable<DHrStorageEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrStorageTable(CVT::INonVolatile* store);

    /// Makes the rows, unless there are some already.
    void Initialize() override;
    void Cleanup() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// Adds rows for what was mounted since the last check. Checks only once for each request, and not at all while the
    /// table is not active.
    void vCheckAndUpdateTable(unsigned int requestId);

    /// Returns a row with default values and this index; null when the index is not valid. The caller owns it;
    /// InsertRow puts it into the table.
    static std::unique_ptr<Entry> CreateNewRow(const CVT::BObjectIdentifier& index);

    /// Adds a row for a mounted file system, or, where `mount` is null, an empty one; none when the index is taken.
    /// Whether the file system may hang is judged as for those of the mount table, together with those that were read
    /// from it.
    void CreateDemoRow(unsigned int index, const mntent* mount);

    /// Returns the index of the first row with this description; 0 when there is none.
    unsigned int FindRow(const char* name) const;
    bool bIsInTable(const char* name) const;

    int OnGet_HrStorageIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrStorageType(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BObjectIdentifier& value);
    int OnGet_HrStorageDescr(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrStorageAllocationUnits(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrStorageSize(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    /// Measures first; what cannot be measured stays as it was.
    int OnGet_HrStorageUsed(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrStorageAllocationFailures(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                          unsigned int& value);

    /// Refuses negative sizes with wrongValue. The size is only kept in the row.
    int OnSet_HrStorageSize(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase, unsigned int requestId,
                            const int& value, void** undo);

private:
    enum EWhich { kAll, kNewDirectories };

    /// A row whose file system has not answered yet.
    struct Unanswered {
        unsigned int row;
        DMountEntry mount;
        DMountProbe question;
    };

    bool IsSlowToRead(CVT::EReading call, unsigned int requestId, const CVT::BObjectIdentifier& name);
    void FillLateRows();
    /// Whether the kernel has said that the mount table changed since it was last read.
    bool HasNotice();
    bool MayHang(const Entry& row);
    /// Whether the mount table was changed or replaced since it was last read.
    bool HasMountTableChanged();
    void AddNewMounts();
    void AddMounts(std::vector<DMountEntry> mounts, EWhich which);
    void AddMemory(unsigned int row, const char* descr, const char* type, unsigned int totalSelector,
                   unsigned int usedSelector);
    /// Waits for the answer; where there is none yet, later requests check for it again.
    void AddMount(unsigned int index, DMountEntry mount, DMountProbe question);
    DMountProbe QuestionTo(const DMountEntry& mount) const;
    /// Fills a row. When access to the directory is denied, says so once for each directory.
    void Fill(Entry& row, const mntent& mount, const DMountFigures& figures) const;
    /// Returns false, and adds no row, when the index is taken.
    bool Add(std::unique_ptr<Entry> row);
    const Entry* RowOf(const char* name) const;
    /// Returns null when the mount table cannot be opened, and says so once.
    DHostFile OpenMountTable();

    DMountsThatMayHang m_mayHang;  // of the last reading of the mount table
    std::vector<Unanswered> m_unanswered;
    DMountTableWatch m_watch;
    std::optional<unsigned int> m_foundUnchangedFor;  // the request last told that the mount table has not changed
    bool m_hasNotice = false;                         // the watch saw a change that has not been read yet
    bool m_hasSaidItIsMissing = false;                // the mount table
};
