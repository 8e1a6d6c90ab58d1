#pragma once

#include <mntent.h>

/// What ui32GetDiskStorageType answers: numbers of hrDiskStorageMedia.
enum EDiskStorageType : unsigned int {
    kHardDisk = 3,
    kFloppyDisk = 4,
    kOpticalDiskRom = 5,
};

/// The medium that a mount entry lies on, an EDiskStorageType, told by its device name, type and options alone: the device
/// itself is not looked at. Thread-safe.
unsigned int ui32GetDiskStorageType(const mntent* entry);
