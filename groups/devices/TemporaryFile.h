#pragma once

#include <cstdio>

// The file into which shell commands write what we read back: "/tmp/CVHost.<process id>", in a directory where everybody
// may make files and anybody can guess the name. So it is made anew before each command, by us alone, and nothing that
// somebody else has put at that name is ever followed, written to, read or removed; the command is then not run, and a
// warning says why.
//
// One thread at a time: the name is the same for the whole process.

/// Room for the name, its NUL included: a process id has at most seven digits.
constexpr unsigned int kTmpNameSize = 20;

/// Writes the name into `name`, which has room for kTmpNameSize.
void vGetTmpName(char* name);

/// Makes the file `name` anew, runs a shell command that writes into it, and opens what it wrote. `format` is the command
/// with "%s" where the name stands. A stream over an earlier file of that name stays readable. Null when the file cannot be
/// made safely; a command that fails leaves an empty listing. The caller closes the stream and removes the file.
std::FILE* fpOpenCommandOutput(const char* format, const char* name);

/// Removes the file if it is one of ours; an empty name is none. Whatever else is there stays.
void vRemoveTmpFile(const char* name);

/// Removes what agents of our own user that were killed have left behind: regular files of this name with no second name,
/// whose process is gone. Removes nothing where others may replace files in /tmp.
void vRemoveStaleTmpFiles();
