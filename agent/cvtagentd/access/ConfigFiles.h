#pragma once

#include <string>
#include <vector>

namespace cvtagentd {

/// The files that the SNMP library obeys: a configuration and what it includes, and what lies in the state directory.
namespace ConfigFiles {

/// The file itself and all that it includes (includeFile, includeDir, includeSearch), directly or not and in whatever
/// section, each once, whether or not they are there; of a folder, itself too, since who can add a file to it decides what
/// is read. Only regular files are looked into.
std::vector<std::string> From(const std::string& file);

/// Those in the working directory, the state directory, that the library reads by their names, and what they include.
std::vector<std::string> InState();

/// Why the first of these files that is not to be obeyed is not (see TrustedFile); empty when all are.
std::string WhyNotTrusted(const std::string& what, const std::vector<std::string>& files);

}  // namespace ConfigFiles

}  // namespace cvtagentd
