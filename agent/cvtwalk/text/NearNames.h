#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cvtwalk {

/// Those of the `known` names that somebody may have meant who wrote `wanted`, the nearest first, five at most: the
/// same but for case or one letter, those that begin with it, those with a few letters wrong, those that contain it.
std::vector<std::string> NearNames(const std::vector<std::string>& known, std::string_view wanted);

}  // namespace cvtwalk
