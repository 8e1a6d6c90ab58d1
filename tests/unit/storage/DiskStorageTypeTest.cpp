#include "groups/storage/DiskStorageType.h"

#include <gtest/gtest.h>

#include <string>

namespace {

unsigned int TypeOf(std::string device, std::string type, std::string options) {
    std::string directory = "/mnt";
    const mntent entry = {device.data(), directory.data(), type.data(), options.data(), 0, 0};
    return ui32GetDiskStorageType(&entry);
}

TEST(DiskStorageType, IsOpticalForTheCdromDeviceWhateverItsFileSystem) {
    for (const char* const type : {"iso9660", "ext3", "supermount", ""}) {
        EXPECT_EQ(TypeOf("/dev/cdrom", type, "rw,dev=/dev/fd0"), 5U) << type;
    }
    EXPECT_EQ(TypeOf("/dev/cdrom0", "udf", "ro"), 3U) << "the name is compared whole";
}

TEST(DiskStorageType, IsFloppyForAFloppyDeviceWhateverItsFileSystem) {
    for (const char* const type : {"vfat", "iso9660", "supermount"}) {
        EXPECT_EQ(TypeOf("/dev/fd0", type, "rw"), 4U) << type;
    }
    EXPECT_EQ(TypeOf("/chroot/dev/fd1", "vfat", "rw"), 4U) << "anywhere in the name";
}

TEST(DiskStorageType, IsOpticalForIsoImagesAndHardDiskForEverythingElse) {
    EXPECT_EQ(TypeOf("/dev/sr0", "iso9660", "ro"), 5U);
    EXPECT_EQ(TypeOf("/dev/hda1", "ext3", "rw"), 3U);
    EXPECT_EQ(TypeOf("/dev/hda1", "ext3", "rw,dev=/dev/fd0"), 3U) << "options count for supermount alone";
    EXPECT_EQ(TypeOf("/dev/sr0", "udf", "ro"), 3U);
    EXPECT_EQ(TypeOf("", "", ""), 3U);
}

TEST(DiskStorageType, DependsOnTheOptionsForASupermount) {
    EXPECT_EQ(TypeOf("none", "supermount", "rw,dev=/dev/fd0,fs=vfat"), 4U);
    EXPECT_EQ(TypeOf("none", "supermount", "ro,dev=/dev/hdc,fs=iso9660"), 5U);
    EXPECT_EQ(TypeOf("none", "supermount", ""), 5U);
}

}  // namespace
