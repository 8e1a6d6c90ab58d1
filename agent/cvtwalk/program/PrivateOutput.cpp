#include "agent/cvtwalk/program/PrivateOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace cvtwalk {
namespace {

constexpr std::size_t kEnough = 32'768;

void LetPipesBreak() {
    // A handler rather than SIG_IGN, which the commands that a module runs would inherit.
    struct sigaction action {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace

PrivateOutput::PrivateOutput() : m_fd(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    if (m_fd < 0) {
        m_error = errno;
    }
    if (::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        ::close(STDOUT_FILENO);  // no standard error: discard what modules print
    }
    m_terminal = m_fd >= 0 && ::isatty(m_fd) == 1;
    LetPipesBreak();
}

PrivateOutput::~PrivateOutput() {
    if (m_fd >= 0) {
        Flush();
        ::close(m_fd);
    }
}

void PrivateOutput::Write(std::string_view text) {
    m_pending += text;
    if (m_terminal || m_pending.size() >= kEnough) {
        Flush();
    }
}

bool PrivateOutput::Flush() {
    std::string_view rest = m_pending;
    while (m_error == 0 && !rest.empty()) {
        const ssize_t written = ::write(m_fd, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            m_error = errno;
        }
    }
    m_pending.clear();
    return m_error == 0;
}

std::string PrivateOutput::ErrorText() const {
    return m_error == 0 || m_error == EPIPE ? std::string() : std::generic_category().message(m_error);
}

}  // namespace cvtwalk
