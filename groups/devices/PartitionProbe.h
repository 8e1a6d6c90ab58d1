#pragma once

#include <cstdio>

/// The size of a block device in units of 1,024 octets, from /proc/partitions, where a line has major, minor, blocks
/// and name. `device` has the major number in bits 8 and up, the minor in the low 8 bits; a device with a higher minor
/// number is not found. 0 when there is no such device, or no file. Cut to 32 bits. Thread-safe.
unsigned int ui32GetPartitionSize(unsigned int device);

/// The same from an open file.
unsigned int ui32ReadPartitionSize(std::FILE* file, unsigned int device);
