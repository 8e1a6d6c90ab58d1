#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"

/// A warning (CVT::Warn) about a problem that may recur: after it has been issued, it is not repeated for an hour.
/// Thread-safe.
class RareWarning {
public:
    static constexpr std::chrono::hours kSilence{1};

    RareWarning() = default;
    RareWarning(const RareWarning&) = delete;
    RareWarning& operator=(const RareWarning&) = delete;

    void Say(std::string_view text);

private:
    bool IsDue();

    CVT::TMutex m_lock{false};
    std::optional<std::chrono::steady_clock::time_point> m_last CVT_GUARDED_BY(m_lock);
};
