#include "CVT/TTimer.h"

#include <cerrno>

#include "CVT/Deadline.h"

namespace CVT {

void TTimer::Sleep(unsigned int milliseconds) {
    do {
        const timespec deadline = DeadlineIn(milliseconds);
        while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
        }
    } while (milliseconds == kWaitForever);
}

}  // namespace CVT
