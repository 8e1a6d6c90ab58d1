#pragma once

#include "groups/common/DTable.h"

/// A network interface. Its index is that of its device.
struct DHrNetworkEntry {
    int ifIndex = 0;  ///< hrNetworkIfIndex: the module's own count of interfaces, from 1, not the kernel's
};

/// hrNetworkTable: the interface number of each network device. Device discovery creates and fills the rows; nothing
/// changes them afterwards. Everything is called under the request lock.
class DHrNetworkTable final : public DTable<DHrNetworkEntry> {
public:
    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];
    static const char s_pszNVSection[];

    explicit DHrNetworkTable(CVT::INonVolatile* store);

    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }

    int OnGet_HrNetworkIfIndex(const CVT::BObjectIdentifier& index, unsigned int requestId, int& value);
};
