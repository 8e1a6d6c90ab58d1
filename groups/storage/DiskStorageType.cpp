#include "groups/storage/DiskStorageType.h"

#include <string_view>

unsigned int ui32GetDiskStorageType(const mntent* entry) {
    constexpr std::string_view kFloppy = "/dev/fd";
    const std::string_view device = entry->mnt_fsname;
    const std::string_view type = entry->mnt_type;
    if (device == "/dev/cdrom") {
        return kOpticalDiskRom;
    }
    if (device.find(kFloppy) != std::string_view::npos) {
        return kFloppyDisk;
    }
    if (type != "supermount") {
        return type == "iso9660" ? kOpticalDiskRom : kHardDisk;
    }
    // A supermount names the drive in its options. Any drive that is not a floppy drive is optical.
    const std::string_view options = entry->mnt_opts;
    return options.find(kFloppy) != std::string_view::npos ? kFloppyDisk : kOpticalDiskRom;
}
