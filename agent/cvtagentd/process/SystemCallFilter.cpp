#include "agent/cvtagentd/process/SystemCallFilter.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "agent/cvtagentd/process/SanitizedBuild.h"

namespace cvtagentd {
namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__i386__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_I386;
#elif defined(__aarch64__) && defined(__AARCH64EL__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#elif defined(__arm__) && defined(__ARMEL__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_ARM;
#elif defined(__riscv) && __riscv_xlen == 64
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_RISCV64;
#elif defined(__powerpc64__) && defined(__LITTLE_ENDIAN__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_PPC64LE;
#elif defined(__powerpc64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_PPC64;
#elif defined(__s390x__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_S390X;
#elif defined(__loongarch64)
constexpr std::uint32_t kArchitecture = 258U | __AUDIT_ARCH_64BIT | __AUDIT_ARCH_LE;  // not in older headers
#else
constexpr std::uint32_t kArchitecture = 0;  // filter by number alone: calls of other architectures are not told apart
#endif

constexpr std::uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;
/// The answer of an old kernel. The C library then uses clone, whose flags the filter can see.
constexpr std::uint32_t kUnknown = SECCOMP_RET_ERRNO | ENOSYS;

constexpr std::uint32_t kNewNamespaces = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWUSER |
                                         CLONE_NEWPID | static_cast<std::uint32_t>(CLONE_NEWNET);

/// Some architectures and older headers lack some of them.
constexpr long kRefused[] = {
    // other processes
    SYS_process_vm_readv,
    SYS_process_vm_writev,
    SYS_kcmp,
    SYS_move_pages,
    SYS_migrate_pages,
#ifdef SYS_pidfd_getfd
    SYS_pidfd_getfd,
#endif
#ifdef SYS_process_madvise
    SYS_process_madvise,
#endif
    // keyrings
    SYS_add_key,
    SYS_request_key,
    SYS_keyctl,
    // large kernel interfaces that the agent does not need
    SYS_userfaultfd,
    SYS_perf_event_open,
    SYS_bpf,
    SYS_io_uring_setup,
    SYS_io_uring_enter,
    SYS_io_uring_register,
    SYS_open_by_handle_at,
    // the kernel and the host as a whole
    SYS_init_module,
    SYS_finit_module,
    SYS_delete_module,
    SYS_reboot,
    SYS_swapon,
    SYS_swapoff,
    SYS_acct,
    SYS_quotactl,
    SYS_sethostname,
    SYS_setdomainname,
    SYS_vhangup,
#ifdef SYS_quotactl_fd
    SYS_quotactl_fd,
#endif
#ifdef SYS_kexec_load
    SYS_kexec_load,
#endif
#ifdef SYS_kexec_file_load
    SYS_kexec_file_load,
#endif
#ifdef SYS_iopl
    SYS_iopl,
#endif
#ifdef SYS_ioperm
    SYS_ioperm,
#endif
#ifdef SYS_modify_ldt
    SYS_modify_ldt,
#endif
    // mounts and namespaces
    SYS_mount,
    SYS_umount2,
    SYS_pivot_root,
    SYS_chroot,
    SYS_unshare,
    SYS_setns,
    SYS_open_tree,
    SYS_move_mount,
    SYS_fsopen,
    SYS_fsconfig,
    SYS_fsmount,
    SYS_fspick,
#ifdef SYS_umount
    SYS_umount,
#endif
#ifdef SYS_mount_setattr
    SYS_mount_setattr,
#endif
};

constexpr std::uint32_t kNumber = offsetof(seccomp_data, nr);
constexpr std::uint32_t kArchOf = offsetof(seccomp_data, arch);
#if defined(__s390x__)
constexpr std::uint32_t kCloneFlags = offsetof(seccomp_data, args) + 8;  // the first argument is the stack
#else
constexpr std::uint32_t kCloneFlags = offsetof(seccomp_data, args);
#endif
/// Offset of a half of a 64-bit argument.
constexpr std::uint32_t kLowHalf = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? 4 : 0;

/// A filter under construction. The accumulator holds what was loaded last; a jump counts the steps it skips.
class Steps {
public:
    void Load(std::uint32_t offset) { Add(BPF_LD | BPF_W | BPF_ABS, offset); }
    void Return(std::uint32_t outcome) { Add(BPF_RET | BPF_K, outcome); }
    void ReturnIf(std::uint16_t comparison, std::uint32_t operand, std::uint32_t outcome) {
        Add(BPF_JMP | comparison | BPF_K, operand, 0, 1);
        Return(outcome);
    }
    void ReturnUnless(std::uint16_t comparison, std::uint32_t operand, std::uint32_t outcome) {
        Add(BPF_JMP | comparison | BPF_K, operand, 1, 0);
        Return(outcome);
    }
    std::vector<sock_filter>& All() { return m_steps; }

private:
    void Add(std::uint32_t code, std::uint32_t operand, std::uint8_t ifTrue = 0, std::uint8_t ifFalse = 0) {
        m_steps.push_back({static_cast<std::uint16_t>(code), ifTrue, ifFalse, operand});
    }
    std::vector<sock_filter> m_steps;
};

Steps Filter() {
    Steps steps;
    if (kArchitecture != 0) {
        steps.Load(kArchOf);
        steps.ReturnUnless(BPF_JEQ, kArchitecture, kRefuse);
    }
    steps.Load(kNumber);
#if defined(__x86_64__)
    constexpr std::uint32_t kFirstOfX32 = 0x40000000;
    steps.ReturnIf(BPF_JGE, kFirstOfX32, kRefuse);
#endif
    for (const long number : kRefused) {
        steps.ReturnIf(BPF_JEQ, static_cast<std::uint32_t>(number), kRefuse);
    }
    if (!kSanitizedBuild) {
        steps.ReturnIf(BPF_JEQ, SYS_ptrace, kRefuse);
    }
#ifdef SYS_clone3
    steps.ReturnIf(BPF_JEQ, SYS_clone3, kUnknown);
#endif
    steps.ReturnUnless(BPF_JEQ, SYS_clone, SECCOMP_RET_ALLOW);
    steps.Load(kCloneFlags + kLowHalf);
    steps.ReturnIf(BPF_JSET, kNewNamespaces, kRefuse);
    steps.Return(SECCOMP_RET_ALLOW);
    return steps;
}

}  // namespace

bool SystemCallFilter::Install() {
    Steps steps = Filter();
    const sock_fprog program{static_cast<unsigned short>(steps.All().size()), steps.All().data()};
    const long outcome = ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program);
    if (outcome > 0) {  // the number of a thread that has a filter of its own
        errno = EBUSY;
    }
    return outcome == 0;
}

}  // namespace cvtagentd
