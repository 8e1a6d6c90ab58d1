#pragma once

#include <getopt.h>

#include <string>

namespace agent {

/// What is wrong with the option at which getopt_long has just stopped with ':' or '?', in one line: it is unknown, it
/// is an abbreviation of several options, it lacks its value, or it takes none. Reads getopt's globals, so the thread
/// that called getopt_long calls this next. `stop` is what getopt_long returned, with a list of short options that
/// begins with ':'. The values of the long options must not be characters, and short options must take no value.
std::string OptionFault(int stop, char* const* argv, const option* options);

}  // namespace agent
