#pragma once

#include <optional>
#include <string_view>

#include "CVT/BOctetString.h"

// What the kernel's lines about a process say. Pure functions of text, which may be any: cut short, hostile, or none.

/// The process that a name in /proc stands for: the number it begins with (as "%u" reads it, cut to 32 bits). False for a
/// name that begins with a dot, and for one that begins with no number.
bool bParsePid(std::string_view name, unsigned int& pid);

/// What is taken from the one line of /proc/<pid>/stat.
struct DStatFigures {
    std::string_view name;   ///< field 2, up to the first blank in it, without its first and last octet
    char state = '\0';       ///< field 3
    unsigned int ticks = 0;  ///< the sum of fields 16 and 17, clock ticks of waited-for children, cut to 32 bits
};

/// Takes the fields up to the first that is not there; the others are empty and 0. The name lies in `line`.
DStatFigures ParseStatLine(std::string_view line);

/// Field 22 of /proc/<pid>/stat, clock ticks from the host's start to the process's. `stat` is what the file begins with: a
/// process chooses its own name, field 2, which may hold blanks, brackets and line feeds, so the fields are counted from the
/// last bracket. Absent when the field is not there in full.
std::optional<unsigned long> ParseStartTime(std::string_view stat);

/// The parameters of a process, from the first line of /proc/<pid>/cmdline (at most 511 octets, with its NULs), in
/// which NUL ends each argument.
///
/// When the first argument is not the process's name, it may be a command line that the process has rewritten into one
/// text: what follows its first ':' is taken, or, when it is a path (it begins with '.' or '/'), its last word with the
/// blank before it. Then come the further arguments, each with a blank behind it, up to the first empty one; "..." stands in
/// the place of one that would make it longer than 124 octets.
CVT::BOctetString FormatParameters(std::string_view cmdline, std::string_view name);

/// The first number of /proc/<pid>/statm: pages, cut to 32 bits. False when there is none.
bool bParsePages(std::string_view line, unsigned int& pages);
