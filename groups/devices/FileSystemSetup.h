#pragma once

#include <mntent.h>
#include <sys/statfs.h>

#include <optional>

struct DHrFSEntry;

// Rows for what is mounted, in hrFSTable and hrPartitionTable of the module (gpCVHost). Called by discovery alone, which
// holds no other lock than the device table's; each row is made under its table's request lock.

/// The hrFSIndex that ui32SetupFSInfo hands out next; never given back as long as the library is loaded. Used under the
/// request lock of the file-system table.
extern unsigned int fsIndex;

/// statfs of the mount directory; absent when it fails or does not come back. Discovery does not come again: a file system
/// that the kernel serves alone, such as one on a disk that has to start up first, gets ten seconds, any other one.
std::optional<struct statfs> SpaceOf(const mntent& entry);

/// Makes the hrFSTable row of a mounted file system and sets `*fsIndexOut` to its index. Null, and 0, when `name` is in no
/// line of the mount listing, when the file system cannot be measured, when its mount directory has a row already, or when
/// the index is taken, which is then passed over.
/// `fs`, which may be null, is what statfs gave for the mount directory. The row is the table's, to be changed under its
/// request lock.
DHrFSEntry* ui32SetupFSInfo(const char* name, const mntent* entry, const struct statfs* fs, int* fsIndexOut);

/// Makes the hrPartitionTable rows of a hard disk, and the hrFSTable rows of what is mounted from it. Disks are looked at
/// whose device name holds "/dev/ide" or "/dev/scsi": the last character of the name is taken for the partition's number,
/// and the nodes of the numbers 1 to 15 are looked for.
void vSetupPartitionAndFSInfo(const mntent* entry, unsigned int deviceIndex);
