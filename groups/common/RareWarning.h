#pragma once

#include <chrono>
#include <optional>

#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"

/// A warning about a matter that may come up again and again. It goes to standard error as one line, where the service
/// manager, or whoever started the host of this module, finds it; then this is silent for an hour. Thread-safe.
class RareWarning {
public:
    static constexpr std::chrono::hours kSilence{1};

    RareWarning() = default;
    RareWarning(const RareWarning&) = delete;
    RareWarning& operator=(const RareWarning&) = delete;

    /// `text`: what is wrong and what to do, without a line feed; an octet that is no printable ASCII becomes "?".
    void Say(const char* text);

private:
    bool IsDue();

    CVT::TMutex m_lock{false};
    std::optional<std::chrono::steady_clock::time_point> m_last CVT_GUARDED_BY(m_lock);
};
