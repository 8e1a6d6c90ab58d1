#pragma once

#include <string>
#include <vector>

#include "CVT/BMibTableImpl.h"

namespace cvtagentd {

/// sysORTable, 1.3.6.1.2.1.1.9: the MIBs that the agent serves, in the order in which the SNMP library holds them. Used
/// by the thread that runs the library.
class SysOrTable final : public CVT::BMibTableImpl {
public:
    SysOrTable();
    ~SysOrTable() override;

    struct Entry {
        CVT::BObjectIdentifier root;
        std::string name;
    };
    /// An entry for each MIB that these groups belong to: the part of a group's name before the dot, and the smallest
    /// subtree that holds all its groups. Where that subtree would be one in which many MIBs lie, such as 1.3.6.1.2.1,
    /// the MIB has one for each of its groups instead, so that none claims what is not served.
    static std::vector<Entry> EntriesFor(const std::vector<CVT::BMibImpl*>& groups);

    /// Enters the MIBs of these groups. Called once.
    void Enter(const std::vector<CVT::BMibImpl*>& groups);

    /// sysORLastChange, hundredths of a second.
    static unsigned int LastChange();

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override;

private:
    struct Row {
        CVT::BObjectIdentifier id;
        std::string descr;
        unsigned int upTime;  // hundredths of a second
    };

    static std::vector<Row> Rows();
    static int RowAt(const CVT::BObjectIdentifier& index, Row& row);

    int GetId(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BObjectIdentifier& value);
    int GetDescr(const CVT::BObjectIdentifier& index, unsigned int requestId, CVT::BOctetString& value);
    int GetUpTime(const CVT::BObjectIdentifier& index, unsigned int requestId, unsigned int& value);

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    std::vector<std::vector<unsigned long>> m_entered;
};

}  // namespace cvtagentd
