#include "groups/storage/MountKinds.h"

#include <gtest/gtest.h>

namespace {

TEST(MountKinds, ServedByTheKernelAloneCannotHang) {
    for (const char* const type : {"ext4", "xfs", "btrfs", "vfat", "iso9660", "tmpfs", "adfs", "zonefs"}) {
        EXPECT_FALSE(bKindMayHang(type)) << type;
    }
}

TEST(MountKinds, ServedByOtherMachinesOrProgramsOrUnknownMayHang) {
    for (const char* const type :
         {"nfs", "nfs4", "cifs", "smb3", "9p", "ceph", "fuse", "fuse.sshfs", "fuseblk", "autofs", "somethingnew", ""}) {
        EXPECT_TRUE(bKindMayHang(type)) << type;
    }
}

TEST(MountKindsOnTheWay, AreOnTheWayToThemselvesAndToWhatLiesBelow) {
    DMountsThatMayHang mounts;
    EXPECT_FALSE(mounts.AreOnTheWayTo("/home"));
    mounts.Add("/", "ext4");
    mounts.Add("/home", "nfs");
    mounts.Add("/home/ann/disk", "ext4");
    EXPECT_TRUE(mounts.AreOnTheWayTo("/home"));
    EXPECT_TRUE(mounts.AreOnTheWayTo("/home/ann/disk"));
    EXPECT_TRUE(mounts.AreOnTheWayTo("/home/bob"));
    EXPECT_FALSE(mounts.AreOnTheWayTo("/"));
    EXPECT_FALSE(mounts.AreOnTheWayTo("/homes"));
    EXPECT_FALSE(mounts.AreOnTheWayTo("/var/home"));
    EXPECT_FALSE(mounts.AreOnTheWayTo(""));
    EXPECT_FALSE(mounts.AreOnTheWayTo("home"));
    EXPECT_FALSE(mounts.AreOnTheWayTo("Virtual Memory"));
}

TEST(MountKindsOnTheWay, AtTheRootDoNotAffectPathsBelowIt) {
    DMountsThatMayHang mounts;
    mounts.Add("/", "nfs4");
    EXPECT_TRUE(mounts.AreOnTheWayTo("/"));
    EXPECT_FALSE(mounts.AreOnTheWayTo("/home"));
}

TEST(MountKindsOnTheWay, AreHiddenByMountsOverThem) {
    DMountsThatMayHang mounts;
    mounts.Add("/data", "nfs");
    mounts.Add("/data", "ext4");
    EXPECT_FALSE(mounts.AreOnTheWayTo("/data"));
    mounts.Add("/data", "autofs");
    EXPECT_TRUE(mounts.AreOnTheWayTo("/data/x"));
}

}  // namespace
