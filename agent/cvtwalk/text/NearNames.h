#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cvtwalk {

/// Returns at most five of the `known` names that `wanted` may have been meant as, the nearest first: names that differ
/// in case or one letter only, that begin with it, that differ in a few letters, or that contain it.
std::vector<std::string> NearNames(const std::vector<std::string>& known, std::string_view wanted);

}  // namespace cvtwalk
