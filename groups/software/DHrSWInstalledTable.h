#pragma once

#include "CVT/TEvent.h"
#include "groups/common/DTable.h"

/// One piece of installed software, with the values of a new row.
struct DHrSWInstalledEntry {
    void SetIndex(const DSingleIndex& value) { index = static_cast<int>(value.row); }

    int index = 1;
    CVT::BOctetString name;
    CVT::BObjectIdentifier id;  ///< served by no column
    int type = 1;               ///< hrSWInstalledType: unknown(1)
    CVT::BOctetString date = CVT::BOctetString(std::string_view("\0\0\1\1\0\0\0\0", 8));
    int spare = 0;
};

/// hrSWInstalledTable: the installed software. This system creates no rows, so the table is empty; the operations on
/// rows serve an extension that supplies some. The column hrSWInstalledID is not served.
class DHrSWInstalledTable final : public DTable<DHrSWInstalledEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrSWInstalledTable(CVT::INonVolatile* store);
    ~DHrSWInstalledTable() override { vClearTable(); }

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// Returns the first row, in index order, with exactly this name; null when there is none.
    Entry* pFindEntry(const char* name);
    /// For a source of rows that updates them until the event is set. There is no such source; returns true.
    bool vUpdate(CVT::TEvent& stop);
    void vClearTable();

    int OnGet_HrSWInstalledIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWInstalledName(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWInstalledType(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWInstalledDate(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
};
