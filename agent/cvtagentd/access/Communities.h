#pragma once

#include <set>
#include <string>

namespace cvtagentd {

/// The communities of a configuration, from whatever address they may be used. They are secrets: never log one.
namespace Communities {

/// Of this file and those that it includes; of AccessConfig::BuiltIn when `file` is empty. Only regular files are
/// opened.
std::set<std::string> In(const std::string& file);

}  // namespace Communities

}  // namespace cvtagentd
