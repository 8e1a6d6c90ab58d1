#include "agent/cvtwalk/top/HostProbe.h"

#include <algorithm>
#include <map>

#include "CVT/BRequest.h"
#include "agent/cvtwalk/data/KnownObjects.h"
#include "agent/cvtwalk/data/Walk.h"

namespace cvtwalk {
namespace {

std::optional<long long> NumberAt(const Section& section, const Section::Row& row, std::string_view column) {
    const auto place = section.Find(column);
    return place && row.cells[*place] ? row.cells[*place]->Number() : std::nullopt;
}

/// Empty where there is none.
std::string TextAt(const Section& section, const Section::Row& row, std::string_view column) {
    const auto place = section.Find(column);
    return place && row.cells[*place] ? section.TextAt(row, *place) : std::string();
}

/// Nothing for a negative number, which has wrapped.
std::optional<long long> Times(std::optional<long long> number, std::optional<long long> scale) {
    return number && scale && *number >= 0 && *scale >= 0 ? std::optional(*number * *scale) : std::nullopt;
}

HostState::Amount AmountOf(const Section& section, const Section::Row& row) {
    HostState::Amount amount;
    const auto units = NumberAt(section, row, "hrStorageAllocationUnits");
    amount.name = TextAt(section, row, "hrStorageDescr");
    amount.size = Times(NumberAt(section, row, "hrStorageSize"), units);
    amount.used = Times(NumberAt(section, row, "hrStorageUsed"), units);
    if (amount.size && amount.used && *amount.size > 0 && *amount.used <= *amount.size) {
        amount.share = static_cast<double>(*amount.used) / static_cast<double>(*amount.size);
    }
    return amount;
}

}  // namespace

void HostProbe::ReadSystem(const Section& section, HostState& state) {
    for (const Section::Row& row : section.Rows()) {
        if (const auto ticks = NumberAt(section, row, "hrSystemUptime")) {
            state.uptimeSeconds = static_cast<double>(*ticks) / 100;
        }
        state.users = NumberAt(section, row, "hrSystemNumUsers");
        state.tasks = NumberAt(section, row, "hrSystemProcesses");
    }
}

void HostProbe::ReadStorage(const Section& section, HostState& state) {
    for (const Section::Row& row : section.Rows()) {
        const std::string type = TextAt(section, row, "hrStorageType");
        HostState::Amount amount = AmountOf(section, row);
        if (type == "hrStorageRam") {
            state.memory = std::move(amount);
        } else if (type == "hrStorageVirtualMemory") {
            continue;  // the kernel's address space, not memory in use
        } else if (amount.size == 0) {
            ++state.withoutSize;
        } else {
            state.fileSystems.push_back(std::move(amount));
        }
    }
}

void HostProbe::ReadProcesses(const Section& section, HostState& state) {
    const long long page = KnownObjects::ScaleOf(KnownObjects::Unit::kPages);
    const auto ticks = static_cast<double>(KnownObjects::ScaleOf(KnownObjects::Unit::kClockTicks));
    for (const Section::Row& row : section.Rows()) {
        HostState::Process process;
        process.id = row.index.NumArcs() == 0 ? 0 : row.index[0];
        process.name = TextAt(section, row, "hrSWRunName");
        process.arguments = TextAt(section, row, "hrSWRunParameters");
        process.status = TextAt(section, row, "hrSWRunStatus");
        process.memory = Times(NumberAt(section, row, "hrSWRunPerfMem"), page);
        if (const auto used = NumberAt(section, row, "hrSWRunPerfCPU"); used && *used >= 0) {
            process.childSeconds = static_cast<double>(*used) / ticks;
        }
        state.processes.push_back(std::move(process));
    }
}

void HostProbe::ReadProcessors(const Sections& sections, HostState& state) const {
    std::map<CVT::BObjectIdentifier, std::string> names;
    for (const Section& section : sections.All()) {
        for (const Section::Row& row : section.Rows()) {
            if (section.Find("hrDeviceDescr")) {
                names[row.index] = TextAt(section, row, "hrDeviceDescr");
            }
        }
    }
    for (const Section& section : sections.All()) {
        const auto place = section.Find("hrProcessorLoad");
        for (const Section::Row& row : section.Rows()) {
            if (place && row.cells[*place]) {
                const auto load = row.cells[*place]->Number();
                state.processors.push_back(
                    {names[row.index], load ? std::optional(static_cast<int>(*load)) : std::nullopt});
            }
        }
    }
}

HostState HostProbe::Read(double secondsReady, bool withProcesses) {
    const CVT::BRequest whole;  // one request, so that it sees one consistent snapshot
    Walk walk(m_engine, m_names, whole.Id());
    Sections sections;
    const auto take = [&](const char* object) {
        std::string ignored;
        if (const auto root = m_names.Resolve(object, ignored)) {
            walk.Run(
                *root,
                [&](const CVT::BVarBind& instance, const ServedObject& served) {
                    sections.Add(instance, served);
                    return true;
                },
                ignored);
        }
    };
    for (const char* const object : {"hrSystemUptime", "hrSystemNumUsers", "hrSystemProcesses", "hrStorageTable",
                                     "hrDeviceDescr", "hrProcessorLoad"}) {
        take(object);
    }
    if (withProcesses) {
        for (const char* const object : {"hrSWRunName", "hrSWRunParameters", "hrSWRunStatus", "hrSWRunPerfTable"}) {
            take(object);
        }
    }
    sections.MarkUnmeasured(secondsReady);
    sections.Join();
    HostState state;
    for (const Section& section : sections.All()) {
        if (section.Find("hrSystemUptime")) {
            ReadSystem(section, state);
        } else if (section.Find("hrStorageSize")) {
            ReadStorage(section, state);
        } else if (section.Find("hrSWRunName")) {
            ReadProcesses(section, state);
        }
    }
    ReadProcessors(sections, state);
    return state;
}

}  // namespace cvtwalk
