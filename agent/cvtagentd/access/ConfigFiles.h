#pragma once

#include <string>
#include <vector>

namespace cvtagentd {

/// The files that the SNMP library obeys: a configuration, the files that it includes, and those in the state
/// directory.
namespace ConfigFiles {

/// The file itself and all that it includes (includeFile, includeDir, includeSearch), directly or not and in any
/// section, each once, whether or not they exist. An included folder itself is listed too, since a user who can add a
/// file to it controls what is read. Only regular files are opened.
std::vector<std::string> From(const std::string& file);

/// The files in the state directory (the working directory) that the library reads because of their names, and the
/// files that they include.
std::vector<std::string> InState();

/// Why the first untrusted one of these files must not be obeyed (see TrustedFile); empty when all may be.
std::string WhyNotTrusted(const std::string& what, const std::vector<std::string>& files);

}  // namespace ConfigFiles

}  // namespace cvtagentd
