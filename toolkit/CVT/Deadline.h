#pragma once

#include <ctime>

namespace CVT {

/// The time `milliseconds` from now, for the pthread calls that take an absolute time.
inline timespec DeadlineIn(unsigned int milliseconds, clockid_t clock = CLOCK_MONOTONIC) {
    constexpr long kNanosecondsPerSecond = 1'000'000'000;
    timespec at{};
    ::clock_gettime(clock, &at);
    at.tv_sec += static_cast<time_t>(milliseconds / 1000);
    at.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (at.tv_nsec >= kNanosecondsPerSecond) {
        at.tv_nsec -= kNanosecondsPerSecond;
        ++at.tv_sec;
    }
    return at;
}

}  // namespace CVT
