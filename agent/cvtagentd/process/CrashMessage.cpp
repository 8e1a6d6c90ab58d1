#include "agent/cvtagentd/process/CrashMessage.h"

#include <unistd.h>

namespace cvtagentd {
namespace {

std::string s_line;

/// Only what a signal handler may do.
void OnCrash(int /*signal*/) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, s_line.data(), s_line.size());
    ::_exit(1);
}

}  // namespace

CrashMessage::CrashMessage(const std::string& line) {
    s_line = line + "\n";
    struct sigaction action {};
    action.sa_handler = &OnCrash;
    ::sigaction(SIGSEGV, &action, &m_before);
}

CrashMessage::~CrashMessage() { ::sigaction(SIGSEGV, &m_before, nullptr); }

}  // namespace cvtagentd
