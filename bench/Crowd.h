#pragma once

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <vector>

/// Processes that do nothing, until they are killed with this object.
class Crowd {
public:
    explicit Crowd(std::size_t count) {
        while (m_pids.size() < count) {
            const pid_t pid = ::fork();
            if (pid < 0) {
                break;
            }
            if (pid == 0) {
                ::prctl(PR_SET_PDEATHSIG, SIGKILL);
                for (;;) {
                    ::pause();
                }
            }
            m_pids.push_back(pid);
        }
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd() {
        for (const pid_t pid : m_pids) {
            ::kill(pid, SIGKILL);
        }
        for (const pid_t pid : m_pids) {
            ::waitpid(pid, nullptr, 0);
        }
    }
    std::size_t Size() const { return m_pids.size(); }

private:
    std::vector<pid_t> m_pids;
};
