#pragma once

#include <string>
#include <string_view>

namespace agent {

/// Returns the texts of a range, separated by commas, for a message.
template <typename Texts>
std::string Joined(const Texts& texts) {
    std::string all;
    for (const std::string_view text : texts) {
        all.append(all.empty() ? "" : ", ").append(text);
    }
    return all;
}

}  // namespace agent
