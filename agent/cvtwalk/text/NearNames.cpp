#include "agent/cvtwalk/text/NearNames.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "agent/cvtwalk/text/AsciiCase.h"

namespace cvtwalk {
namespace {

constexpr std::size_t kMostNames = 5;
constexpr std::size_t kLeastPart = 3;  // letters; shorter parts are contained in too many names
constexpr std::size_t kMostEdits = 3;
constexpr std::size_t kFar = 1'000'000;  // not near at all

/// How many letters must be inserted, removed or replaced to turn `a` into `b`.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

/// A smaller number is nearer; 0 is the nearest.
std::size_t Distance(const std::string& name, const std::string& wanted) {
    if (name == wanted) {
        return 0;
    }
    const std::size_t edits = EditDistance(name, wanted);
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
