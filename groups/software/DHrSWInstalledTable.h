#pragma once

#include "CVT/TEvent.h"
#include "groups/common/DTable.h"

/// One piece of installed software, with the values that a new row has.
struct DHrSWInstalledEntry {
    void SetIndex(const DSingleIndex& value) { index = static_cast<int>(value.row); }

    int index = 1;
    CVT::BOctetString name;
    CVT::BObjectIdentifier id;  ///< served by no column
    int type = 1;               ///< hrSWInstalledType: unknown(1)
    CVT::BOctetString date = CVT::BOctetString(std::string_view("\0\0\1\1\0\0\0\0", 8));
    int spare = 0;
};

/// hrSWInstalledTable: the installed software. Nothing on this system makes a row, so it is empty; the operations on rows
/// are there for an extension that knows of some. The column hrSWInstalledID is not served.
class DHrSWInstalledTable final : public DTable<DHrSWInstalledEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrSWInstalledTable(CVT::INonVolatile* store);
    ~DHrSWInstalledTable() override { vClearTable(); }

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    /// The first row, in order of indexes, with exactly this name; null when there is none.
    Entry* pFindEntry(const char* name);
    /// For a source of rows to bring them up to date, until the event is set. There is none; true.
    bool vUpdate(CVT::TEvent& stop);
    void vClearTable();

    int OnGet_HrSWInstalledIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWInstalledName(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int OnGet_HrSWInstalledType(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrSWInstalledDate(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
};
