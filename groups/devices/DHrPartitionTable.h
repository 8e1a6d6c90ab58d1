#pragma once

#include "groups/common/DTable.h"

/// The index of a partition: its disk's device, and its number on that disk.
struct DPartitionIndex {
    static constexpr unsigned int kArcs = 2;

    int device = 1;
    int partition = 1;

    void ToOid(CVT::BObjectIdentifier& oid) const {
        oid.Append(static_cast<unsigned int>(device));
        oid.Append(static_cast<unsigned int>(partition));
    }
    /// `oid` has kArcs arcs.
    void FromOid(const CVT::BObjectIdentifier& oid) {
        device = static_cast<int>(oid[0]);
        partition = static_cast<int>(oid[1]);
    }
};

/// A partition of a disk.
struct DHrPartitionEntry {
    void SetIndex(const DPartitionIndex& value) { index = value.partition; }

    int index = 1;
    CVT::BOctetString label;                           ///< the path of its device node
    CVT::BOctetString id = CVT::BOctetString("1", 0);  ///< its device number, "0x302" for major 3 and minor 2
    int size = 0;                                      ///< units of 1,024 octets
    int fsIndex = 0;                                   ///< hrFSIndex of the file system mounted from it; 0 for none
};

/// hrPartitionTable: the partitions of the disks, in order of device and number. Device discovery creates and fills the
/// rows; nothing changes them afterwards. Everything is called under the request lock.
class DHrPartitionTable final : public DTable<DHrPartitionEntry, DPartitionIndex> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrPartitionTable(CVT::INonVolatile* store);

    void Initialize() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// Whether a row has exactly this label.
    bool bIsInTable(const CVT::BString& label) const;

    int OnGet_HrPartitionIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrPartitionLabel(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrPartitionID(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrPartitionSize(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrPartitionFSIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
};
