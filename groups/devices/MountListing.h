#pragma once

#include <cstdio>

// What is mounted, as the command mount(8) lists it. Each call runs the command, through the file of TemporaryFile.h; one
// thread at a time.

/// A fresh listing, as getmntent(3) reads it: device, directory, type and options, separated by blanks, without escapes.
/// A blank in a name therefore cuts it. `name` receives the name of the file behind it and has room for kTmpNameSize. The
/// caller closes the stream and removes the file (vRemoveTmpFile). Null when there is none.
std::FILE* fpOpenMountTable(char* name);

/// Looks in a fresh listing for the first line that holds `key` anywhere. 1, and the line with its line feed in `line`; 0
/// when no line holds it, and `line` holds the last one. `size` is the room in `line`: longer lines come in pieces.
int bGetMountTableEntry(const char* key, char* line, unsigned int size);
