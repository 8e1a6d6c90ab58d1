#include "groups/storage/MountFilter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool IsIgnored(std::string device, std::string type) {
    std::string directory = "/";
    std::string options = "rw";
    const mntent entry = {device.data(), directory.data(), type.data(), options.data(), 0, 0};
    return bIgnore(&entry);
}

TEST(MountFilter, AcceptsNoMountWithoutADeviceExceptSupermount) {
    EXPECT_TRUE(IsIgnored("none", "proc"));
    EXPECT_TRUE(IsIgnored("none", "ext3"));
    EXPECT_TRUE(IsIgnored("none", ""));
    EXPECT_TRUE(IsIgnored("none", "supermount2"));
    EXPECT_FALSE(IsIgnored("none", "supermount"));
}

TEST(MountFilter, IgnoresTypesThatAreNotStorageOfThisHost) {
    for (const char* const type : {"ignore", "swap", "proc", "tmpfs", "smbfs", "nfs", "autofs"}) {
        EXPECT_TRUE(IsIgnored("/dev/sda1", type)) << type;
    }
}

TEST(MountFilter, IgnoresATypeWithDevAnywhereInIt) {
    for (const char* const type : {"devpts", "devtmpfs", "usbdevfs", "dev", "xdev"}) {
        EXPECT_TRUE(IsIgnored("x", type)) << type;
    }
    EXPECT_FALSE(IsIgnored("/dev/sda1", "DEV"));
}

TEST(MountFilter, AcceptsEverythingElse) {
    for (const char* const type : {"ext3", "xfs", "nfs4", "cifs", "fuse.sshfs", "overlay", "sysfs", "ramfs", "tmpfs2",
                                   "supermount", "", "procfs"}) {
        EXPECT_FALSE(IsIgnored("/dev/sda1", type)) << type;
    }
    EXPECT_FALSE(IsIgnored("", "ext3"));
    EXPECT_FALSE(IsIgnored("none2", "ext3"));
}

}  // namespace
