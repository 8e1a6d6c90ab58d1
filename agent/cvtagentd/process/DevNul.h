#pragma once

#include <string>

namespace cvtagentd {

/// "/dev/nul", to which the programs that a request starts redirect their output. Root creates that file by writing to
/// it; for any other user it must exist already, or the command fails before it runs.
namespace DevNul {

/// Makes it a link to /dev/null unless it exists. For root; a failure shows in WhyUnusable.
void Make();

/// Why this process cannot write to it, in one line for the log; empty when it can.
std::string WhyUnusable();

}  // namespace DevNul

}  // namespace cvtagentd
