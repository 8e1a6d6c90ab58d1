#pragma once

#include <string>

namespace cvtagentd {

/// "/dev/nul", into which what is started on behalf of a request throws its output. Root makes that file by writing to it;
/// anybody else needs it to stand there already, or the command fails before it runs.
namespace DevNul {

/// Makes it a link to /dev/null unless something stands there. For root; what fails shows in WhyUnusable.
void Make();

/// Why this process cannot write to it, in one line for people; empty when it can.
std::string WhyUnusable();

}  // namespace DevNul

}  // namespace cvtagentd
