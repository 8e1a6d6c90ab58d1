#include "agent/cvtagentd/agentx/MasterProbes.h"

#include <algorithm>

#include "agent/common/Joined.h"
#include "agent/cvtagentd/agentx/Pdu.h"
#include "agent/cvtagentd/snmp/LibraryLog.h"

namespace cvtagentd {
namespace {

/// The parts of the distribution's master that serve HOST-RESOURCES-MIB, as its option -I names them.
constexpr const char* kHostModule =
    "hrh_storage,hrh_filesys,hrSWInstalledTable,hrSWRunTable,hrSWRunPerfTable,hr_system,hr_device,hr_other,hr_proc,"
    "hr_network,hr_print,hr_disk,hr_partition";

}  // namespace

void MasterProbes::Begin(const std::vector<CVT::BMibImpl*>& accepted) {
    const bool isUnderWay = !m_probes.empty();
    for (CVT::BMibImpl* const group : accepted) {
        AddObjects(*group);
    }
    if (!isUnderWay) {
        Next();
    }
}

void MasterProbes::Clear() {
    m_probes.clear();
    m_next = 0;
    m_affected.clear();
}

/// Whoever serves a scalar may have registered the object or its only instance.
void MasterProbes::AddObjects(CVT::BMibImpl& group) {
    const CVT::IMibInfo& info = *group.GetIMibInfo();
    for (const CVT::BRqHndlrEntry& column : info.Columns()) {
        Name name = info.Oid();
        name.Append(column.subId);
        AddName(group, name);
        if (!info.IsTable()) {
            name.Append(0);
            AddName(group, name);
        }
    }
}

/// What this agent has registered itself would be a duplicate, too.
void MasterProbes::AddName(const CVT::BMibImpl& group, const Name& name) {
    if (std::none_of(m_served.begin(), m_served.end(),
                     [&](const CVT::BMibImpl* other) { return other->Oid() == name; })) {
        m_probes.push_back({&group, name});
    }
}

void MasterProbes::Next() {
    if (m_next < m_probes.size()) {
        m_calls.add(m_probes[m_next].name);
    } else {
        Report();
        Clear();
    }
}

void MasterProbes::Answered(unsigned int error) {
    if (m_next >= m_probes.size()) {
        return;
    }
    const Probe& probe = m_probes[m_next];
    if (error == 0) {
        m_calls.remove(probe.name);
        ++m_next;
    } else {
        if (error == kDuplicateRegistration) {
            m_affected.emplace_back(probe.group->Name().View());
        }
        const auto isOther = [&](const Probe& other) { return other.group != probe.group; };
        const auto at = m_probes.begin() + static_cast<std::ptrdiff_t>(m_next);
        m_next = static_cast<std::size_t>(std::find_if(at, m_probes.end(), isOther) - m_probes.begin());
    }
    Next();
}

void MasterProbes::Report() {
    if (!m_affected.empty()) {
        LibraryLog::WriteLimited(
            LogLevel::kWarning, "the master answers",
            "the master answers for objects of these groups instead of this agent: " + agent::Joined(m_affected) +
                "; switch off its own module for them (for snmpd's host module: -I -" + kHostModule +
                " on its command line) or the other subagent, and restart the master");
    }
}

}  // namespace cvtagentd
