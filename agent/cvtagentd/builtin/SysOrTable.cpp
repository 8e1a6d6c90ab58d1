#include "agent/cvtagentd/builtin/SysOrTable.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "CVT/TextualConventions.h"
#include "agent/cvtagentd/snmp/SnmpHeaders.h"

#include <net-snmp/agent/agent_sysORTable.h>
#include <net-snmp/agent/sysORTable.h>

namespace cvtagentd {

using CVT::BObjectIdentifier;
using CVT::Column;

namespace {

/// By name of the MIB.
using Roots = std::map<std::string, std::vector<BObjectIdentifier>>;

BObjectIdentifier CommonPart(const std::vector<BObjectIdentifier>& roots) {
    BObjectIdentifier common = roots.front();
    for (const BObjectIdentifier& root : roots) {
        while (!root.StartsWith(common)) {
            common.Truncate(common.NumArcs() - 1);
        }
    }
    return common;
}

/// The subtrees to enter for a MIB: one, or, where that would be a registry of many MIBs, its groups' own.
std::vector<BObjectIdentifier> SubtreesOf(const std::vector<BObjectIdentifier>& roots) {
    constexpr unsigned int kRegistry = 6;  // arcs of mib-2, enterprises and snmpModules
    const BObjectIdentifier common = CommonPart(roots);
    if (common.NumArcs() > kRegistry) {
        return {common};
    }
    std::vector<BObjectIdentifier> outermost;
    for (const BObjectIdentifier& root : roots) {
        const bool isInner = std::any_of(roots.begin(), roots.end(),
                                         [&](const auto& other) { return root != other && root.StartsWith(other); });
        if (!isInner) {
            outermost.push_back(root);
        }
    }
    return outermost;
}

Roots MibsOf(const std::vector<CVT::BMibImpl*>& groups) {
    Roots mibs;
    for (const CVT::BMibImpl* const group : groups) {
        const std::string_view name = group->Name().View();
        mibs[std::string(name.substr(0, name.find('.')))].push_back(group->Oid());
    }
    return mibs;
}

}  // namespace

const CVT::BRqHndlrEntry SysOrTable::s_rqhndlrEntries[] = {
    Column<CVT::kObjectIdentifierValue>(2, "sysORID", CVT::kObjectIdentifier, &SysOrTable::GetId),
    Column<CVT::kDisplayStringValue>(3, "sysORDescr", CVT::kOctetString, &SysOrTable::GetDescr),
    Column<CVT::kUnsignedValue>(4, "sysORUpTime", CVT::kTimeTicks, &SysOrTable::GetUpTime),
    {},
};

const CVT::BConstraintEntry SysOrTable::s_sonstraintEntries[] = {
    {CVT::kConvention, 3, CVT::cszDisplayString, 0, 255},
    {},
};

SysOrTable::SysOrTable() : CVT::BMibTableImpl("SNMPv2-MIB.sysORTable", "1.3.6.1.2.1.1.9") {}

SysOrTable::~SysOrTable() {
    for (std::vector<oid>& id : m_entered) {
        ::unregister_sysORTable(id.data(), id.size());
    }
}

std::vector<SysOrTable::Entry> SysOrTable::EntriesFor(const std::vector<CVT::BMibImpl*>& groups) {
    std::vector<Entry> entries;
    for (const auto& [name, roots] : MibsOf(groups)) {
        for (const BObjectIdentifier& root : SubtreesOf(roots)) {
            entries.push_back({root, name});
        }
    }
    return entries;
}

void SysOrTable::Enter(const std::vector<CVT::BMibImpl*>& groups) {
    for (const Entry& entry : EntriesFor(groups)) {
        std::vector<oid>& id = m_entered.emplace_back(entry.root.Arcs().begin(), entry.root.Arcs().end());
        ::register_sysORTable(id.data(), id.size(), entry.name.c_str());
    }
}

std::vector<SysOrTable::Row> SysOrTable::Rows() {
    std::vector<Row> rows;
    const auto add = [](const sysORTable* entry, void* list) {
        Row& row = static_cast<std::vector<Row>*>(list)->emplace_back();
        row.descr = entry->OR_descr;
        row.upTime = static_cast<unsigned int>(entry->OR_uptime);
        for (std::size_t arc = 0; arc < entry->OR_oidlen; ++arc) {
            row.id.Append(static_cast<unsigned int>(entry->OR_oid[arc]));
        }
    };
    ::netsnmp_sysORTable_foreach(add, &rows);
    return rows;
}

unsigned int SysOrTable::LastChange() {
    unsigned int last = 0;
    for (const Row& row : Rows()) {
        last = std::max(last, row.upTime);
    }
    return last;
}

int SysOrTable::RowAt(const BObjectIdentifier& index, Row& row) {
    std::vector<Row> rows = Rows();
    if (index.NumArcs() != 1 || index[0] < 1 || index[0] > rows.size()) {
        return CVT::noSuchName;
    }
    row = std::move(rows[index[0] - 1]);
    return CVT::noError;
}

bool SysOrTable::NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/,
                                      const BObjectIdentifier& index, BObjectIdentifier& nextIndex) {
    const std::size_t position = index.IsEmpty() ? 0 : index[0];
    if (position >= Rows().size()) {
        return false;
    }
    const auto next = static_cast<unsigned int>(position + 1);
    nextIndex.Set(std::span(&next, 1));
    return true;
}

int SysOrTable::GetId(const BObjectIdentifier& index, unsigned int /*requestId*/, BObjectIdentifier& value) {
    Row row;
    const int status = RowAt(index, row);
    value = row.id;
    return status;
}

int SysOrTable::GetDescr(const BObjectIdentifier& index, unsigned int /*requestId*/, CVT::BOctetString& value) {
    Row row;
    const int status = RowAt(index, row);
    value.Assign(row.descr);
    return status;
}

int SysOrTable::GetUpTime(const BObjectIdentifier& index, unsigned int /*requestId*/, unsigned int& value) {
    Row row;
    const int status = RowAt(index, row);
    value = row.upTime;
    return status;
}

}  // namespace cvtagentd
