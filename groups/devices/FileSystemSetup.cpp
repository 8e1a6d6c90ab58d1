#include "groups/devices/FileSystemSetup.h"

#include <sys/stat.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "groups/common/MibValues.h"
#include "groups/devices/DHrPartitionTable.h"
#include "groups/devices/MountListing.h"
#include "groups/devices/PartitionProbe.h"
#include "groups/storage/DHrFSTable.h"
#include "groups/storage/DHrStorageTable.h"
#include "groups/storage/FileSystemType.h"
#include "groups/storage/MountKinds.h"
#include "groups/storage/MountProbe.h"
#include "module/DCVHost.h"
#include "module/EntryPoints.h"

unsigned int fsIndex = 1;

namespace {

constexpr int kLastPartition = 15;
constexpr std::size_t kPathLimit = 128;
constexpr std::chrono::seconds kDiskPatience(10);

using ListingLine = std::array<char, 256>;

unsigned int StorageIndexOf(const char* directory) {
    DHrStorageTable* const storage = gpCVHost->StorageTable();
    const CVT::TMutex::Guard guard(storage->RequestLock());
    return storage->FindRow(directory);
}

void Fill(DHrFSEntry& row, const mntent& entry, const struct statfs& fs, unsigned int storageIndex) {
    row.mountPoint.Assign(entry.mnt_dir);
    row.storageIndex = static_cast<int>(storageIndex);
    if (std::strcmp(entry.mnt_dir, "/") == 0) {
        row.bootable = kTrue;
    }
    if (std::strncmp(entry.mnt_opts, "ro", 2) == 0) {
        row.access = kReadOnly;
    }
    row.type = FSTypeOid(fs);
}

/// Creates the partition table's row of a device node. Returns null when the disk already has a partition with this
/// number.
DHrPartitionEntry* MakePartition(unsigned int deviceIndex, int number, const std::string& path, unsigned int device) {
    std::array<char, 32> id{};
    std::snprintf(id.data(), id.size(), "0x%x", device);
    DPartitionIndex index;
    index.device = static_cast<int>(deviceIndex);
    index.partition = number;
    CVT::BObjectIdentifier oid;
    index.ToOid(oid);
    DHrPartitionTable& partitions = *gpCVHost->PartitionTable();
    const CVT::TMutex::Guard guard(partitions.RequestLock());
    DHrPartitionEntry* const row = partitions.CreateNewRow(oid);
    if (row != nullptr) {
        row->label.Assign(path);
        row->id.Assign(id.data());
    }
    return row;
}

void SetUpPartition(const mntent& entry, unsigned int deviceIndex, int number, const std::string& path,
                    unsigned int device) {
    DHrPartitionEntry* const row = MakePartition(deviceIndex, number, path, device);
    if (row == nullptr) {
        return;
    }
    const std::optional<struct statfs> space = SpaceOf(entry);
    if (!space) {
        return;
    }
    const unsigned int size = ui32GetPartitionSize(device);
    int mountedIndex = 0;
    ui32SetupFSInfo(path.c_str(), &entry, &*space, &mountedIndex);
    const CVT::TMutex::Guard guard(gpCVHost->PartitionTable()->RequestLock());
    row->size = static_cast<int>(size);
    row->fsIndex = mountedIndex;
}

bool HasPartition(const std::string& path) {
    DHrPartitionTable& partitions = *gpCVHost->PartitionTable();
    const CVT::TMutex::Guard guard(partitions.RequestLock());
    return partitions.bIsInTable(path.c_str());
}

}  // namespace

std::optional<struct statfs> SpaceOf(const mntent& entry) {
    // Any mount may hang, through one mounted above it, so each is queried on a thread.
    const auto patience = bKindMayHang(entry.mnt_type) ? DMountProbe::kPatience : kDiskPatience;
    return DMountProbe(entry.mnt_dir, true, DMountProbe::kSpace, patience).Answer().space;
}

DHrFSEntry* ui32SetupFSInfo(const char* name, const mntent* entry, const struct statfs* fs, int* fsIndexOut) {
    *fsIndexOut = 0;
    ListingLine line{};
    if (bGetMountTableEntry(name, line.data(), line.size()) == 0) {
        return nullptr;
    }
    std::optional<struct statfs> space;
    if (fs != nullptr) {
        space = *fs;
    } else if (space = SpaceOf(*entry); !space) {
        return nullptr;
    }
    const unsigned int storageIndex = StorageIndexOf(entry->mnt_dir);
    DHrFSTable& table = *gpCVHost->FSTable();
    const CVT::TMutex::Guard guard(table.RequestLock());
    if (table.bIsInTable(entry->mnt_dir)) {
        return nullptr;
    }
    const unsigned int index = fsIndex++;
    DHrFSEntry* const row = table.CreateNewRow(CVT::BObjectIdentifier(index));
    if (row != nullptr) {
        Fill(*row, *entry, *space, storageIndex);
        *fsIndexOut = static_cast<int>(index);
    }
    return row;
}

void vSetupPartitionAndFSInfo(const mntent* entry, unsigned int deviceIndex) {
    const std::string device = entry->mnt_fsname;
    if (device.find("/dev/ide") == std::string::npos && device.find("/dev/scsi") == std::string::npos) {
        return;
    }
    const std::string stem = device.substr(0, device.size() - 1);
    for (int number = 1; number <= kLastPartition; ++number) {
        const std::string path = stem + std::to_string(number);
        struct stat node {};
        if (path.size() >= kPathLimit || ::stat(path.c_str(), &node) != 0) {
            continue;
        }
        if (HasPartition(path)) {
            int ignored = 0;
            ui32SetupFSInfo(path.c_str(), entry, nullptr, &ignored);
        } else {
            SetUpPartition(*entry, deviceIndex, number, path, static_cast<unsigned int>(node.st_rdev));
        }
    }
}
