#pragma once

#include <sched.h>
#include <sys/types.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <vector>

// What the benchmarks of processor time share.

/// Keeps this process, and those that it starts meanwhile, on one processor: in a virtual machine, the cost of waking
/// an idle one would hide everything else, and would burden one process more than another.
class OneProcessor {
public:
    OneProcessor() {
        ::sched_getaffinity(0, sizeof m_before, &m_before);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<std::size_t>(std::max(::sched_getcpu(), 0)), &one);
        ::sched_setaffinity(0, sizeof one, &one);
    }
    ~OneProcessor() { ::sched_setaffinity(0, sizeof m_before, &m_before); }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;

private:
    cpu_set_t m_before{};
};

/// What all threads of the process have used, the kernel's work for them included, in microseconds.
inline double ProcessorTime(pid_t pid) {
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        std::abort();
    }
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

inline double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
