#pragma once

#include <mntent.h>
#include <sys/statfs.h>

#include <optional>

struct DHrFSEntry;

// Rows for mounted file systems, in hrFSTable and hrPartitionTable of the module (gpCVHost). Called only by discovery,
// which holds no lock but the device table's. Each row is created under its table's request lock.

/// The hrFSIndex that ui32SetupFSInfo assigns next; never reused while the library is loaded. Used under the request
/// lock of the file-system table.
extern unsigned int fsIndex;

/// statfs of the mount directory; absent when it fails or does not return. Discovery does not ask again, so a file
/// system that the kernel serves alone, such as one on a disk that must spin up first, gets ten seconds; any other gets
/// one second.
std::optional<struct statfs> SpaceOf(const mntent& entry);

/// Creates the hrFSTable row of a mounted file system and sets `*fsIndexOut` to its index. Returns null, with an index
/// of 0, when no line of the mount listing contains `name`, when the file system cannot be measured, when its mount
/// directory already has a row, or when the index is in use; that index is then skipped. `fs`, which may be null, is
/// the statfs result for the mount directory. The table owns the row, which may only be changed under its request lock.
DHrFSEntry* ui32SetupFSInfo(const char* name, const mntent* entry, const struct statfs* fs, int* fsIndexOut);

/// Creates the hrPartitionTable rows of a hard disk, and the hrFSTable rows of the file systems mounted from it. Only
/// disks whose device name contains "/dev/ide" or "/dev/scsi" are examined: the last character of the name is taken as
/// the partition's number, and the nodes with the numbers 1 to 15 are examined.
void vSetupPartitionAndFSInfo(const mntent* entry, unsigned int deviceIndex);
