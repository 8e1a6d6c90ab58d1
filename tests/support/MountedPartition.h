#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "tests/support/MadeUpHost.h"

/// A file system that is really mounted from a node with a partition's name: an ext4 image on a loop device whose node
/// stands under /dev/ide. /dev has no other nodes but null and urandom. It exists only on the made-up host and only as
/// long as this object.
class MountedPartition {
public:
    static constexpr const char* kDisk = "/dev/ide/host0/bus0/target0/lun0";
    static constexpr const char* kNode = "/dev/ide/host0/bus0/target0/lun0/part1";
    static constexpr std::uintmax_t kSize = 16U << 20U;  ///< size of the partition, in octets

    explicit MountedPartition(MadeUpHost& host);
    MountedPartition(const MountedPartition&) = delete;
    MountedPartition& operator=(const MountedPartition&) = delete;
    ~MountedPartition();

    /// Why this machine offers none; empty when it is mounted.
    const std::string& Missing() const { return m_missing; }
    /// Where it is mounted.
    const std::string& Directory() const { return m_directory; }
    /// The number of its node.
    dev_t Device() const { return m_device; }

private:
    std::string Mount(MadeUpHost& host);

    const std::string m_directory;
    dev_t m_device = 0;
    std::string m_missing;
};
