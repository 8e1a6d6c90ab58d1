#pragma once

#include <mntent.h>

/// The results of ui32GetDiskStorageType: numbers of hrDiskStorageMedia.
enum EDiskStorageType : unsigned int {
    kHardDisk = 3,
    kFloppyDisk = 4,
    kOpticalDiskRom = 5,
};

/// Returns the medium of a mount entry, an EDiskStorageType, from its device name, type and options alone: the device
/// itself is not examined. Thread-safe.
unsigned int ui32GetDiskStorageType(const mntent* entry);
