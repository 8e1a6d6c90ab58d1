#include "agent/cvtwalk/text/NearNames.h"

#include <algorithm>
#include <utility>

#include "agent/common/EditDistance.h"
#include "agent/cvtwalk/text/AsciiCase.h"

namespace cvtwalk {
namespace {

constexpr std::size_t kMostNames = 5;
constexpr std::size_t kLeastPart = 3;  // letters; shorter parts are contained in too many names
constexpr std::size_t kMostEdits = 3;
constexpr std::size_t kFar = 1'000'000;  // not near at all

/// A smaller number is nearer; 0 is the nearest.
std::size_t Distance(const std::string& name, const std::string& wanted) {
    if (name == wanted) {
        return 0;
    }
    const std::size_t edits = agent::EditDistance(name, wanted);
    if (edits == 1) {
        return edits;
    }
    const bool longEnough = wanted.size() >= kLeastPart;
    if (longEnough && name.starts_with(wanted)) {
        return 2;
    }
    if (edits <= std::min(kMostEdits, wanted.size() / 5)) {
        return 2 + edits;
    }
    return longEnough && name.find(wanted) != std::string::npos ? 3 + kMostEdits : kFar;
}

}  // namespace

std::vector<std::string> NearNames(const std::vector<std::string>& known, std::string_view wanted) {
    const std::string lower = AsciiCase::Lower(wanted);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& name : known) {
        if (const std::size_t distance = Distance(AsciiCase::Lower(name), lower); distance != kFar) {
            near.emplace_back(distance, name);
        }
    }
    std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (auto& [distance, name] : near) {
        if (names.size() < kMostNames && std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

}  // namespace cvtwalk
