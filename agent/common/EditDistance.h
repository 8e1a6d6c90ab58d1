#pragma once

#include <cstddef>
#include <string_view>

namespace agent {

/// How many letters must be inserted, removed or replaced to turn `a` into `b`.
std::size_t EditDistance(std::string_view a, std::string_view b);

}  // namespace agent
