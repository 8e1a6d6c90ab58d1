#pragma once

#include <string>

namespace cvtagentd {

/// Whether this process can read a configuration.
namespace ReadableFile {

/// Why it cannot read the file, in one line; empty when it can. The file must be a regular one, since the SNMP library
/// reads it more than once.
std::string WhyNot(const std::string& file);

/// Throws StartError when a file is named and cannot be read.
void Require(const std::string& file);

}  // namespace ReadableFile

}  // namespace cvtagentd
