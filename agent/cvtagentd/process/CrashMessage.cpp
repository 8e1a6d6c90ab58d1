#include "agent/cvtagentd/process/CrashMessage.h"

#include <unistd.h>

#include "agent/cvtagentd/process/Log.h"

namespace cvtagentd {
namespace {

std::string s_line;
int s_exitStatus = 0;

/// Only what a signal handler may do.
void OnCrash(int /*signal*/) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, s_line.data(), s_line.size());
    ::_exit(s_exitStatus);
}

}  // namespace

CrashMessage::CrashMessage(const std::string& text, int exitStatus) {
    s_line = Log::FatalLine(text);
    s_exitStatus = exitStatus;
    struct sigaction action {};
    action.sa_handler = &OnCrash;
    ::sigaction(SIGSEGV, &action, &m_before);
}

CrashMessage::~CrashMessage() { ::sigaction(SIGSEGV, &m_before, nullptr); }

}  // namespace cvtagentd
