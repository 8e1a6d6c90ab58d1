#include "agent/cvtwalk/program/Interrupts.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>

namespace cvtwalk {
namespace {

// Signal handlers can use nothing else.
std::atomic<int> s_writeEnd = -1;

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

void Note(int /*signal*/) {
    const int saved = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(s_writeEnd, &byte, 1);  // a full pipe is readable already
    errno = saved;
}

void HandleAll(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int signal : kSignals) {
        ::sigaction(signal, &action, nullptr);
    }
}

}  // namespace

Interrupts::Interrupts() {
    if (::pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) == 0) {
        s_writeEnd = m_pipe[1];
        HandleAll(&Note);
    }
}

Interrupts::~Interrupts() {
    HandleAll(SIG_DFL);
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

bool Interrupts::Wait(int milliseconds) const {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        struct pollfd wish = {m_pipe[0], POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        const int ready = ::poll(&wish, 1, left > 0 ? static_cast<int>(left) : 0);
        if (ready > 0) {
            return true;
        }
        if (ready == 0 && left <= 0) {
            return false;
        }
    }
}

}  // namespace cvtwalk
