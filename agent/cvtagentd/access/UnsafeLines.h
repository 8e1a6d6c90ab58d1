#pragma once

#include <string>
#include <vector>

namespace cvtagentd {

/// Lines of a configuration that the SNMP library must not see: it crashes on some unfinished ones, and on some that
/// belong in its own state, completes an unfinished group from uninitialised memory, and takes a line with a null octet
/// for a shorter one.
namespace UnsafeLines {

/// A fault for each, with file and line, in the file and those that it includes. Only regular files are opened.
std::vector<std::string> In(const std::string& file);

}  // namespace UnsafeLines

}  // namespace cvtagentd
