#pragma once

#include "groups/common/DTable.h"

/// A printer. Its index is that of its device. No printer is ever queried: the values are the same for all.
struct DHrPrinterEntry {
    int status = 2;                                                    ///< hrPrinterStatus: unknown(2)
    CVT::BOctetString detectedErrorState = CVT::BOctetString("0", 0);  ///< the one octet 0x30
};

/// hrPrinterTable: the printers among the devices. Device discovery creates the rows; nothing changes them afterwards.
/// Everything is called under the request lock.
class DHrPrinterTable final : public DTable<DHrPrinterEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrPrinterTable(CVT::INonVolatile* store);

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    int OnGet_HrPrinterStatus(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
    int OnGet_HrPrinterDetectedErrorState(const CVT::BObjectIdentifier& index, unsigned int requestId,
                                          CVT::BOctetString& value);
};
