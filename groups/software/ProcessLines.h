#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "CVT/BOctetString.h"

// Parsers for the kernel's lines about a process. Pure functions of text, which may be anything: truncated, hostile, or
// empty.

/// Parses the process id in the name of a directory of /proc: the number at the start of the name (as "%u" reads it,
/// cut to 32 bits). Returns false for a name that begins with a dot, or that does not begin with a number.
bool bParsePid(std::string_view name, unsigned int& pid);

/// The fields taken from the one line of /proc/<pid>/stat.
struct DStatFigures {
    std::string_view name;   ///< field 2, up to its first blank, without its first and last octet
    char state = '\0';       ///< field 3
    unsigned int ticks = 0;  ///< the sum of fields 16 and 17, clock ticks of waited-for children, cut to 32 bits
};

/// Parses the fields up to the first missing one; the others stay empty or 0. The name points into `line`.
DStatFigures ParseStatLine(std::string_view line);

/// Field 22 of /proc/<pid>/stat: clock ticks from the start of the host to that of the process. `stat` is the beginning
/// of the file. A process chooses its own name, field 2, which may contain blanks, brackets and line feeds, so the
/// fields are counted from the last bracket. Absent when the field is incomplete or missing.
std::optional<std::uint64_t> ParseStartTime(std::string_view stat);

/// The parameters of a process, from the first line of /proc/<pid>/cmdline (at most 511 octets, with its NULs), in
/// which NUL ends each argument.
///
/// A first argument that is not the process's name may be a command line that the process has rewritten into one text.
/// In that case the text after its first ':' is taken or, when the argument is a path (it begins with '.' or '/'), its
/// last word with the blank before it. The further arguments follow, each with a blank after it, up to the first empty
/// one. "..." replaces an argument that would make the result longer than 124 octets.
CVT::BOctetString FormatParameters(std::string_view cmdline, std::string_view name);

/// Parses the first number of /proc/<pid>/statm: pages, cut to 32 bits. Returns false when there is none.
bool bParsePages(std::string_view line, unsigned int& pages);
