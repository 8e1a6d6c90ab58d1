#include "agent/cvtagentd/agentx/ConnectTimeout.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

#include "agent/cvtagentd/process/StartError.h"

namespace cvtagentd {
namespace {

constexpr time_t kSeconds = 2;

void OnAlarm(int /*signal*/) {}

}  // namespace

ConnectTimeout::ConnectTimeout() {
    struct sigaction action {};
    action.sa_handler = &OnAlarm;  // without SA_RESTART: its only purpose is to interrupt
    ::sigaction(SIGALRM, &action, nullptr);
    sigevent event{};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGALRM;
    event._sigev_un._tid = static_cast<pid_t>(::syscall(SYS_gettid));
    if (::timer_create(CLOCK_MONOTONIC, &event, &m_timer) != 0) {
        throw StartError("no timer is left; raise the limit of pending signals (ulimit -i)");
    }
}

ConnectTimeout::~ConnectTimeout() { ::timer_delete(m_timer); }

void ConnectTimeout::Set(bool on) {
    if (on == m_on) {
        return;
    }
    m_on = on;
    const time_t seconds = on ? kSeconds : 0;
    const itimerspec times{{seconds, 0}, {seconds, 0}};
    ::timer_settime(m_timer, 0, &times, nullptr);
}

}  // namespace cvtagentd
