// A program that a test module starts: tries system calls that reach outside the agent, and prints the error number of
// each, 0 when it succeeded. Arguments: another process, and the address of eight octets in it.

#include <linux/bpf.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sched.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

template <class... Arguments>
void Try(const char* name, long number, Arguments... arguments) {
    errno = 0;
    const long outcome = ::syscall(number, arguments...);
    std::printf("%s %d\n", name, outcome < 0 ? errno : 0);
}

void TryMemory(pid_t other, void* address) {
    std::array<char, 8> octets = {'b', 'r', 'o', 'k', 'e', 'n', '!', '\0'};
    const iovec here{octets.data(), octets.size()};
    const iovec there{address, octets.size()};
    Try("process_vm_writev", SYS_process_vm_writev, other, &here, 1UL, &there, 1UL, 0UL);
    Try("process_vm_readv", SYS_process_vm_readv, other, &here, 1UL, &there, 1UL, 0UL);
}

/// Runs in a process of its own, since the call may create one, or end it by a signal.
template <class Call>
void TryApart(const char* name, Call call) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(call());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    std::printf("%s %d\n", name, WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status));
}

int Clone(unsigned long flags) {
    const long child = ::syscall(SYS_clone, flags | SIGCHLD, nullptr, nullptr, nullptr, nullptr);
    if (child == 0) {
        ::_exit(0);
    }
    return child < 0 ? errno : 0;
}

#if defined(__x86_64__)
constexpr long kX32 = 0x40000000;

/// Calls getpid by its number for 32-bit programs.
int CallAs32Bit() {
    long outcome = 20;
    asm volatile("int $0x80" : "+a"(outcome) : : "memory", "r8", "r9", "r10", "r11");
    return outcome < 0 ? static_cast<int>(-outcome) : 0;
}
#endif

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    const pid_t other = std::atoi(argv[1]);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address in another process
    TryMemory(other, reinterpret_cast<void*>(std::strtoul(argv[2], nullptr, 0)));
    const long descriptor = ::syscall(SYS_pidfd_open, other, 0);
    Try("pidfd_getfd", SYS_pidfd_getfd, descriptor, 0, 0U);
    Try("kcmp", SYS_kcmp, ::getpid(), other, 1, 0UL, 0UL);
    Try("ptrace", SYS_ptrace, PTRACE_SEIZE, other, nullptr, nullptr);
    Try("add_key", SYS_add_key, nullptr, nullptr, nullptr, 0UL, 0);
    Try("request_key", SYS_request_key, nullptr, nullptr, nullptr, 0);
    Try("keyctl", SYS_keyctl, 9999, 0UL, 0UL, 0UL, 0UL);
    Try("userfaultfd", SYS_userfaultfd, 1);
    Try("io_uring_setup", SYS_io_uring_setup, 1U, nullptr);
    Try("io_uring_enter", SYS_io_uring_enter, -1, 0U, 0U, 0U, nullptr, 0UL);
    Try("io_uring_register", SYS_io_uring_register, -1, 0U, nullptr, 0U);
    Try("perf_event_open", SYS_perf_event_open, nullptr, 0, -1, -1, 0UL);
    Try("bpf", SYS_bpf, BPF_MAP_CREATE, nullptr, 0U);
    Try("mount", SYS_mount, nullptr, nullptr, nullptr, 0UL, nullptr);
    Try("setns", SYS_setns, -1, 0);
    Try("init_module", SYS_init_module, nullptr, 0UL, nullptr);
    TryApart("unshare", [] { return ::unshare(CLONE_NEWUSER) == 0 ? 0 : errno; });
    TryApart("clone", [] { return Clone(CLONE_NEWUSER); });
    TryApart("fork", [] { return Clone(0); });
    Try("clone3", SYS_clone3, nullptr, 0UL);
#if defined(__x86_64__)
    Try("x32", kX32 | 39);  // getpid
    TryApart("32-bit", CallAs32Bit);
#endif
    std::fflush(stdout);
    ::_exit(0);
}
