#pragma once

#include <cstdio>

// The file into which shell commands write output that we read back: "/tmp/CVHost.<process id>", in a directory where
// anybody may create files and can guess the name. The file is therefore created afresh before each command,
// exclusively. Anything that another user has put under the name is never followed, written to, read or removed: the
// command is then not run, and a warning says why.
//
// One thread at a time: the name is the same for the whole process.

/// Room for the name, its NUL included: a process id has at most seven digits.
constexpr unsigned int kTmpNameSize = 20;

/// Writes the name into `name`, which has room for kTmpNameSize.
void vGetTmpName(char* name);

/// Creates the file `name` afresh, runs a shell command that writes into it, and opens the result. `format` is the
/// command with "%s" in place of the name. A stream over an earlier file of that name stays readable. Returns null when
/// the file cannot be created safely; a command that fails leaves an empty listing. The caller closes the stream and
/// removes the file.
std::FILE* fpOpenCommandOutput(const char* format, const char* name);

/// Removes the file if it is one of ours; an empty name is ignored. Anything else under the name stays.
void vRemoveTmpFile(const char* name);

/// Removes files left behind by killed agents of our own user: regular files with such a name and no second name, whose
/// process is gone. Removes nothing where others may replace files in /tmp.
void vRemoveStaleTmpFiles();
