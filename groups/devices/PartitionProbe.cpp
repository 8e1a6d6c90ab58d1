#include "groups/devices/PartitionProbe.h"

#include <array>

#include "groups/common/HostFile.h"

namespace {

constexpr const char* kPartitions = "/proc/partitions";

struct Partition {
    unsigned int majorNumber = 0;
    unsigned int minorNumber = 0;
    unsigned int blocks = 0;
};

/// Returns false for a line that does not begin with three numbers, such as the heading and the blank line after it.
bool ScanPartition(const char* line, Partition& partition) {
    long long majorNumber = 0;
    long long minorNumber = 0;
    long long blocks = 0;
    if (std::sscanf(line, "%lld %lld %lld", &majorNumber, &minorNumber, &blocks) != 3) {
        return false;
    }
    partition.majorNumber = static_cast<unsigned int>(majorNumber);
    partition.minorNumber = static_cast<unsigned int>(minorNumber);
    partition.blocks = static_cast<unsigned int>(blocks);
    return true;
}

}  // namespace

unsigned int ui32ReadPartitionSize(std::FILE* file, unsigned int device) {
    std::array<char, 512> line{};
    Partition partition;
    while (ReadLine(file, line)) {
        if (ScanPartition(line.data(), partition) && partition.majorNumber == ((device >> 8U) & 0xFFFFFFU) &&
            partition.minorNumber == (device & 0xFFU)) {
            return partition.blocks;
        }
    }
    return 0;
}

unsigned int ui32GetPartitionSize(unsigned int device) {
    const DHostFile file = OpenHostFile(kPartitions);
    return file ? ui32ReadPartitionSize(file.get(), device) : 0;
}
