#include "groups/storage/MountKinds.h"

#include <algorithm>
#include <array>

bool bKindMayHang(std::string_view type) {
    // In alphabetical order. Not overlay: it asks its layers, which may be of any type.
    static constexpr std::array<std::string_view, 59> kServedByTheKernel = {
        "adfs",     "affs",    "bcachefs", "befs",    "bfs",        "binfmt_misc", "bpf",       "btrfs",
        "cgroup",   "cgroup2", "configfs", "cpuset",  "cramfs",     "debugfs",     "devpts",    "devtmpfs",
        "efivarfs", "efs",     "erofs",    "exfat",   "ext2",       "ext3",        "ext4",      "f2fs",
        "fusectl",  "hfs",     "hfsplus",  "hpfs",    "hugetlbfs",  "iso9660",     "jffs2",     "jfs",
        "minix",    "mqueue",  "msdos",    "nilfs2",  "nsfs",       "ntfs",        "ntfs3",     "proc",
        "pstore",   "ramfs",   "reiserfs", "romfs",   "rpc_pipefs", "securityfs",  "selinuxfs", "smackfs",
        "squashfs", "sysfs",   "tmpfs",    "tracefs", "ubifs",      "udf",         "ufs",       "vfat",
        "xfs",      "zfs",     "zonefs",
    };
    static_assert(std::ranges::is_sorted(kServedByTheKernel));
    return !std::ranges::binary_search(kServedByTheKernel, type);
}

void DMountsThatMayHang::Add(std::string_view directory, std::string_view type) {
    if (bKindMayHang(type)) {
        m_directories.emplace(directory);
    } else {
        m_directories.erase(std::string(directory));
    }
}

bool DMountsThatMayHang::AreOnTheWayTo(std::string_view directory) const {
    if (m_directories.empty()) {
        return false;
    }
    while (!m_directories.contains(std::string(directory))) {
        const std::size_t parent = directory.rfind('/');
        if (parent == 0 || parent == std::string_view::npos) {
            return false;
        }
        directory.remove_suffix(directory.size() - parent);
    }
    return true;
}
