#pragma once

#include "groups/common/DTable.h"

/// A disk. Its index is that of its device.
struct DHrDiskStorageEntry {
    int access = 1;                  ///< hrDiskStorageAccess: readWrite(1), readOnly(2)
    int media = 8;                   ///< hrDiskStorageMedia: ramDisk(8), also for hard disks
    CVT::BTruthValue removable = 2;  ///< true(1), false(2)
    int capacity = 0;                ///< units of 1,024 octets
    CVT::BString mountDirectory;     ///< where it was found; not a column
};

/// hrDiskStorageTable: the disks among the devices. Device discovery creates and fills the rows; nothing changes them
/// afterwards. Everything is called under the request lock.
class DHrDiskStorageTable final : public DTable<DHrDiskStorageEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrDiskStorageTable(CVT::INonVolatile* store);

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    int OnGet_HrDiskStorageAccess(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrDiskStorageMedia(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrDiskStorageRemoveble(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                     CVT::BTruthValue& value);
    int OnGet_HrDiskStorageCapacity(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
};
