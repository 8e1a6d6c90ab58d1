#pragma once

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <deque>
#include <vector>

/// Processes that do nothing, until they are killed with this object.
class Crowd {
public:
    enum class Memory { kOwn, kShared };

    /// With `kShared`, all share one address space. Forked ones each map the pages of the process that they come from,
    /// so that a kernel that keeps asking who uses a page (DAMON) may have to ask all of them, which takes milliseconds
    /// in which it leaves the processor to nobody.
    explicit Crowd(std::size_t count, Memory memory = Memory::kOwn) {
        while (m_pids.size() < count) {
            const pid_t pid = memory == Memory::kOwn ? ::fork() : Clone();
            if (pid < 0) {
                break;
            }
            if (pid == 0) {
                Idle(nullptr);
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
    [[noreturn]] static int Idle(void* /*unused*/) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (;;) {
            ::pause();
        }
    }

    pid_t Clone() {
        Stack& stack = m_stacks.emplace_back();
        return ::clone(Idle, stack.octets.data() + stack.octets.size(), CLONE_VM | SIGCHLD, nullptr);
    }

    struct alignas(16) Stack {
        std::array<char, 4096> octets;
    };
    std::deque<Stack> m_stacks;
    std::vector<pid_t> m_pids;
};
