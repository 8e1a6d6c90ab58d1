#include "groups/devices/MountDescription.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Description(std::string device, std::string options) {
    std::string directory = "/mnt/there";
    std::string type = "supermount";
    return MountDescription({device.data(), directory.data(), type.data(), options.data(), 0, 0});
}

TEST(MountDescription, IsTheDeviceName) {
    EXPECT_EQ(Description("/dev/hda1", "rw"), "/dev/hda1");
    EXPECT_EQ(Description("/dev/hda1", "rw,dev=/dev/hdc"), "/dev/hda1");
    EXPECT_EQ(Description("nonesuch", "dev=/dev/hdc"), "nonesuch");
    EXPECT_EQ(Description("", "dev=/dev/hdc"), "");
}

TEST(MountDescription, IsTheDeviceInTheOptionsWhenThereIsNoDeviceName) {
    EXPECT_EQ(Description("none", "dev=/dev/hdc,fs=iso9660"), "/dev/hdc");
    EXPECT_EQ(Description("none", "rw,fs=vfat,dev=/dev/fd0"), "/dev/fd0");
    EXPECT_EQ(Description("none", "dev=/dev/a,dev=/dev/b"), "/dev/a");
    EXPECT_EQ(Description("none", "nodev=/dev/x"), "/dev/x") << "anywhere in the options";
    EXPECT_EQ(Description("none", "dev=/dev"), "/dev");
}

TEST(MountDescription, IsTheMountDirectoryWhenTheOptionsNameNoDevice) {
    EXPECT_EQ(Description("none", ""), "/mnt/there");
    EXPECT_EQ(Description("none", "dev=/de"), "/mnt/there");
    EXPECT_EQ(Description("none", "dev=hdc,rw"), "/mnt/there");
}

}  // namespace
