#include "agent/cvtwalk/data/KnownObjects.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace cvtwalk {
namespace {

constexpr char kHostResources[] = "HOST-RESOURCES-MIB";

constexpr KnownObjects::Node kBranches[] = {
    {kHostResources, "host", "1.3.6.1.2.1.25"},
    {kHostResources, "hrSystem", "1.3.6.1.2.1.25.1"},
    {kHostResources, "hrStorage", "1.3.6.1.2.1.25.2"},
    {kHostResources, "hrDevice", "1.3.6.1.2.1.25.3"},
    {kHostResources, "hrSWRun", "1.3.6.1.2.1.25.4"},
    {kHostResources, "hrSWRunPerf", "1.3.6.1.2.1.25.5"},
    {kHostResources, "hrSWInstalled", "1.3.6.1.2.1.25.6"},
};

/// The values under one node, indexed by their last arc.
struct Value {
    unsigned int arc;
    const char* name;
};

constexpr unsigned int kStorageTypes[] = {1, 3, 6, 1, 2, 1, 25, 2, 1};
constexpr Value kStorageTypeNames[] = {
    {1, "hrStorageOther"},        {2, "hrStorageRam"},           {3, "hrStorageVirtualMemory"},
    {4, "hrStorageFixedDisk"},    {5, "hrStorageRemovableDisk"}, {6, "hrStorageFloppyDisk"},
    {7, "hrStorageCompactDisc"},  {8, "hrStorageRamDisk"},       {9, "hrStorageFlashMemory"},
    {10, "hrStorageNetworkDisk"},
};

constexpr unsigned int kDeviceTypes[] = {1, 3, 6, 1, 2, 1, 25, 3, 1};
constexpr Value kDeviceTypeNames[] = {
    {1, "hrDeviceOther"},     {2, "hrDeviceUnknown"},         {3, "hrDeviceProcessor"},
    {4, "hrDeviceNetwork"},   {5, "hrDevicePrinter"},         {6, "hrDeviceDiskStorage"},
    {10, "hrDeviceVideo"},    {11, "hrDeviceAudio"},          {12, "hrDeviceCoprocessor"},
    {13, "hrDeviceKeyboard"}, {14, "hrDeviceModem"},          {15, "hrDeviceParallelPort"},
    {16, "hrDevicePointing"}, {17, "hrDeviceSerialPort"},     {18, "hrDeviceTape"},
    {19, "hrDeviceClock"},    {20, "hrDeviceVolatileMemory"}, {21, "hrDeviceNonVolatileMemory"},
};

constexpr unsigned int kFileSystemTypes[] = {1, 3, 6, 1, 2, 1, 25, 3, 9};
constexpr Value kFileSystemTypeNames[] = {
    {1, "hrFSOther"},      {2, "hrFSUnknown"},  {3, "hrFSBerkeleyFFS"}, {4, "hrFSSys5FS"}, {5, "hrFSFat"},
    {6, "hrFSHPFS"},       {7, "hrFSHFS"},      {8, "hrFSMFS"},         {9, "hrFSNTFS"},   {10, "hrFSVNode"},
    {11, "hrFSJournaled"}, {12, "hrFSiso9660"}, {13, "hrFSRockRidge"},  {14, "hrFSNFS"},   {15, "hrFSNetware"},
    {16, "hrFSAFS"},       {17, "hrFSDFS"},     {18, "hrFSAppleshare"}, {19, "hrFSRFS"},   {20, "hrFSDGCFS"},
    {21, "hrFSBFS"},       {22, "hrFSFAT32"},   {23, "hrFSLinuxExt2"},
};

struct Types {
    std::span<const unsigned int> node;
    std::span<const Value> values;
};

constexpr Types kTypes[] = {
    {kStorageTypes, kStorageTypeNames},
    {kDeviceTypes, kDeviceTypeNames},
    {kFileSystemTypes, kFileSystemTypeNames},
};

constexpr KnownObjects::Amounts kAmounts[] = {
    {"HOST-RESOURCES-MIB.hrStorageTable", "hrStorageAllocationUnits", "hrStorageSize", "hrStorageUsed"},
};

constexpr KnownObjects::JoinedTables kJoins[] = {
    {"HOST-RESOURCES-MIB.hrSWRunTable", "HOST-RESOURCES-MIB.hrSWRunPerfTable"},
};

/// An object that is measured at intervals. The module takes its first sample one interval after its start; one more
/// second allows for a busy machine.
struct Sampled {
    const char* object;
    double seconds;
};
constexpr Sampled kSampled[] = {{"hrProcessorLoad", 16}};

struct Measure {
    const char* object;
    KnownObjects::Unit unit;
};
constexpr Measure kMeasures[] = {
    {"hrProcessorLoad", KnownObjects::Unit::kPercent},
    {"hrSWRunPerfCPU", KnownObjects::Unit::kClockTicks},
    {"hrSWRunPerfMem", KnownObjects::Unit::kPages},
};

constexpr std::string_view kGrowing[] = {"hrSWRunPerfCPU"};
constexpr std::string_view kCut[] = {"hrMemorySize", "hrDiskStorageCapacity"};

}  // namespace

std::span<const KnownObjects::Node> KnownObjects::Branches() { return kBranches; }

std::string_view KnownObjects::ValueName(const CVT::BObjectIdentifier& value) {
    if (value.IsEmpty()) {
        return {};
    }
    const std::span<const unsigned int> arcs = value.Arcs();
    const auto node = arcs.first(arcs.size() - 1);
    for (const Types& types : kTypes) {
        if (!std::equal(node.begin(), node.end(), types.node.begin(), types.node.end())) {
            continue;
        }
        const auto found = std::find_if(types.values.begin(), types.values.end(),
                                        [&](const Value& candidate) { return candidate.arc == arcs.back(); });
        return found == types.values.end() ? std::string_view() : found->name;
    }
    return {};
}

const KnownObjects::Amounts* KnownObjects::AmountsOf(std::string_view group) {
    const auto* const found = std::find_if(std::begin(kAmounts), std::end(kAmounts),
                                           [&](const Amounts& amounts) { return group == amounts.group; });
    return found == std::end(kAmounts) ? nullptr : found;
}

std::span<const KnownObjects::JoinedTables> KnownObjects::Joins() { return kJoins; }

std::optional<double> KnownObjects::SecondsToFirstSample(std::string_view object) {
    const auto* const found = std::find_if(std::begin(kSampled), std::end(kSampled),
                                           [&](const Sampled& sampled) { return object == sampled.object; });
    return found == std::end(kSampled) ? std::nullopt : std::optional(found->seconds);
}

bool KnownObjects::OnlyGrows(std::string_view object) {
    return std::find(std::begin(kGrowing), std::end(kGrowing), object) != std::end(kGrowing);
}

bool KnownObjects::IsCut(std::string_view object) {
    return std::find(std::begin(kCut), std::end(kCut), object) != std::end(kCut);
}

KnownObjects::Unit KnownObjects::UnitOf(std::string_view object) {
    const auto* const found = std::find_if(std::begin(kMeasures), std::end(kMeasures),
                                           [&](const Measure& measure) { return object == measure.object; });
    return found == std::end(kMeasures) ? Unit::kNone : found->unit;
}

long long KnownObjects::ScaleOf(Unit unit) {
    switch (unit) {
        case Unit::kKibioctets: return 1024;
        case Unit::kPages: return ::sysconf(_SC_PAGESIZE);
        case Unit::kClockTicks: return ::sysconf(_SC_CLK_TCK);
        case Unit::kTicks: return 100;
        default: return 1;
    }
}

}  // namespace cvtwalk
