#pragma once

#include <array>
#include <vector>

#include "CVT/BMibImplGroup.h"
#include "agent/cvtagentd/builtin/SnmpEngineGroup.h"
#include "agent/cvtagentd/builtin/SnmpGroup.h"
#include "agent/cvtagentd/builtin/SnmpMpdStatsGroup.h"
#include "agent/cvtagentd/builtin/SysOrTable.h"
#include "agent/cvtagentd/builtin/SystemGroup.h"
#include "agent/cvtagentd/builtin/UsmStatsGroup.h"

namespace cvtagentd {

/// What a stand-alone agent itself serves, besides the modules: the system group with sysORTable, snmpEngine, and the
/// SNMP library's counters. Ready from the beginning. Made while the SNMP library runs, and used by the thread that
/// runs it.
class BuiltinModule final : public CVT::BMibImplGroup {
public:
    BuiltinModule();
    ~BuiltinModule() override;

    /// Leaves out what lies in a subtree of these groups, and logs that: a module that serves the system group itself
    /// knows more.
    void GiveWayTo(const std::vector<CVT::BMibImpl*>& groups);
    /// Enters the MIBs of these groups in sysORTable. Called once.
    void Announce(const std::vector<CVT::BMibImpl*>& groups) { m_orTable.Enter(groups); }

    unsigned int Init() override;
    unsigned int Cleanup() override;
    int NumHandlers() override { return static_cast<int>(m_groups.size()); }
    CVT::BMibImpl* HandlerAt(int place) override;
    const CVT::BConstraintEntry* GetTCConstraintMap() const override { return nullptr; }
    void InitDefVals() override {}

private:
    SystemGroup m_system;
    SysOrTable m_orTable;
    SnmpGroup m_snmp;
    SnmpEngineGroup m_engine;
    SnmpMpdStatsGroup m_mpdStats;
    UsmStatsGroup m_usmStats;
    std::array<CVT::BMibImpl*, 6> m_groups{&m_system, &m_orTable,  &m_snmp,
                                           &m_engine, &m_mpdStats, &m_usmStats};  // null: left out
};

}  // namespace cvtagentd
