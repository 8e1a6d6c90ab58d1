#pragma once

#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

/// The C library's clone, under the name that the thread sanitizer does not replace. The sanitizer's clone lets the new
/// process read the stack frame of the calling one, which has moved on by then.
extern "C" int __clone(int (*run)(void*), void* stack, int flags, void* argument, ...);  // NOLINT(bugprone-reserved-*)

/// Processes that do nothing, until they are killed with this object.
class Crowd {
public:
    enum class Memory { kOwn, kShared };

    /// With `kShared`, all share one address space. With `kOwn`, each maps the pages of the process that forked it, so
    /// a kernel that keeps checking who uses a page (DAMON) may have to visit all of them, and keeps the processor for
    /// milliseconds meanwhile.
    explicit Crowd(std::size_t count, Memory memory = Memory::kOwn)
        : m_stacksSize(memory == Memory::kShared ? count * kStackSize : 0) {
        if (m_stacksSize != 0) {
            m_stacks = ::mmap(nullptr, m_stacksSize, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
            if (m_stacks == MAP_FAILED) {
                return;
            }
        }
        ::syscall(SYS_getpid);  // binds the function here, in the only process that may use the dynamic linker
        while (m_pids.size() < count) {
            const pid_t pid = memory == Memory::kOwn ? ::fork() : Clone();
            if (pid < 0) {
                std::fprintf(stderr, "only %zu of %zu processes can be made\n", m_pids.size(), count);
                std::abort();
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
        if (m_stacks != MAP_FAILED) {
            ::munmap(m_stacks, m_stacksSize);
        }
    }
    std::size_t Size() const { return m_pids.size(); }

private:
    static constexpr std::size_t kStackSize = 16384;

    /// Makes only bare system calls: in a shared address space, the C library and a sanitizer would take this process
    /// for the thread that made the crowd.
    [[noreturn, gnu::no_sanitize_address, gnu::no_sanitize_thread]] static int Idle(void* /*unused*/) {
        ::syscall(SYS_prctl, PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
        for (;;) {
            ::syscall(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
        }
    }

    pid_t Clone() {
        char* const end = static_cast<char*>(m_stacks) + (m_pids.size() + 1) * kStackSize;
        return ::__clone(Idle, end, CLONE_VM | SIGCHLD, nullptr);
    }

    std::size_t m_stacksSize;
    void* m_stacks = MAP_FAILED;
    std::vector<pid_t> m_pids;
};
