#pragma once

#include "groups/common/DTable.h"

/// One row of hrFSTable, with the values that it has until discovery fills it.
struct DHrFSEntry {
    DHrFSEntry();

    void SetIndex(const DSingleIndex& newIndex) { index = newIndex.row; }

    unsigned int index = 1;
    CVT::BOctetString mountPoint;
    CVT::BOctetString remoteMountPoint;  ///< the device name of a remote file system; empty for a local one
    CVT::BObjectIdentifier type;         ///< the bare branch of the file-system types
    int access = 1;                      ///< 1 readWrite, 2 readOnly
    CVT::BTruthValue bootable = 2;
    int storageIndex = 0;                     ///< the file system's hrStorageIndex; 0 for none
    CVT::BOctetString lastFullBackupDate;     ///< 00 01 01 00 00 00 00 00: day 0 of January in the year 1
    CVT::BOctetString lastPartialBackupDate;  ///< the same
};

/// hrFSTable: the file systems that were mounted when the module came up.
///
/// Device discovery creates and fills the rows; nothing removes them or measures them again. The two backup dates can
/// be written and last until the module is unloaded. Everything is called under the request lock.
class DHrFSTable final : public DTable<DHrFSEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrFSTable(CVT::INonVolatile* store);

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// Whether a row has this mount point, octet for octet.
    bool bIsInTable(const CVT::BString& mountPoint) const;

    int OnGet_HrFSIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrFSMountPoint(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrFSRemoteMountPoint(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                   CVT::BOctetString& value);
    int OnGet_HrFSType(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BObjectIdentifier& value);
    int OnGet_HrFSAccess(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrFSBootable(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrFSStorageIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrFSLastFullBackupDate(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                     CVT::BOctetString& value);
    int OnGet_HrFSLastPartialBackupDate(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                        CVT::BOctetString& value);

    /// Both reject with wrongValue a value that does not have the length of a DateAndTime.
    int OnSet_HrFSLastFullBackupDate(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                                     unsigned int requestId, const CVT::BOctetString& value, void** undo);
    int OnSet_HrFSLastPartialBackupDate(const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                                        unsigned int requestId, const CVT::BOctetString& value, void** undo);

private:
    int SetDate(CVT::BOctetString Entry::*field, const CVT::BObjectIdentifier& index, CVT::ESnmpSetOpCode phase,
                const CVT::BOctetString& value, void** undo);
};
