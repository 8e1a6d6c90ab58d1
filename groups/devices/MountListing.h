#pragma once

#include <cstdio>

// The mounts, as the command mount(8) lists them. Each call runs the command, with the file of TemporaryFile.h for its
// output; one thread at a time.

/// A fresh listing, in the form that getmntent(3) reads: device, directory, type and options, separated by blanks,
/// without escapes. A blank in a name therefore cuts it. `name` receives the name of the underlying file and has room
/// for kTmpNameSize. The caller closes the stream and removes the file (vRemoveTmpFile). Null when no listing could be
/// made.
std::FILE* fpOpenMountTable(char* name);

/// Searches a fresh listing for the first line that contains `key` anywhere. Returns 1, with that line and its line
/// feed in `line`; or 0 when no line contains it, and `line` then holds the last one. `size` is the room in `line`:
/// longer lines are read in pieces.
int bGetMountTableEntry(const char* key, char* line, unsigned int size);
